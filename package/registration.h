// What a package registers with its host. The host loads a package module and
// calls its one entry, BVRegister, with an IBVServices; the package registers
// its action classes, script methods and constants and, only when the
// designer is present, property editors and property pages.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace brivant {

class TCustomBVAction;
class TBVOptionsObject;
class PropertyTable;

// A class reference: what the host needs to create and describe objects of a
// class it only knows by registration.
template <class Base>
class ClassRef {
 public:
  using Factory = std::unique_ptr<Base> (*)();
  constexpr ClassRef(std::string_view name, Factory create, const PropertyTable& (*properties)())
      : name_(name), create_(create), properties_(properties) {}
  std::string_view Name() const { return name_; }
  std::unique_ptr<Base> Create() const { return create_(); }
  const PropertyTable& Properties() const { return properties_(); }
  friend bool operator==(const ClassRef& a, const ClassRef& b) { return a.name_ == b.name_; }

 private:
  std::string_view name_;
  Factory create_;
  const PropertyTable& (*properties_)();
};

using TBVActionClass = ClassRef<TCustomBVAction>;

// The class reference of action class T, which must offer a static
// Properties() and a static kClassName.
template <class T>
const TBVActionClass& ActionClassOf() {
  static const TBVActionClass ref(
      T::kClassName, []() -> std::unique_ptr<TCustomBVAction> { return std::make_unique<T>(); },
      &T::Properties);
  return ref;
}

// Options classes are described by name and factory only.
struct TBVOptionsClass {
  std::string_view name;
  std::unique_ptr<TBVOptionsObject> (*create)();
};
template <class T>
const TBVOptionsClass& OptionsClassOf() {
  static const TBVOptionsClass ref{
      T::kClassName, []() -> std::unique_ptr<TBVOptionsObject> { return std::make_unique<T>(); }};
  return ref;
}

// A design-time class known by name: a property editor, or a property page
// with the properties it edits, in the order its controls show them.
struct TBVDesignClass {
  std::string_view name;
  std::string_view base_name;
  std::vector<std::string_view> edited_properties;
};

// The type a property editor is registered for: a type name, with the
// property name narrowing it to one property (empty: every property of the
// type on that class).
struct TBVPropertyType {
  std::string_view name;
};

class ICoreActionService {
 public:
  virtual ~ICoreActionService() = default;
  virtual void RegisterAction(const std::string& category, const TBVActionClass& action_class,
                              const std::string& icon_resource_name) = 0;
  virtual void RegisterPropertyEditor(const TBVPropertyType& property_type,
                                      const TBVActionClass& action_class,
                                      const std::string& property_name,
                                      const TBVDesignClass& editor_class) = 0;
  virtual void RegisterActionFrames(const TBVActionClass& action_class,
                                    const std::vector<TBVDesignClass>& frames) = 0;
};

class ICoreScriptingService {
 public:
  virtual ~ICoreScriptingService() = default;
  // `method` is the contract's nil: the host dispatches the method by name.
  virtual void RegisterScriptMethod(const TBVActionClass& action_class,
                                    const std::string& method_name, const void* method) = 0;
  virtual void RegisterScriptConstant(const std::string& name, int64_t value) = 0;
};

class IBVOptionsService {
 public:
  virtual ~IBVOptionsService() = default;
  virtual void RegisterOptions(const TBVOptionsClass& options_class,
                               const std::string& icon_resource_name) = 0;
  virtual void RegisterOptionsFrames(const TBVOptionsClass& options_class,
                                     const std::vector<TBVDesignClass>& frames) = 0;
};

// The object BVRegister receives. Each service is obtained anew for every
// call, as the host's global accessors hand them out.
class IBVServices {
 public:
  virtual ~IBVServices() = default;
  // True when the host's designer is present; false in the command-line runner.
  virtual bool IsDesignTime() = 0;
  virtual ICoreActionService& ActionService() = 0;
  virtual ICoreScriptingService& CoreScriptingService() = 0;
  virtual IBVOptionsService& OptionsService() = 0;
};

// The entry a package module exports, looked up by this name.
inline constexpr const char* kRegisterEntryName = "BVRegister";
using BVRegisterFunction = void (*)(IBVServices* services);

}  // namespace brivant
