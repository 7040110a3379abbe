#pragma once
// A persistable record class for the record array tests: a header and one
// key per index name; a key asked for a name it does not know fails.
#include <map>
#include <memory>
#include <string>

#include "velmora/collections/ado_record.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/com/property_bag.hpp"

namespace velmora::testing {

class TestRecord : public com::PersistableObject, public AdoRecord {
 public:
  static constexpr const char* kProgID = "VelmoraTests.Record";

  TestRecord() : header_(std::make_shared<AdoRecordHeader>()) {}
  TestRecord(int32_t id, std::map<std::string, std::string> keys) : TestRecord() {
    header_->Unk(id);
    keys_ = std::move(keys);
  }

  std::shared_ptr<AdoRecordHeader> Header() override { return header_; }
  com::Variant Key(const std::string& indexName) override {
    const auto it = keys_.find(indexName);
    if (it == keys_.end()) com::Raise(5, "no key for " + indexName);
    return it->second;
  }

  std::string ProgID() const override { return kProgID; }
  void WriteProperties(com::PropertyBag& bag) override {
    bag.WriteProperty("Header", header_);
    bag.WriteProperty("Keys", static_cast<int32_t>(keys_.size()));
    int32_t i = 0;
    for (const auto& [name, value] : keys_) {
      ++i;
      bag.WriteProperty("Name" + std::to_string(i), name);
      bag.WriteProperty("Value" + std::to_string(i), value);
    }
  }
  void ReadProperties(com::PropertyBag& bag) override {
    header_ = bag.ReadProperty("Header").ObjectAs<AdoRecordHeader>();
    const int32_t count = com::CLng(bag.ReadProperty("Keys"));
    for (int32_t i = 1; i <= count; ++i) {
      keys_[com::CStr(bag.ReadProperty("Name" + std::to_string(i)))] =
          com::CStr(bag.ReadProperty("Value" + std::to_string(i)));
    }
  }

 private:
  std::shared_ptr<AdoRecordHeader> header_;
  std::map<std::string, std::string> keys_;
};

// The id of a record object (0 when it is not a TestRecord).
inline int32_t IdOf(const com::ObjectPtr& rec) {
  const auto record = std::dynamic_pointer_cast<TestRecord>(rec);
  return record ? record->Header()->Unk() : 0;
}

// Registers the classes that the array tests read back from property bags.
void RegisterTestClasses();

}  // namespace velmora::testing
