// Property bags and their binary form (described in docs/formats.md).
//
// Each stored property keeps its value already encoded: writing a
// persistable object takes a snapshot of its properties at that moment, and
// reading one re-creates it through the class registry, as the platform's
// property bags do. Contents(bytes) validates everything before replacing
// the bag, so bad bytes leave the bag unchanged.
#include "velmora/com/property_bag.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <mutex>

#include "velmora/com/collection.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::com {
namespace {

// Values are copied byte for byte: the format is little-endian.
static_assert(std::endian::native == std::endian::little, "the property bag format needs a little-endian host");

constexpr uint8_t kMagic[4] = {'V', 'P', 'B', 'G'};
constexpr uint16_t kVersion = 1;
constexpr int kMaxDepth = 32;  // nesting of objects and arrays
constexpr uint8_t kNothing = 0;
constexpr uint8_t kPersistedObject = 1;
// Type 8209 (arrays of bytes) is followed by its form.
constexpr uint8_t kByteBuffer = 0;    // ByteArray
constexpr uint8_t kBoundedArray = 1;  // VariantArray of bytes

constexpr int32_t errNotPersistable = 330;
const char* const kSource = "Velmora.PropertyBag";

[[noreturn]] void Corrupt(const std::string& what, size_t offset) {
  throw Error(errLibrary, "Invalid property bag contents: " + what + " at byte " + std::to_string(offset) + ".",
              kSource);
}

class Writer {
 public:
  explicit Writer(ByteArray& out) : out_(out) {}
  template <class T>
  void Put(T value) {
    uint8_t raw[sizeof(T)];
    std::memcpy(raw, &value, sizeof(T));
    out_.insert(out_.end(), raw, raw + sizeof(T));
  }
  void PutBytes(const uint8_t* data, size_t size) { out_.insert(out_.end(), data, data + size); }
  void PutString(const std::string& s) {
    Put(static_cast<uint32_t>(s.size()));
    PutBytes(reinterpret_cast<const uint8_t*>(s.data()), s.size());
  }
  ByteArray& Out() { return out_; }

 private:
  ByteArray& out_;
};

class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  template <class T>
  T Peek(const char* what) {
    Need(sizeof(T), what);
    T value;
    std::memcpy(&value, data_ + pos_, sizeof(T));
    return value;
  }
  template <class T>
  T Get(const char* what) {
    const T value = Peek<T>(what);
    pos_ += sizeof(T);
    return value;
  }
  const uint8_t* Take(size_t count, const char* what) {
    Need(count, what);
    const uint8_t* p = data_ + pos_;
    pos_ += count;
    return p;
  }
  std::string_view GetString(const char* what) {
    const auto length = Get<uint32_t>(what);
    const uint8_t* p = Take(length, what);
    return std::string_view(reinterpret_cast<const char*>(p), length);
  }
  // A count of items each at least `minimumSize` bytes long.
  uint32_t GetCount(size_t minimumSize, const char* what) {
    const size_t at = pos_;
    const auto count = Get<uint32_t>(what);
    if (count > Remaining() / minimumSize) Corrupt(std::string(what) + " count larger than the data", at);
    return count;
  }
  size_t Position() const { return pos_; }
  size_t Remaining() const { return size_ - pos_; }
  const uint8_t* Data() const { return data_; }

 private:
  void Need(size_t count, const char* what) {
    if (count > Remaining())
      Corrupt(std::string("truncated ") + what + " (" + std::to_string(count) + " bytes needed, " +
                  std::to_string(Remaining()) + " left)",
              pos_);
  }
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

// Element types of arrays: vbVariant or one of the value types.
bool IsElementType(int16_t t) {
  switch (t) {
    case vbVariant:
    case vbInteger:
    case vbLong:
    case vbSingle:
    case vbDouble:
    case vbCurrency:
    case vbDate:
    case vbString:
    case vbObject:
    case vbBoolean:
    case vbDecimal:
    case vbByte: return true;
    default: return false;
  }
}

}  // namespace

