#include "host/script_engine.h"

#include <duktape.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "package/action_host.h"
#include "package/base_iterator.h"
#include "package/custom_bv_action.h"
#include "package/exceptions.h"
#include "package/property_table.h"
#include "package/status_tag.h"

// Duktape reports script errors with longjmp, which skips C++ destructors and
// must never meet a C++ exception on its way. Hence two rules in this file:
//  - A function that calls into Duktape while a longjmp may pass over it holds
//    no object with a destructor across that call. The C++ work runs inside
//    Guarded, which finishes (and catches everything) before the next Duktape
//    call, and leaves its result in RunState, which lives in ScriptEngine::Run
//    outside any Duktape frame.
//  - Script code may run whenever a value is converted to text (a toString of
//    its own), and that code may call back into us; so values are converted
//    completely before the C++ side reads any scratch field of RunState.

namespace brivant::host {
namespace {

using Clock = std::chrono::steady_clock;

// Why a script was cut short; once set it stays set for the rest of the run.
enum class Interruption { kNone, kTimedOut, kStopped, kOutOfMemory };
enum class ErrorKind { kError, kTypeError };

// A value on its way from C++ into a script.
struct OutgoingValue {
  enum class Kind { kUndefined, kString, kNumber, kBoolean, kStringArray };
  Kind kind = Kind::kUndefined;
  std::string text;
  double number = 0;
  bool boolean = false;
  std::vector<std::string> items;
};

// A value read from a script; `text` points into the script heap and stays
// valid while the value is on the Duktape stack.
struct IncomingValue {
  duk_int_t type = DUK_TYPE_UNDEFINED;
  const char* text = nullptr;
  duk_size_t length = 0;
  double number = 0;
  bool boolean = false;
};

struct RunState {
  RunState(IBVActionHost& host_in, TCustomBVAction& action_in, const TBVActionScript& script_in,
           const ScriptParameters& parameters, const ScriptLimits& limits_in,
           const std::vector<RegisteredScriptMethod>& methods_in, const ActionFinder& find_in)
      : host(host_in),
        action(action_in),
        script(script_in),
        parameters_in(parameters),
        limits(limits_in),
        methods(methods_in),
        find_action(find_in),
        deadline(Clock::now() + limits_in.time) {}

  IBVActionHost& host;
  TCustomBVAction& action;
  const TBVActionScript& script;
  const ScriptParameters& parameters_in;
  ScriptLimits limits;
  const std::vector<RegisteredScriptMethod>& methods;
  const ActionFinder& find_action;
  Clock::time_point deadline;

  // The limits hold while the script's own code may run; creating the heap,
  // describing a failure and destroying the heap must not fail for them.
  bool enforce_limits = false;
  size_t heap_bytes = 0;
  Interruption interruption = Interruption::kNone;
  // Set once an interruption has become an error on its way out of the
  // script, which needs memory for its error objects.
  bool unwinding = false;
  // Where the last value without a line of its own (throw "text") was thrown.
  int plain_throw_line = 0;
  // Filled on success and copied to the caller's parameters by Run.
  std::vector<Variant> parameters_out;
  Variant result;

