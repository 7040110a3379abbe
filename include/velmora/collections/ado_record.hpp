#pragma once
// What an AdoArray needs from the objects it holds: a header whose Unk is
// the record's 32-bit id, and a key string for each index name.
//
// AdoRecord is an interface, not an object class of its own: a record class
// derives from com::Object (or from com::PersistableObject, so that arrays
// holding it can be persisted) and from AdoRecord. The array finds the
// interface on the objects it is given, as a late-bound call would, and
// raises 438 ("Object doesn't support this property or method") for an
// object that lacks it.
#include <memory>
#include <string>

#include "velmora/com/variant.hpp"
#include "velmora/sysrecords/record_header.hpp"

namespace velmora {

class AdoRecord {
 public:
  virtual ~AdoRecord() = default;
  // The record's header; its Unk is the record id (0: not yet assigned).
  virtual std::shared_ptr<AdoRecordHeader> Header() = 0;
  // The record's key under the index `indexName`, any value convertible to
  // a string.
  virtual com::Variant Key(const std::string& indexName) = 0;

 protected:
  AdoRecord() = default;
  AdoRecord(const AdoRecord&) = default;
  AdoRecord& operator=(const AdoRecord&) = default;
};

}  // namespace velmora
