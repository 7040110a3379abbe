#pragma once
// Property bags: persistence of objects as named values.
//
// WriteProperty does not store a value that equals its default (VB's `=`);
// ReadProperty of a name that is not stored gives the default. A value that
// is a persistable object is stored with its class name (ProgID) and its own
// properties, and re-created through the class registry when read.
// Contents() gives the bag as bytes in a versioned binary format (documented
// in docs/formats.md); Contents(bytes) reads them back and rejects bytes that
// are truncated or corrupt with error 20000.
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::com {

class PropertyBag;

// A class whose state can be written to and read from a property bag.
class PersistableObject : public Object {
 public:
  // The registered class name, such as "Velmora.AdoFlags".
  virtual std::string ProgID() const = 0;
  virtual void InitProperties() {}
  virtual void ReadProperties(PropertyBag& bag) = 0;
  virtual void WriteProperties(PropertyBag& bag) = 0;
};

// Process-wide registry of persistable classes by ProgID.
class ClassRegistry {
 public:
  using Factory = std::function<std::shared_ptr<PersistableObject>()>;
  static void Register(const std::string& progId, Factory factory);
  static bool IsRegistered(const std::string& progId);
  // A new instance; raises 429 ("ActiveX component can't create object")
  // when the class is not registered.
  static std::shared_ptr<PersistableObject> Create(const std::string& progId);
};

class PropertyBag : public Object {
 public:
  PropertyBag();
  ~PropertyBag() override;

  void WriteProperty(const std::string& name, const Variant& value, const Variant& defaultValue = Missing);
  Variant ReadProperty(const std::string& name, const Variant& defaultValue = Missing);
  // The number of properties stored. A reader uses it to refuse a stored
  // count of items that the bag cannot hold (each item is a property).
  int32_t Count() const noexcept;

  ByteArray Contents() const;
  void Contents(const ByteArray& bytes);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::com