// ---- class registry ----

namespace {
struct Registry {
  std::mutex mutex;
  std::map<std::string, ClassRegistry::Factory> factories;  // by folded ProgID
};
Registry& TheRegistry() {
  static Registry registry;
  return registry;
}
}  // namespace

void ClassRegistry::Register(const std::string& progId, Factory factory) {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  r.factories[FoldKeyCase(progId)] = std::move(factory);
}

bool ClassRegistry::IsRegistered(const std::string& progId) {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mutex);
  return r.factories.count(FoldKeyCase(progId)) != 0;
}

std::shared_ptr<PersistableObject> ClassRegistry::Create(const std::string& progId) {
  Factory factory;
  {
    Registry& r = TheRegistry();
    std::lock_guard lock(r.mutex);
    auto it = r.factories.find(FoldKeyCase(progId));
    if (it != r.factories.end()) factory = it->second;
  }
  std::shared_ptr<PersistableObject> object = factory ? factory() : nullptr;
  if (!object) Raise(errCannotCreateObject, StandardDescription(errCannotCreateObject) + " (" + progId + ")", kSource);
  return object;
}

// ---- the bag ----

struct PropertyBag::Impl {
  struct Entry {
    std::string name;
    ByteArray value;  // one encoded value
  };
  using Entries = std::map<std::string, Entry>;  // by folded name

  Entries entries;
  int depth = 0;  // of this bag inside the objects being written or read

  // -- encoding --

  static void EncodeValue(Writer& w, const Variant& v, int depth) {
    if (depth > kMaxDepth) Raise(errLibrary, "Property bag nesting deeper than " + std::to_string(kMaxDepth) + ".", kSource);
    const int16_t type = v.VarType();
    w.Put(type);
    struct Payload {
      Writer& w;
      int depth;
      void operator()(std::monostate) const {}
      void operator()(NullValue) const {}
      void operator()(MissingValue) const {}
      void operator()(int16_t x) const { w.Put(x); }
      void operator()(int32_t x) const { w.Put(x); }
      void operator()(float x) const { w.Put(x); }
      void operator()(double x) const { w.Put(x); }
      void operator()(Currency x) const { w.Put(x.raw); }
      void operator()(Date x) const { w.Put(x.value); }
      void operator()(const std::string& x) const { w.PutString(x); }
      void operator()(bool x) const { w.Put(static_cast<uint8_t>(x ? 1 : 0)); }
      void operator()(uint8_t x) const { w.Put(x); }
      void operator()(const Decimal& x) const {
        w.Put(x.lo64);
        w.Put(x.hi32);
        w.Put(x.scale);
        w.Put(static_cast<uint8_t>(x.negative ? 1 : 0));
      }
      void operator()(const ByteArray& x) const {
        w.Put(kByteBuffer);
        w.Put(static_cast<uint32_t>(x.size()));
        w.PutBytes(x.data(), x.size());
      }
      void operator()(const VariantArray& x) const {
        if (x.elementType == vbByte) w.Put(kBoundedArray);
        w.Put(x.lowerBound);
        w.Put(static_cast<uint32_t>(x.items.size()));
        for (const Variant& item : x.items) EncodeValue(w, item, depth + 1);
      }
      void operator()(const ObjectPtr& x) const { EncodeObject(w, x, depth); }
    };
    std::visit(Payload{w, depth}, v.Value());
  }

  static void EncodeObject(Writer& w, const ObjectPtr& object, int depth) {
    if (!object) {
      w.Put(kNothing);
      return;
    }
    auto persistable = std::dynamic_pointer_cast<PersistableObject>(object);
    if (!persistable)
      Raise(errNotPersistable, "Illegal parameter. Can't write object because it does not support persistence.",
            kSource);
    w.Put(kPersistedObject);
    w.PutString(persistable->ProgID());
    PropertyBag child;
    child.impl_->depth = depth + 1;
    persistable->WriteProperties(child);
    child.impl_->EncodeList(w);
  }

