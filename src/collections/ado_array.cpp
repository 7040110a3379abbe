#include "velmora/collections/ado_array.hpp"

#include "collections/guarded.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {
namespace {

using collections::Guarded;

constexpr std::string_view kClass = "AdoArray";
constexpr int32_t errIndexNotFound = 3015;
constexpr int32_t errNoCurrentIndex = 3019;

[[noreturn]] void RaiseDirect(int32_t number, const char* description) {
  com::Raise(number, description, std::string(kLibraryName) + "." + std::string(kClass));
}

// The record interface of an object, as a late-bound call would find it.
AdoRecord& AsRecord(const com::ObjectPtr& rec) {
  if (!rec) com::Raise(com::errObjectNotSet);
  auto* record = dynamic_cast<AdoRecord*>(rec.get());
  if (record == nullptr) com::Raise(com::errNoSuchMember);
  return *record;
}

AdoRecordHeader& HeaderOf(const com::ObjectPtr& rec) {
  const auto header = AsRecord(rec).Header();
  if (!header) com::Raise(com::errObjectNotSet);
  return *header;
}

std::string RecordKey(int32_t id) { return std::to_string(id); }

AdoIndexPtr IndexItem(const com::Variant& item) { return item.ObjectAs<AdoIndex>(); }

}  // namespace

AdoArray::AdoArray()
    : records_(std::make_shared<com::Collection>()),
      indexes_(std::make_shared<com::Collection>()),
      baseIndex_(std::make_shared<AdoIndex>()) {
  baseIndex_->KeySet(std::make_shared<AdoKeySet>());
}

AdoArray::~AdoArray() = default;

AdoKeySet& AdoArray::ActiveKeySet() const { return *(currentIndex_ ? currentIndex_ : baseIndex_)->KeySet(); }

std::string AdoArray::BookmarkCreate(const com::Variant& unk) const {
  return Support().EncodeKeyId(com::CLng(unk));
}

bool AdoArray::Delete() {
  return Guarded(kClass, "Delete", [&] {
    const int32_t id = Support().DecodeKeyId(ActiveKeySet().Bookmark());
    const com::ObjectPtr rec = records_->Item(RecordKey(id)).Object();
    IndexesRemove(rec);
    records_->Remove(RecordKey(id));
    return false;
  });
}

bool AdoArray::AddNew(const com::ObjectPtr& rec) {
  return Guarded(kClass, "AddNew", [&] {
    AdoRecordHeader& header = HeaderOf(rec);
    if (header.Unk() == 0) header.Unk(Support().NewKeyId());
    records_->Add(rec, RecordKey(header.Unk()));
    IndexesAdd(rec);
    return false;
  });
}

int32_t AdoArray::Find(const std::string& keyToFind, FindMethodEnum method) {
  return Guarded(kClass, "Find", [&] {
    if (!currentIndex_) RaiseDirect(errNoCurrentIndex, "No current index.");
    return currentIndex_->KeySet()->Find(keyToFind, method);
  });
}

bool AdoArray::IsValidBookmark(const std::string& bookmark) const { return ActiveKeySet().IsValidBookmark(bookmark); }
std::string AdoArray::Bookmark() { return ActiveKeySet().Bookmark(); }
void AdoArray::Bookmark(const std::string& value) { ActiveKeySet().Bookmark(value); }
bool AdoArray::IsEOF() const { return ActiveKeySet().IsEOF(); }
bool AdoArray::IsBOF() const { return ActiveKeySet().IsBOF(); }

bool AdoArray::MovePrevious() {
  return Guarded(kClass, "MovePrevious", [&] { return ActiveKeySet().MovePrevious(); });
}
bool AdoArray::MoveNext() {
  return Guarded(kClass, "MoveNext", [&] { return ActiveKeySet().MoveNext(); });
}
bool AdoArray::MoveLast() {
  return Guarded(kClass, "MoveLast", [&] { return ActiveKeySet().MoveLast(); });
}
bool AdoArray::MoveFirst() {
  return Guarded(kClass, "MoveFirst", [&] { return ActiveKeySet().MoveFirst(); });
}

std::string AdoArray::Index() const { return currentIndex_ ? currentIndex_->Name() : std::string(); }

void AdoArray::Index(const std::string& indexName) {
  if (!Support().CollectionHasKey(indexName, indexes_)) RaiseDirect(errIndexNotFound, "Index not found.");
  currentIndex_ = IndexItem(indexes_->Item(indexName));
}

bool AdoArray::CreateIndex(const std::string& indexName, bool descending) {
  return Guarded(kClass, "CreateIndex", [&] {
    auto index = std::make_shared<AdoIndex>();
    index->Name(indexName);
    index->Collation(descending ? kSortDescending : kSortAscending);
    if (!index->KeySet()) index->KeySet(std::make_shared<AdoKeySet>());
    for (const com::Variant& rec : *records_) IndexAdd(*index, rec.Object());
    indexes_->Add(index, indexName);
    return false;
  });
}

bool AdoArray::IndexAdd(AdoIndex& index, const com::ObjectPtr& rec) {
  return Guarded(kClass, "IndexAdd", [&] {
    if (!index.KeySet()) index.KeySet(std::make_shared<AdoKeySet>());
    const std::string key = com::CStr(AsRecord(rec).Key(index.Name()));
    return index.KeySet()->AddNew(key, HeaderOf(rec).Unk());
  });
}

bool AdoArray::IndexesAdd(const com::ObjectPtr& rec) {
  return Guarded(kClass, "IndexesAdd", [&] {
    baseIndex_->KeySet()->Append("", HeaderOf(rec).Unk());
    for (const com::Variant& item : *indexes_) IndexAdd(*IndexItem(item), rec);
    return false;
  });
}

void AdoArray::IndexesRemove(const com::ObjectPtr& rec) {
  const std::string bookmark = Support().EncodeKeyId(HeaderOf(rec).Unk());
  for (const com::Variant& item : *indexes_) IndexItem(item)->KeySet()->Delete(bookmark);
}

std::shared_ptr<const com::Collection> AdoArray::NewEnum() const { return records_; }

int32_t AdoArray::RecordCount() const { return records_->Count(); }

int32_t AdoArray::CurrentPosition() {
  return baseIndex_->KeySet()->BookmarkToIndex(ActiveKeySet().Bookmark());
}

com::ObjectPtr AdoArray::Record() { return records_->Item(CurrentPosition()).Object(); }

std::string AdoArray::Key(const com::Variant& recId) {
  if (!currentIndex_) RaiseDirect(errNoCurrentIndex, "No current index.");
  const com::ObjectPtr rec = records_->Item(recId).Object();
  return currentIndex_->KeySet()->Key(Support().EncodeKeyId(HeaderOf(rec).Unk()));
}

void AdoArray::Clear() {
  records_ = std::make_shared<com::Collection>();
  indexes_ = std::make_shared<com::Collection>();
  currentIndex_.reset();
  baseIndex_->KeySet()->Clear();
}

}  // namespace velmora
