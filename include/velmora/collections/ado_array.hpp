#pragma once
// AdoArray: record objects (see ado_record.hpp) held in memory in insertion
// order, with a recordset-like cursor and named indexes over the keys the
// records supply. All ordering and cursor work is done by key sets: a base
// key set in insertion order and one key set per index, held by AdoIndex
// descriptors. A record's bookmark is the bookmark of its id, valid in the
// base order and in every index.
//
// Persistable under "Velmora.AdoArray": the records (which must be
// persistable themselves) and the index names are written; the index key
// sets are rebuilt from the records when read.
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/collections/ado_record.hpp"
#include "velmora/collections/key_set.hpp"
#include "velmora/com/collection.hpp"
#include "velmora/com/property_bag.hpp"
#include "velmora/schema/descriptors.hpp"

namespace velmora {

class AdoArray : public com::PersistableObject {
 public:
  static constexpr const char* kProgID = "Velmora.AdoArray";

  AdoArray();
  ~AdoArray() override;

  // The bookmark that a record with this id has (no lookup is made).
  std::string BookmarkCreate(const com::Variant& unk) const;
  // Deletes the current record from the records and every index. The base
  // order keeps listing its id. False.
  bool Delete();
  // Adds a record; an id of 0 is replaced by a fresh one, written back to
  // the record's header. False on success.
  bool AddNew(const com::ObjectPtr& rec);
  // Find in the selected index; raises 3019 "No current index." when none.
  int32_t Find(const std::string& keyToFind, FindMethodEnum method);
  bool IsValidBookmark(const std::string& bookmark) const;
  std::string Bookmark();
  void Bookmark(const std::string& value);
  bool IsEOF() const;
  bool IsBOF() const;
  bool MovePrevious();
  bool MoveNext();
  bool MoveLast();
  bool MoveFirst();
  // The selected index's name ("" for the base order).
  std::string Index() const;
  // Selects an index; raises 3015 "Index not found." for an unknown name.
  void Index(const std::string& indexName);
  // Builds an index over every record under `indexName` and registers it
  // (not selected). Descending is recorded in the index's Collation only:
  // every index orders its keys ascending. False on success.
  bool CreateIndex(const std::string& indexName, bool descending = false);
  // The records in insertion order, for enumeration.
  std::shared_ptr<const com::Collection> NewEnum() const;
  int32_t RecordCount() const;
  // The current record.
  com::ObjectPtr Record();
  // The selected index's key of the record `recId` (a key text or a
  // position); the record becomes current in that index.
  std::string Key(const com::Variant& recId);
  // Removes every record and every index; the base order is selected.
  void Clear();

  std::string ProgID() const override { return kProgID; }
  void ReadProperties(com::PropertyBag& bag) override;
  void WriteProperties(com::PropertyBag& bag) override;

 private:
  AdoKeySet& ActiveKeySet() const;
  int32_t CurrentPosition();
  bool IndexAdd(AdoIndex& index, const com::ObjectPtr& rec);
  bool IndexesAdd(const com::ObjectPtr& rec);
  void IndexesRemove(const com::ObjectPtr& rec);
  void WriteIndex(com::PropertyBag& bag, int32_t number, const AdoIndex& index) const;

  com::CollectionPtr records_;
  com::CollectionPtr indexes_;
  AdoIndexPtr currentIndex_;
  AdoIndexPtr baseIndex_;
};

using AdoArrayPtr = std::shared_ptr<AdoArray>;

}  // namespace velmora