  void EncodeList(Writer& w) const {
    w.Put(static_cast<uint32_t>(entries.size()));
    for (const auto& [folded, entry] : entries) {
      w.PutString(entry.name);
      w.PutBytes(entry.value.data(), entry.value.size());
    }
  }

  // -- decoding --
  // With `materialize` false a value is only checked: nothing is built from
  // it, so checking needs no memory beyond the input whatever the counts
  // claim. ReadProperty materializes values that were checked before, so
  // every count it meets is backed by items that are really there and can be
  // reserved for.

  static Variant DecodeValue(Reader& r, int depth, bool materialize) {
    const size_t at = r.Position();
    if (depth > kMaxDepth) Corrupt("nesting deeper than " + std::to_string(kMaxDepth), at);
    const auto type = r.Get<int16_t>("type code");
    switch (type) {
      case vbEmpty: return Variant();
      case vbNull: return Variant(Null);
      case vbError: return Variant(Missing);
      case vbInteger: return r.Get<int16_t>("integer");
      case vbLong: return r.Get<int32_t>("long");
      case vbSingle: return r.Get<float>("single");
      case vbDouble: return r.Get<double>("double");
      case vbCurrency: return Currency::FromRaw(r.Get<int64_t>("currency"));
      case vbDate: return Date(r.Get<double>("date"));
      case vbString: return DecodeString(r, materialize);
      case vbBoolean: return DecodeFlag(r, "boolean");
      case vbByte: return r.Get<uint8_t>("byte");
      case vbDecimal: return DecodeDecimal(r);
      case vbObject: return DecodeObject(r, depth, materialize);
      case vbByteArray: return DecodeBytes(r, depth, materialize);
      default:
        if ((type & vbArray) && IsElementType(static_cast<int16_t>(type - vbArray)))
          return DecodeArray(r, static_cast<int16_t>(type - vbArray), depth, materialize);
        Corrupt("unknown type code " + std::to_string(type), at);
    }
  }

  static Variant DecodeString(Reader& r, bool materialize) {
    const std::string_view text = r.GetString("string");
    return materialize ? Variant(std::string(text)) : Variant();
  }

  static bool DecodeFlag(Reader& r, const char* what) {
    const size_t at = r.Position();
    const auto flag = r.Get<uint8_t>(what);
    if (flag > 1) Corrupt(std::string("invalid ") + what + " flag", at);
    return flag == 1;
  }

  static Decimal DecodeDecimal(Reader& r) {
    Decimal d;
    d.lo64 = r.Get<uint64_t>("decimal");
    d.hi32 = r.Get<uint32_t>("decimal");
    const size_t at = r.Position();
    d.scale = r.Get<uint8_t>("decimal scale");
    if (d.scale > 28) Corrupt("decimal scale above 28", at);
    d.negative = DecodeFlag(r, "decimal sign");
    return d;
  }

  static Variant DecodeBytes(Reader& r, int depth, bool materialize) {
    const size_t at = r.Position();
    const auto form = r.Get<uint8_t>("byte array form");
    if (form == kBoundedArray) return DecodeArray(r, vbByte, depth, materialize);
    if (form != kByteBuffer) Corrupt("invalid byte array form", at);
    const auto count = r.GetCount(1, "byte array");
    const uint8_t* p = r.Take(count, "byte array");
    return materialize ? Variant(ByteArray(p, p + count)) : Variant();
  }

