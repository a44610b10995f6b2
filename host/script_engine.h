// The host's script engine: runs the JavaScript of an action's script events
// (OnReadLine, OnFindText, ...) through Duktape. A script sees its parameters
// as globals, the action as the global "Action" (its published properties,
// the script methods registered for its class, such as an iterator's Reset(),
// plus ClassName and Name) and the host as the global "Brivant"
// (getVariable, setVariable, log, and getAction(title), which gives the same
// view of another action of the project, such as the loop around the script).
//
// Every Run gets a fresh script heap, so scripts cannot see each other's
// globals and a failed script leaves nothing behind. An engine belongs to the
// build thread; runs on different engines are independent.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "host/action_registry.h"
#include "host/project.h"
#include "package/action_script.h"
#include "package/variant.h"

namespace brivant {
class IBVActionHost;
class TCustomBVAction;
}  // namespace brivant

namespace brivant::host {

// What one script run may use. A script that goes past either fails.
// Finds an action of the project by its title; nullptr when there is none.
using ActionFinder = std::function<TCustomBVAction*(std::string_view title)>;

struct ScriptLimits {
  std::chrono::milliseconds time = kDefaultScriptTimeout;
  // Everything the run's script heap holds, the built-in objects included
  // (about 100 KB).
  size_t heap_bytes = size_t{512} << 20;
};

class ScriptEngine {
 public:
  // `host` serves Brivant.getVariable/setVariable/log and is polled for stop
  // requests; it must outlive the engine.
  explicit ScriptEngine(IBVActionHost& host, ScriptLimits limits = {});
  ~ScriptEngine();
  ScriptEngine(const ScriptEngine&) = delete;
  ScriptEngine& operator=(const ScriptEngine&) = delete;

  // True when the Duktape this was built against interrupts running scripts,
  // so that the time limit and stop requests take effect. Without it (the
  // prebuilt Debian library lacks the execution time-out check) only memory
  // the script asks for after its time is up is refused, and a loop that
  // allocates nothing blocks Run forever. Long calls of built-ins (a join
  // over millions of elements) are not interrupted either way, but fail once
  // they allocate past the deadline or past the memory limit.
  static bool CanInterruptScripts();

  // The script methods the packages registered; an action object offers
  // those of its class that the engine knows how to call ("Reset").
  void SetScriptMethods(std::vector<RegisteredScriptMethod> methods) {
    methods_ = std::move(methods);
  }
  // How Brivant.getAction finds actions; without one it finds none.
  void SetActionFinder(ActionFinder find_action) { find_action_ = std::move(find_action); }

  // Runs `script` with `action` as the global "Action" and each parameter as a
  // global of its name. On success copies every parameter's global back into
  // *parameters and returns the value of the script's last expression
  // statement (empty for undefined). `parameters` may be null.
  //
  // Conversions: strings, Booleans and empty (undefined, also null) map
  // directly. A number comes back as Integer when it is whole and fits 64 bits,
  // else as Float; a parameter that came in as Float stays Float, so values a
  // script leaves alone keep their type. Integers beyond 2^53 lose precision in
  // the script. Objects come back as their text.
  //
  // Action properties read and write through the property table, so coupled
  // setters run as they do for a user. String lists are arrays of strings;
  // enumerations, sets and dates are their project-file text ("wpEnd",
  // "soRecurse,soHidden", "2009-03-05"). Any value a script assigns is parsed
  // from its text as a project file would be (an enumeration also takes its
  // ordinal, a set an array of names); a value the property refuses, or a
  // read-only property, raises a TypeError in the script.
  //
  // Throws EFailAction("script <Name>: <error> (line N)") on a syntax or
  // runtime error, when a limit is passed or when the host signals a stop;
  // *parameters is then unchanged. A positive `timeout` replaces the time
  // limit for this run.
  Variant Run(TCustomBVAction& action, const TBVActionScript& script, ScriptParameters* parameters,
              std::chrono::milliseconds timeout = std::chrono::milliseconds(0));

 private:
  IBVActionHost& host_;
  ScriptLimits limits_;
  std::vector<RegisteredScriptMethod> methods_;
  ActionFinder find_action_;
};

}  // namespace brivant::host
