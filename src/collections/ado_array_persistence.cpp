// Property-bag persistence of AdoArray: the records in insertion order and
// the definitions of the indexes.
#include "velmora/collections/ado_array.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

std::string Numbered(const char* prefix, int32_t number, const char* suffix = "") {
  return prefix + std::to_string(number) + suffix;
}

const com::Variant kNoCount{int32_t{0}};
const com::Variant kNoName{std::string()};
const com::Variant kAscending{kSortAscending};

// A stored count of records or indexes, refused when the bag cannot hold
// that many: each record is a property of its own, and so is each index but
// one with an empty name (and then the count itself is stored). A corrupt
// count thus cannot make the reader loop or allocate beyond the bag's size.
int32_t StoredCount(com::PropertyBag& bag, const char* name) {
  const int32_t count = com::CLng(bag.ReadProperty(name, kNoCount));
  if (count > bag.Count())
    com::Raise(com::errLibrary, "Invalid property bag contents: " + std::string(name) + " count " +
                                    std::to_string(count) + " larger than the " + std::to_string(bag.Count()) +
                                    " properties stored.",
               AdoArray::kProgID);
  return count;
}

}  // namespace

void AdoArray::WriteProperties(com::PropertyBag& bag) {
  const int32_t recordCount = records_->Count();
  bag.WriteProperty("RecordCount", recordCount, kNoCount);
  for (int32_t i = 1; i <= recordCount; ++i) bag.WriteProperty(Numbered("Record", i), records_->Item(i));
  const int32_t indexCount = indexes_->Count();
  bag.WriteProperty("Indexes", indexCount, kNoCount);
  for (int32_t i = 1; i <= indexCount; ++i) WriteIndex(bag, i, *indexes_->Item(i).ObjectAs<AdoIndex>());
}

// An index is written as its name, the names of its field descriptors and
// the sort order of the last of them; without descriptors the order written
// is ascending. The index's own Collation and its key set are not written.
void AdoArray::WriteIndex(com::PropertyBag& bag, int32_t number, const AdoIndex& index) const {
  bag.WriteProperty(Numbered("Index", number), index.Name(), kNoName);
  const com::CollectionPtr& fields = index.Fields();
  const int32_t fieldCount = fields ? fields->Count() : 0;
  bag.WriteProperty(Numbered("Index", number, "Fields"), fieldCount, kNoCount);
  int32_t sort = kSortAscending;
  for (int32_t j = 1; j <= fieldCount; ++j) {
    const auto field = fields->Item(j).ObjectAs<AdoField>();
    bag.WriteProperty(Numbered("Index", number, "Field") + std::to_string(j), field->Name(), kNoName);
    sort = field->Collation();
  }
  bag.WriteProperty(Numbered("ISort", number), sort, kAscending);
}

// Reading re-adds the records (keeping their ids) and re-creates each index
// by name, which recomputes every key from the records. The field names
// stored with an index take no part in that, so they are not read. An index
// that cannot be rebuilt is reported through the support object's
// notification and skipped.
// Both counts are checked before anything changes.
void AdoArray::ReadProperties(com::PropertyBag& bag) {
  const int32_t recordCount = StoredCount(bag, "RecordCount");
  const int32_t indexCount = StoredCount(bag, "Indexes");
  Clear();
  for (int32_t i = 1; i <= recordCount; ++i) AddNew(bag.ReadProperty(Numbered("Record", i)).Object());
  for (int32_t i = 1; i <= indexCount; ++i) {
    const std::string name = com::CStr(bag.ReadProperty(Numbered("Index", i), kNoName));
    const int32_t sort = com::CLng(bag.ReadProperty(Numbered("ISort", i), kAscending));
    try {
      CreateIndex(name, sort == kSortDescending);
    } catch (const com::Error&) {
      Support().Notify();
    }
  }
}

}  // namespace velmora
