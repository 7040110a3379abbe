#pragma once
// AdoKeySet: an in-memory list of string keys, each tied to a caller-chosen
// 32-bit key id, with a recordset-like cursor. AddNew keeps the keys in
// ascending binary order (a new key goes ahead of equal keys); Append adds
// at the end without any check. A record is addressed by its bookmark, the
// 4-character form of its key id (SupportObject::EncodeKeyId); positions are
// 1-based. Two records given the same key id share a bookmark, which then
// stands for the one at the lower position.
//
// Every operation costs O(log n) (the position of a shared bookmark costs
// O(k log n) for k records sharing it). Find costs O(log n) while the keys
// are in order; after Append has broken the order it repeats the ordered
// search probe by probe, O(log^2 n) plus the walk over the keys it crosses.
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/com/object.hpp"

namespace velmora {

enum FindMethodEnum : int32_t {
  FIND_LT = 0,
  FIND_LE = 1,
  FIND_EQ = 2,
  FIND_GE = 3,
  FIND_GT = 4,
};

class AdoKeySet : public com::Object {
 public:
  AdoKeySet();
  ~AdoKeySet() override;

  // Deletes the record with this bookmark ("" = the current record). When
  // it was current, the record that followed it (or the new last one)
  // becomes current. Always false.
  bool Delete(const std::string& keyId = "");
  // The 1-based position of a bookmark; raises 20000 "No such record." when
  // it is unknown, unless `errorFree` (then 0).
  int32_t BookmarkToIndex(const std::string& keyId, bool errorFree = false) const;
  bool MovePrevious();
  bool MoveLast();
  bool MoveFirst();
  bool MoveNext();
  bool IsEOF() const noexcept;
  bool IsBOF() const noexcept;
  bool IsValidBookmark(const std::string& bookmark) const;
  // The current record's bookmark; raises 3021 "No current record.".
  std::string Bookmark();
  // Makes a record current; raises 3159 "Not a valid bookmark." when the
  // bookmark is unknown. BOF and EOF are left as they are.
  void Bookmark(const std::string& value);
  bool Append(const std::string& keyValue, int32_t keyId);
  // Inserts in key order ahead of equal keys and makes the record current.
  // False on success.
  bool AddNew(const std::string& keyValue, int32_t keyId);
  // Searches the ordered keys; the position found (0 when none) becomes
  // current, or no record is current and BOF and EOF are true.
  int32_t Find(const std::string& keyToFind, FindMethodEnum method);
  int32_t RecordCount() const noexcept;
  void Clear();
  // The key of the record with this bookmark, which becomes current (""
  // = the current record).
  std::string Key(const std::string& keyId = "");

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

using AdoKeySetPtr = std::shared_ptr<AdoKeySet>;

}  // namespace velmora
