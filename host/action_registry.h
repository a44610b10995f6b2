// What the loaded packages registered: action classes with their category
// and icon, script methods, script constants and options classes. It is the
// IBVServices a package's BVRegister receives (a command-line host: no
// designer, so no editors or pages arrive).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "package/registration.h"

namespace brivant::host {

struct RegisteredAction {
  std::string category;
  const TBVActionClass* action_class;
  std::string icon;
};

struct RegisteredScriptMethod {
  std::string class_name;
  std::string method_name;
};

struct RegisteredConstant {
  std::string name;
  int64_t value;
};

class ActionRegistry : public IBVServices, ICoreActionService, ICoreScriptingService,
                       IBVOptionsService {
 public:
  // Registration order.
  const std::vector<RegisteredAction>& Actions() const { return actions_; }
  const std::vector<RegisteredScriptMethod>& ScriptMethods() const { return methods_; }
  const std::vector<RegisteredConstant>& Constants() const { return constants_; }
  const std::vector<const TBVOptionsClass*>& OptionsClasses() const { return options_; }
  // nullptr when no package registered a class of that name (exact spelling).
  const RegisteredAction* FindAction(std::string_view class_name) const;

  bool IsDesignTime() override { return false; }
  ICoreActionService& ActionService() override { return *this; }
  ICoreScriptingService& CoreScriptingService() override { return *this; }
  IBVOptionsService& OptionsService() override { return *this; }

 private:
  void RegisterAction(const std::string& category, const TBVActionClass& action_class,
                      const std::string& icon_resource_name) override;
  void RegisterPropertyEditor(const TBVPropertyType&, const TBVActionClass&, const std::string&,
                              const TBVDesignClass&) override {}
  void RegisterActionFrames(const TBVActionClass&, const std::vector<TBVDesignClass>&) override {}
  void RegisterScriptMethod(const TBVActionClass& action_class, const std::string& method_name,
                            const void* method) override;
  void RegisterScriptConstant(const std::string& name, int64_t value) override;
  void RegisterOptions(const TBVOptionsClass& options_class,
                       const std::string& icon_resource_name) override;
  void RegisterOptionsFrames(const TBVOptionsClass&, const std::vector<TBVDesignClass>&) override {}

  std::vector<RegisteredAction> actions_;
  std::vector<RegisteredScriptMethod> methods_;
  std::vector<RegisteredConstant> constants_;
  std::vector<const TBVOptionsClass*> options_;
};

}  // namespace brivant::host