  // An item's type code is its VarType, so a typed array's items are checked
  // before they are decoded.
  static Variant DecodeArray(Reader& r, int16_t elementType, int depth, bool materialize) {
    VariantArray a;
    a.elementType = elementType;
    a.lowerBound = r.Get<int32_t>("array bound");
    const auto count = r.GetCount(sizeof(int16_t), "array");
    if (materialize) a.items.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
      const size_t at = r.Position();
      if (elementType != vbVariant && r.Peek<int16_t>("type code") != elementType)
        Corrupt("array item of another type", at);
      Variant item = DecodeValue(r, depth + 1, materialize);
      if (materialize) a.items.push_back(std::move(item));
    }
    return materialize ? Variant(std::move(a)) : Variant();
  }

  static Variant DecodeObject(Reader& r, int depth, bool materialize) {
    const size_t at = r.Position();
    const auto kind = r.Get<uint8_t>("object kind");
    if (kind == kNothing) return Variant(nullptr);
    if (kind != kPersistedObject) Corrupt("invalid object kind", at);
    const std::string progId(r.GetString("class name"));
    PropertyBag child;
    child.impl_->depth = depth + 1;
    child.impl_->entries = DecodeList(r, depth + 1);
    if (!materialize) return Variant(nullptr);
    std::shared_ptr<PersistableObject> object = ClassRegistry::Create(progId);
    object->ReadProperties(child);
    return Variant(object);
  }

  static Entries DecodeList(Reader& r, int depth) {
    Entries list;
    const auto count = r.GetCount(sizeof(uint32_t) + sizeof(int16_t), "property");
    for (uint32_t i = 0; i < count; ++i) {
      const size_t at = r.Position();
      Entry entry;
      entry.name = r.GetString("property name");
      const size_t start = r.Position();
      DecodeValue(r, depth, false);
      entry.value.assign(r.Data() + start, r.Data() + r.Position());
      if (!list.emplace(FoldKeyCase(entry.name), std::move(entry)).second) Corrupt("repeated property name", at);
    }
    return list;
  }
};

PropertyBag::PropertyBag() : impl_(std::make_unique<Impl>()) {}
PropertyBag::~PropertyBag() = default;

void PropertyBag::WriteProperty(const std::string& name, const Variant& value, const Variant& defaultValue) {
  const std::string folded = FoldKeyCase(name);
  if (!defaultValue.IsMissing() && VarEqual(value, defaultValue)) {
    impl_->entries.erase(folded);  // a value equal to its default is not stored
    return;
  }
  Impl::Entry entry{name, {}};
  Writer w(entry.value);
  Impl::EncodeValue(w, value, impl_->depth);
  impl_->entries[folded] = std::move(entry);
}

Variant PropertyBag::ReadProperty(const std::string& name, const Variant& defaultValue) {
  auto it = impl_->entries.find(FoldKeyCase(name));
  if (it == impl_->entries.end()) return defaultValue.IsMissing() ? Variant() : defaultValue;
  const ByteArray& bytes = it->second.value;
  Reader r(bytes.data(), bytes.size());
  return Impl::DecodeValue(r, impl_->depth, true);
}

int32_t PropertyBag::Count() const noexcept {
  constexpr size_t kMost = std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(std::min(impl_->entries.size(), kMost));
}

ByteArray PropertyBag::Contents() const {
  ByteArray out(std::begin(kMagic), std::end(kMagic));
  Writer w(out);
  w.Put(kVersion);
  w.Put(uint16_t{0});  // flags, reserved
  impl_->EncodeList(w);
  return out;
}

void PropertyBag::Contents(const ByteArray& bytes) {
  Reader r(bytes.data(), bytes.size());
  const uint8_t* magic = r.Take(sizeof kMagic, "header");
  if (std::memcmp(magic, kMagic, sizeof kMagic) != 0) Corrupt("not a property bag (bad signature)", 0);
  const auto version = r.Get<uint16_t>("header");
  if (version != kVersion) Corrupt("unsupported version " + std::to_string(version), 4);
  if (r.Get<uint16_t>("header") != 0) Corrupt("unknown flags", 6);
  Impl::Entries entries = Impl::DecodeList(r, impl_->depth);
  if (r.Remaining() != 0) Corrupt("trailing bytes after the last property", r.Position());
  impl_->entries = std::move(entries);
}

}  // namespace velmora::com
