#include "host/action_registry.h"

namespace brivant::host {

const RegisteredAction* ActionRegistry::FindAction(std::string_view class_name) const {
  for (const RegisteredAction& action : actions_) {
    if (action.action_class->Name() == class_name) return &action;
  }
  return nullptr;
}

void ActionRegistry::RegisterAction(const std::string& category,
                                    const TBVActionClass& action_class,
                                    const std::string& icon_resource_name) {
  actions_.push_back(RegisteredAction{category, &action_class, icon_resource_name});
}

void ActionRegistry::RegisterScriptMethod(const TBVActionClass& action_class,
                                          const std::string& method_name, const void*) {
  methods_.push_back(RegisteredScriptMethod{std::string(action_class.Name()), method_name});
}

void ActionRegistry::RegisterScriptConstant(const std::string& name, int64_t value) {
  constants_.push_back(RegisteredConstant{name, value});
}

void ActionRegistry::RegisterOptions(const TBVOptionsClass& options_class, const std::string&) {
  options_.push_back(&options_class);
}

}  // namespace brivant::host
