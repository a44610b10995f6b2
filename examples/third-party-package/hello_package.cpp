// An action package in one file: one action that greets someone and stores
// the greeting in a variable.
#include <package/custom_bv_action.h>
#include <package/property_table.h>
#include <package/registration.h>

namespace {

class THelloAction : public brivant::TBVAction {
 public:
  static constexpr std::string_view kClassName = "THelloAction";
  static const brivant::PropertyTable& Properties() {
    static const brivant::PropertyTable table(
        &brivant::TBVAction::Properties(),
        {brivant::Property("Name", &THelloAction::name_).Default("world"),
         brivant::Property("Variable", &THelloAction::variable_).TypeName("TVariableName")});
    return table;
  }
  std::string_view ClassName() const override { return kClassName; }
  const brivant::PropertyTable& GetPropertyTable() const override { return Properties(); }
  std::string GetActionName() const override { return "Say Hello"; }

  bool Execute() override {
    std::string greeting = "Hello, " + ExpandExpression(name_, true) + "!";
    SendMessage(greeting, brivant::stSuccess);
    if (!variable_.empty()) SetVariable(variable_, brivant::Variant(greeting));
    return true;
  }

 private:
  std::string name_ = "world";
  std::string variable_;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) void BVRegister(brivant::IBVServices* services) {
  services->ActionService().RegisterAction("Misc", brivant::ActionClassOf<THelloAction>(), "HELLO");
}