  // Scratch space of the callbacks.
  OutgoingValue outgoing;
  TCustomBVAction* found_action = nullptr;
  std::string action_name;
  std::vector<std::string> items;
  ErrorKind error_kind = ErrorKind::kError;
  char error[1024] = {};
};

// A value a property cannot take; becomes a TypeError in the script.
class ScriptTypeError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Thrown by the fatal handler: Duktape gives up on a heap only for errors
// outside any protected call, which Run never makes on purpose.
class FatalScriptError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

RunState& StateOf(duk_context* ctx) {
  duk_memory_functions functions;
  duk_get_memory_functions(ctx, &functions);
  return *static_cast<RunState*>(functions.udata);
}

// Sticky once set: Duktape keeps unwinding only while the check stays true.
bool IsInterrupted(RunState& state) noexcept {
  if (state.interruption != Interruption::kNone) return true;
  if (Clock::now() >= state.deadline) {
    state.interruption = Interruption::kTimedOut;
    return true;
  }
  try {
    if (state.host.IsStopSignalled()) state.interruption = Interruption::kStopped;
  } catch (...) {
    // A host that cannot answer has not asked for a stop.
  }
  return state.interruption != Interruption::kNone;
}

// --- The script heap's memory ----------------------------------------------

// Each block starts with its size, so the heap's total is known.
struct alignas(std::max_align_t) BlockHeader {
  size_t size;
};

// Refuses memory beyond the heap limit. Past the deadline (or after a stop
// request) it refuses all memory until the interruption is unwinding: a
// built-in's long loop (a join over a huge array) never reaches the bytecode
// interrupt, but it allocates as it goes.
bool Admit(RunState& state, size_t more) noexcept {
  if (!state.enforce_limits) return more <= SIZE_MAX - sizeof(BlockHeader);
  if (more > state.limits.heap_bytes - std::min(state.heap_bytes, state.limits.heap_bytes)) {
    if (state.interruption == Interruption::kNone) state.interruption = Interruption::kOutOfMemory;
    return false;
  }
  if (state.unwinding) return true;
  return !IsInterrupted(state) || state.interruption == Interruption::kOutOfMemory;
}

void* Allocate(void* udata, duk_size_t size) {
  auto& state = *static_cast<RunState*>(udata);
  if (!Admit(state, size)) return nullptr;
  auto* block = static_cast<BlockHeader*>(std::malloc(sizeof(BlockHeader) + size));
  if (block == nullptr) return nullptr;
  block->size = size;
  state.heap_bytes += size;
  return block + 1;
}

void* Reallocate(void* udata, void* pointer, duk_size_t size) {
  if (pointer == nullptr) return Allocate(udata, size);
  auto& state = *static_cast<RunState*>(udata);
  BlockHeader* block = static_cast<BlockHeader*>(pointer) - 1;
  size_t old_size = block->size;
  if (size > old_size && !Admit(state, size - old_size)) return nullptr;
  auto* moved = static_cast<BlockHeader*>(std::realloc(block, sizeof(BlockHeader) + size));
  if (moved == nullptr) return nullptr;
  moved->size = size;
  state.heap_bytes = state.heap_bytes - old_size + size;
  return moved + 1;
}

void Release(void* udata, void* pointer) {
  if (pointer == nullptr) return;
  BlockHeader* block = static_cast<BlockHeader*>(pointer) - 1;
  static_cast<RunState*>(udata)->heap_bytes -= block->size;
  std::free(block);
}

// --- Errors ------------------------------------------------------------------

void SetError(RunState& state, ErrorKind kind, const char* message) noexcept {
  state.error_kind = kind;
  std::snprintf(state.error, sizeof state.error, "%s", message);
}

template <class Work>
bool Guarded(RunState& state, Work&& work) noexcept {
  try {
    work();
    return true;
  } catch (const ScriptTypeError& error) {
    SetError(state, ErrorKind::kTypeError, error.what());
  } catch (const std::exception& error) {
    SetError(state, ErrorKind::kError, error.what());
  } catch (...) {
    SetError(state, ErrorKind::kError, "unexpected failure in the host");
  }
  return false;
}

// Raised without a C file and line (what duk_error would record), so that
// the error's lineNumber is the line of the script that called us. Never
// returns; the result type allows Duktape's "return duk_error(...)" idiom,
// as this Duktape build does not declare its error calls noreturn.
duk_ret_t Raise(duk_context* ctx, duk_errcode_t code, const char* message) {
  duk_error_raw(ctx, code, nullptr, 0, "%s", message);
  return 0;
}

duk_ret_t ThrowError(duk_context* ctx, const RunState& state) {
  return Raise(ctx, state.error_kind == ErrorKind::kTypeError ? DUK_ERR_TYPE_ERROR : DUK_ERR_ERROR,
               state.error);
}

// --- Conversions ---------------------------------------------------------

OutgoingValue FromVariant(const Variant& value) {
  OutgoingValue out;
  switch (value.Type()) {
    case VariantType::kEmpty:
      break;
    case VariantType::kString:
      out.kind = OutgoingValue::Kind::kString;
      out.text = value.ToString();
      break;
    case VariantType::kInteger:
      out.kind = OutgoingValue::Kind::kNumber;
      out.number = static_cast<double>(value.ToInteger());
      break;
    case VariantType::kFloat:
      out.kind = OutgoingValue::Kind::kNumber;
      out.number = value.ToFloat();
      break;
    case VariantType::kBoolean:
      out.kind = OutgoingValue::Kind::kBoolean;
      out.boolean = value.ToBoolean();
      break;
  }
  return out;
}

// Enumerations, sets and dates reach scripts in their project-file text
// ("wpEnd", "soRecurse,soHidden", "2009-03-05"), which setters parse back.
OutgoingValue FromProperty(const PropertyInfo& info, const PropertyValue& value) {
  OutgoingValue out;
  switch (info.type) {
    case PropertyType::kBoolean:
      out.kind = OutgoingValue::Kind::kBoolean;
      out.boolean = std::get<bool>(value);
      break;
    case PropertyType::kInteger:
    case PropertyType::kCardinal:
      out.kind = OutgoingValue::Kind::kNumber;
      out.number = static_cast<double>(std::get<int64_t>(value));
      break;
    case PropertyType::kFloat:
      out.kind = OutgoingValue::Kind::kNumber;
      out.number = std::get<double>(value);
      break;
    case PropertyType::kStringList:
      out.kind = OutgoingValue::Kind::kStringArray;
      out.items = std::get<std::vector<std::string>>(value);
      break;
    case PropertyType::kString:
    case PropertyType::kEnumeration:
    case PropertyType::kSet:
    case PropertyType::kDateTime:
      out.kind = OutgoingValue::Kind::kString;
      out.text = FormatPropertyValue(info, value);
      break;
  }
  return out;
}

void Push(duk_context* ctx, const OutgoingValue& value) {
  switch (value.kind) {
    case OutgoingValue::Kind::kUndefined:
      duk_push_undefined(ctx);
      return;
    case OutgoingValue::Kind::kString:
      duk_push_lstring(ctx, value.text.data(), value.text.size());
      return;
    case OutgoingValue::Kind::kNumber:
      duk_push_number(ctx, value.number);
      return;
    case OutgoingValue::Kind::kBoolean:
      duk_push_boolean(ctx, value.boolean);
      return;
    case OutgoingValue::Kind::kStringArray:
      duk_push_array(ctx);
      for (size_t i = 0; i < value.items.size(); ++i) {
        const std::string& item = value.items[i];
        duk_push_lstring(ctx, item.data(), item.size());
        duk_put_prop_index(ctx, -2, static_cast<duk_uarridx_t>(i));
      }
      return;
  }
}

// Objects are replaced by their text on the stack, which may run script code.
IncomingValue Read(duk_context* ctx, duk_idx_t index) {
  IncomingValue value;
  value.type = duk_get_type(ctx, index);
  switch (value.type) {
    case DUK_TYPE_NONE:
    case DUK_TYPE_UNDEFINED:
    case DUK_TYPE_NULL:
      value.type = DUK_TYPE_UNDEFINED;
      break;
    case DUK_TYPE_BOOLEAN:
      value.boolean = duk_get_boolean(ctx, index) != 0;
      break;
    case DUK_TYPE_NUMBER:
      value.number = duk_get_number(ctx, index);
      break;
    default:
      value.text = duk_to_lstring(ctx, index, &value.length);
      value.type = DUK_TYPE_STRING;
      break;
  }
  return value;
}

// Scripts have a single number type, so the incoming type decides: a Float
// stays a Float; otherwise a whole number within 64 bits is an Integer.
Variant NumberToVariant(double number, VariantType incoming) {
  constexpr double kInt64Limit = 9223372036854775808.0;  // 2^63
  bool whole = std::isfinite(number) && std::trunc(number) == number && number >= -kInt64Limit &&
               number < kInt64Limit;
  if (incoming == VariantType::kFloat || !whole) return Variant(number);
  return Variant(static_cast<int64_t>(number));
}

Variant ToVariant(const IncomingValue& value, VariantType incoming) {
  switch (value.type) {
    case DUK_TYPE_BOOLEAN:
      return Variant(value.boolean);
    case DUK_TYPE_NUMBER:
      return NumberToVariant(value.number, incoming);
    case DUK_TYPE_STRING:
      return Variant(std::string(value.text, value.length));
    default:
      return Variant();
  }
}

// The text a property setter parses: the script's own text of the value, with
// null and undefined as empty. Replaces the value on the stack.
const char* PropertyText(duk_context* ctx, duk_idx_t index, duk_size_t* length) {
  index = duk_require_normalize_index(ctx, index);
  if (duk_is_null_or_undefined(ctx, index)) {
    duk_push_lstring(ctx, "", 0);
    duk_replace(ctx, index);
  }
  return duk_to_lstring(ctx, index, length);
}

// --- Action objects ------------------------------------------------------

// Where an action object keeps the action it stands for; scripts cannot see
// hidden symbols.
constexpr const char* kActionPointer = DUK_HIDDEN_SYMBOL("action");

// The action of the object a getter, setter or method was called on.
TCustomBVAction& ThisAction(duk_context* ctx) {
  duk_push_this(ctx);
  duk_get_prop_string(ctx, -1, kActionPointer);
  auto* action = static_cast<TCustomBVAction*>(duk_get_pointer(ctx, -1));
  duk_pop_2(ctx);
  return action != nullptr ? *action : StateOf(ctx).action;
}

const PropertyInfo& CurrentRow(duk_context* ctx, const TCustomBVAction& action) {
  return action.GetPropertyTable().Rows()[static_cast<size_t>(duk_get_current_magic(ctx))];
}

duk_ret_t GetActionProperty(duk_context* ctx) {
  RunState& state = StateOf(ctx);
  TCustomBVAction& action = ThisAction(ctx);
  const PropertyInfo& info = CurrentRow(ctx, action);
  if (!Guarded(state, [&] { state.outgoing = FromProperty(info, GetProperty(action, info)); }))
    return ThrowError(ctx, state);
  Push(ctx, state.outgoing);
  return 1;
}

void SetFromText(TCustomBVAction& action, const PropertyInfo& info, std::string_view text) {
  PropertyValue value;
  std::string error;
  if (!ParsePropertyValue(info, text, &value, &error)) throw ScriptTypeError(error);
  SetProperty(action, info, value);
}

// Leaves a new array holding the text of every element of the array at
// `index`; element conversion may run script code, so it comes first.
void PushElementTexts(duk_context* ctx, duk_idx_t index) {
  index = duk_require_normalize_index(ctx, index);
  auto length = static_cast<duk_uarridx_t>(duk_get_length(ctx, index));
  duk_push_array(ctx);
  // A sparse array may claim billions of elements. The copy grows as it goes,
  // so Admit ends it at the memory limit or at the deadline.
  for (duk_uarridx_t i = 0; i < length; ++i) {
    duk_get_prop_index(ctx, index, i);
    PropertyText(ctx, -1, nullptr);
    duk_put_prop_index(ctx, -2, i);
  }
}

// Copies the strings of the array on top of the stack into state.items.
bool CollectElementTexts(duk_context* ctx, RunState& state) {
  if (!Guarded(state, [&] { state.items.clear(); })) return false;
  auto length = static_cast<duk_uarridx_t>(duk_get_length(ctx, -1));
  for (duk_uarridx_t i = 0; i < length; ++i) {
    duk_get_prop_index(ctx, -1, i);
    duk_size_t size = 0;
    const char* text = duk_get_lstring(ctx, -1, &size);
    if (!Guarded(state, [&] { state.items.emplace_back(text, size); })) return false;
    duk_pop(ctx);
  }
  return true;
}

duk_ret_t SetActionProperty(duk_context* ctx) {
  RunState& state = StateOf(ctx);
  TCustomBVAction& action = ThisAction(ctx);
  const PropertyInfo& info = CurrentRow(ctx, action);
  if (info.IsReadOnly()) {
    std::snprintf(state.error, sizeof state.error, "property %.*s is read-only",
                  static_cast<int>(info.name.size()), info.name.data());
    return Raise(ctx, DUK_ERR_TYPE_ERROR, state.error);
  }
  if (info.type == PropertyType::kStringList && duk_is_array(ctx, 0)) {
    PushElementTexts(ctx, 0);
    if (!CollectElementTexts(ctx, state) ||
        !Guarded(state, [&] { SetProperty(action, info, std::move(state.items)); }))
      return ThrowError(ctx, state);
    return 0;
  }
  duk_size_t length = 0;
  const char* text = PropertyText(ctx, 0, &length);
  if (!Guarded(state, [&] { SetFromText(action, info, std::string_view(text, length)); }))
    return ThrowError(ctx, state);
  return 0;
}

// The script methods the host knows how to call, by the name a package
// registers them under. A package may register only names found here.
struct ScriptMethod {
  const char* name;
  void (*call)(TCustomBVAction& action);
};

// "Reset" of an iterator: clears the loop's count and position, so the loop
// ends after the pass that called it.
void ResetIterator(TCustomBVAction& action) {
  if (auto* iterator = dynamic_cast<TBVBaseIterator*>(&action)) iterator->Reset();
}

constexpr ScriptMethod kScriptMethods[] = {
    {"Reset", &ResetIterator},
};

duk_ret_t CallScriptMethod(duk_context* ctx) {
  RunState& state = StateOf(ctx);
  TCustomBVAction& action = ThisAction(ctx);
  const ScriptMethod& method = kScriptMethods[duk_get_current_magic(ctx)];
  if (!Guarded(state, [&] { method.call(action); })) return ThrowError(ctx, state);
  return 0;
}

// Adds the methods registered for the action's class to the object on top.
void DefineScriptMethods(duk_context* ctx, const RunState& state, std::string_view class_name) {
  for (const RegisteredScriptMethod& registered : state.methods) {
    if (registered.class_name != class_name) continue;
    for (size_t i = 0; i < std::size(kScriptMethods); ++i) {
      if (registered.method_name != kScriptMethods[i].name) continue;
      duk_push_c_function(ctx, &CallScriptMethod, 0);
      duk_set_magic(ctx, -1, static_cast<duk_int_t>(i));
      duk_put_prop_string(ctx, -2, kScriptMethods[i].name);
    }
  }
}

void DefineConstant(duk_context* ctx, const char* name, std::string_view value) {
  if (duk_has_prop_string(ctx, -1, name)) return;  // a published property wins
  duk_push_string(ctx, name);
  duk_push_lstring(ctx, value.data(), value.size());
  duk_def_prop(ctx, -3, DUK_DEFPROP_HAVE_VALUE | DUK_DEFPROP_SET_ENUMERABLE);
}

// Pushes the script's view of `action`: its published properties, the
// methods registered for its class, ClassName and Name. `action_name` is the
// action's display name, read beforehand since that may throw.
void PushActionObject(duk_context* ctx, const RunState& state, TCustomBVAction& action,
                      const std::string& action_name) {
  duk_push_object(ctx);
  duk_push_pointer(ctx, &action);
  duk_put_prop_string(ctx, -2, kActionPointer);
  const std::vector<PropertyInfo>& rows = action.GetPropertyTable().Rows();
  for (size_t i = 0; i < rows.size(); ++i) {
    duk_push_lstring(ctx, rows[i].name.data(), rows[i].name.size());
    duk_push_c_function(ctx, &GetActionProperty, 0);
    duk_set_magic(ctx, -1, static_cast<duk_int_t>(i));
    duk_push_c_function(ctx, &SetActionProperty, 1);
    duk_set_magic(ctx, -1, static_cast<duk_int_t>(i));
    duk_def_prop(ctx, -4,
                 DUK_DEFPROP_HAVE_GETTER | DUK_DEFPROP_HAVE_SETTER | DUK_DEFPROP_SET_ENUMERABLE);
  }
  DefineScriptMethods(ctx, state, action.ClassName());
  DefineConstant(ctx, "ClassName", action.ClassName());
  DefineConstant(ctx, "Name", action_name);
  // A misspelt property must not quietly become a new one.
  duk_seal(ctx, -1);
}

void InstallAction(duk_context* ctx, RunState& state) {
  if (!Guarded(state, [&] { state.action_name = state.action.GetActionName(); }))
    ThrowError(ctx, state);
  PushActionObject(ctx, state, state.action, state.action_name);
  duk_put_global_string(ctx, "Action");
}

// --- The Brivant object --------------------------------------------------

duk_ret_t GetVariable(duk_context* ctx) {
  RunState& state = StateOf(ctx);
  duk_size_t length = 0;
  const char* name = duk_to_lstring(ctx, 0, &length);
  if (!Guarded(state, [&] {
        state.outgoing = FromVariant(state.host.GetVariableValue(std::string(name, length)));
      }))
    return ThrowError(ctx, state);
  Push(ctx, state.outgoing);
  return 1;
}

duk_ret_t SetVariable(duk_context* ctx) {
  RunState& state = StateOf(ctx);
  duk_size_t length = 0;
  const char* name = duk_to_lstring(ctx, 0, &length);
  IncomingValue value = Read(ctx, 1);
  if (!Guarded(state, [&] {
        state.host.SetVariable(std::string(name, length), ToVariant(value, VariantType::kEmpty));
      }))
    return ThrowError(ctx, state);
  return 0;
}

duk_ret_t Log(duk_context* ctx) {
  RunState& state = StateOf(ctx);
  duk_size_t length = 0;
  const char* text = duk_to_lstring(ctx, 0, &length);
  if (!Guarded(state, [&] { state.host.SendMessage(std::string(text, length), stInfo); }))
    return ThrowError(ctx, state);
  return 0;
}

// Brivant.getAction(title): another action of the project, such as the loop
// a script runs in, found by its title.
duk_ret_t GetAction(duk_context* ctx) {
  RunState& state = StateOf(ctx);
  duk_size_t length = 0;
  const char* title = duk_to_lstring(ctx, 0, &length);
  if (!Guarded(state, [&] {
        state.found_action =
            state.find_action ? state.find_action(std::string_view(title, length)) : nullptr;
        if (state.found_action == nullptr)
          throw std::runtime_error("no action titled '" + std::string(title, length) + "'");
        state.action_name = state.found_action->GetActionName();
      }))
    return ThrowError(ctx, state);
  PushActionObject(ctx, state, *state.found_action, state.action_name);
  return 1;
}

void InstallBrivant(duk_context* ctx) {
  static const duk_function_list_entry kFunctions[] = {
      {"getVariable", &GetVariable, 1},
      {"setVariable", &SetVariable, 2},
      {"log", &Log, 1},
      {"getAction", &GetAction, 1},
      {nullptr, nullptr, 0},
  };
  duk_push_object(ctx);
  duk_put_function_list(ctx, -1, kFunctions);
  duk_put_global_string(ctx, "Brivant");
}

// --- Running -------------------------------------------------------------

// Duktape's errThrow hook sees every thrown value. Error objects know their
// line; for anything else (throw "no input") remember the thrower's line.
duk_ret_t NoteThrow(duk_context* ctx) {
  if (!duk_is_error(ctx, 0)) {
    duk_inspect_callstack_entry(ctx, -2);
    if (duk_is_object(ctx, -1)) {
      duk_get_prop_string(ctx, -1, "lineNumber");
      StateOf(ctx).plain_throw_line = duk_get_int(ctx, -1);
    }
    duk_set_top(ctx, 1);
  }
  return 1;
}

void InstallThrowHook(duk_context* ctx) {
  duk_get_global_string(ctx, "Duktape");
  duk_push_c_function(ctx, &NoteThrow, 1);
  duk_put_prop_string(ctx, -2, "errThrow");
  duk_pop(ctx);
}

void InstallParameters(duk_context* ctx, RunState& state) {
  for (const auto& parameter : state.parameters_in) {
    if (!Guarded(state, [&] { state.outgoing = FromVariant(parameter.second); }))
      ThrowError(ctx, state);
    Push(ctx, state.outgoing);
    duk_put_global_lstring(ctx, parameter.first.data(), parameter.first.size());
  }
}

// Reads the script's result (on top of the stack) and its parameters back.
void ReadOutputs(duk_context* ctx, RunState& state) {
  IncomingValue result = Read(ctx, -1);
  if (!Guarded(state, [&] { state.result = ToVariant(result, VariantType::kEmpty); }))
    ThrowError(ctx, state);
  for (const auto& [name, value] : state.parameters_in) {
    duk_get_global_lstring(ctx, name.data(), name.size());
    IncomingValue out = Read(ctx, -1);
    VariantType incoming = value.Type();
    if (!Guarded(state, [&] { state.parameters_out.push_back(ToVariant(out, incoming)); }))
      ThrowError(ctx, state);
    duk_pop(ctx);
  }
}

duk_ret_t RunInHeap(duk_context* ctx, void* /*udata*/) {
  RunState& state = StateOf(ctx);
  state.enforce_limits = true;
  InstallBrivant(ctx);
  InstallAction(ctx, state);
  InstallParameters(ctx, state);
  InstallThrowHook(ctx);
  const std::string& name = state.script.Name();
  const std::string& code = state.script.Code();
  duk_push_lstring(ctx, name.data(), name.size());
  duk_compile_lstring_filename(ctx, 0, code.data(), code.size());
  duk_call(ctx, 0);
  ReadOutputs(ctx, state);
  return 0;
}

duk_ret_t ReadErrorLine(duk_context* ctx, void* udata) {
  auto* line = static_cast<int*>(udata);
  if (duk_is_error(ctx, 0)) {
    duk_get_prop_string(ctx, 0, "lineNumber");
    *line = duk_get_int(ctx, -1);
  }
  return 0;
}

// Syntax errors already end in "(line N, ...)"; others get " (line N)".
bool EndsWithLineNote(std::string_view text) {
  size_t open = text.rfind(" (line ");
  return open != std::string_view::npos && text.back() == ')';
}

std::string FormatBytes(size_t bytes) {
  constexpr size_t kMegabyte = size_t{1} << 20;
  if (bytes % kMegabyte == 0) return std::to_string(bytes / kMegabyte) + " MB";
  return std::to_string(bytes) + " bytes";
}

// Describes the error value on top of the stack. Only protected Duktape
// calls here: Run is outside any Duktape catch point.
std::string DescribeFailure(duk_context* ctx, const RunState& state) {
  int line = state.plain_throw_line;
  duk_dup_top(ctx);
  (void)duk_safe_call(ctx, &ReadErrorLine, &line, 1, 0);
  std::string text;
  switch (state.interruption) {
    case Interruption::kTimedOut:
      text =
          "ran longer than the time limit of " + std::to_string(state.limits.time.count()) + " ms";
      break;
    case Interruption::kStopped:
      text = "stopped on request";
      break;
    case Interruption::kOutOfMemory:
      text = "needed more than the memory limit of " + FormatBytes(state.limits.heap_bytes);
      break;
    case Interruption::kNone: {
      duk_size_t length = 0;
      const char* message = duk_safe_to_lstring(ctx, -1, &length);
      text.assign(message, length);
      break;
    }
  }
  if (line > 0 && !EndsWithLineNote(text)) text += " (line " + std::to_string(line) + ")";
  return text;
}

void OnFatalError(void* /*udata*/, const char* message) {
  throw FatalScriptError(std::string("script engine failure: ") +
                         (message != nullptr ? message : "unknown"));
}

}  // namespace

#if defined(DUK_USE_EXEC_TIMEOUT_CHECK)
// Named by the Duktape build's configuration (DUK_USE_EXEC_TIMEOUT_CHECK);
// Duktape calls it from the bytecode loop every few hundred thousand
// instructions with the heap's user data, our RunState.
extern "C" duk_bool_t BrivantScriptTimedOut(void* udata) {
  auto& state = *static_cast<RunState*>(udata);
  if (!IsInterrupted(state)) return 0;
  state.unwinding = true;
  return 1;
}
#endif

ScriptEngine::ScriptEngine(IBVActionHost& host, ScriptLimits limits)
    : host_(host), limits_(limits) {}

ScriptEngine::~ScriptEngine() = default;

bool ScriptEngine::CanInterruptScripts() {
#if defined(DUK_USE_EXEC_TIMEOUT_CHECK)
  return true;
#else
  return false;
#endif
}

Variant ScriptEngine::Run(TCustomBVAction& action, const TBVActionScript& script,
                          ScriptParameters* parameters, std::chrono::milliseconds timeout) {
  static const ScriptParameters kNoParameters;
  // A caller's time-out wins, then a limit the script names itself (Run
  // Script), then the project's.
  ScriptLimits limits = limits_;
  if (script.TimeLimitMs() > 0) limits.time = std::chrono::milliseconds(script.TimeLimitMs());
  if (timeout > std::chrono::milliseconds(0)) limits.time = timeout;
  RunState state(host_, action, script, parameters != nullptr ? *parameters : kNoParameters, limits,
                 methods_, find_action_);
  duk_context* ctx = duk_create_heap(&Allocate, &Reallocate, &Release, &state, &OnFatalError);
  if (ctx == nullptr)
    throw EFailAction("script " + script.Name() + ": cannot create a script heap");
  std::string failure;
  try {
    bool succeeded = duk_safe_call(ctx, &RunInHeap, nullptr, 0, 1) == DUK_EXEC_SUCCESS;
    state.enforce_limits = false;
    if (!succeeded) failure = DescribeFailure(ctx, state);
    // Destroying runs the script's finalizers, which still need `state`.
    duk_destroy_heap(ctx);
  } catch (const FatalScriptError& error) {
    // The heap is unusable after a fatal error, so it is left as it is.
    failure = error.what();
  }
  if (!failure.empty()) throw EFailAction("script " + script.Name() + ": " + failure);
  if (parameters != nullptr) {
    for (size_t i = 0; i < parameters->size(); ++i)
      (*parameters)[i].second = std::move(state.parameters_out[i]);
  }
  return std::move(state.result);
}

}  // namespace brivant::host
