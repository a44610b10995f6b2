// TOXXMLObject: a persistent object of a project. Its state is exactly its
// published properties, which the host reads and writes by name through the
// class's property table; the object itself has no persistence code.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace brivant {

class PropertyTable;
class IOXXMLReader;
class IOXXMLWriter;
class IOXXMLObject;

class TOXXMLObject {
 public:
  TOXXMLObject() = default;
  TOXXMLObject(const TOXXMLObject&) = delete;
  TOXXMLObject& operator=(const TOXXMLObject&) = delete;
  virtual ~TOXXMLObject() = default;

  // Slots of the host's object layer, in their order. The XML layer of the
  // reference host works from the property table, so these are hooks only.
  virtual void ResetXMLID() {}
  virtual std::string GetObjectID() const { return object_id_; }
  virtual void SetObjectID(const std::string& id) { object_id_ = id; }
  virtual void ReadState(IOXXMLReader* /*reader*/, IOXXMLObject* /*parent*/) {}
  virtual void WriteState(IOXXMLWriter* /*writer*/) {}
  virtual void Initialise() {}
  virtual void GetChildren(const std::function<void(TOXXMLObject&)>& /*callback*/) {}
  // Called once all stored properties of a loaded object have been applied.
  virtual void Loaded() {}
  virtual void AddChildObject(IOXXMLObject* /*child*/) {}

  // The class name as projects store it ("TCopyFilesAction").
  virtual std::string_view ClassName() const = 0;
  // The published properties of the object's class, in published order.
  virtual const PropertyTable& GetPropertyTable() const = 0;

 private:
  std::string object_id_;
};

}  // namespace brivant
