#pragma once
// AdoFlag and AdoFlags: named settings (flags) passed to the library's
// operations, kept in a collection keyed by name without regard to case, in
// order of first insertion, and stored in INI files, in name=value lines and
// in a single text buffer.
//
// Text form of one flag (INI files and LineSplit): NAME=CCCC:~:VALUE, where
// CCCC is the variant type code in four hex digits (0003 for a 32-bit
// integer, 0008 for a string...) and VALUE the value as text (dates as
// yyyymmddhhmmss; strings holding control characters as hex of their UTF-8
// bytes under the code 2011). docs/flags.md describes the INI and buffer
// formats.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "velmora/com/collection.hpp"
#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"

namespace velmora {

class AdoFlag : public com::Object {
 public:
  static constexpr std::string_view kClassId = "{1FA61DDB-F25D-47C0-AEAA-3898CC664C1E}";
  static constexpr std::string_view kInterfaceId = "{8AE07456-C1E3-4633-91C2-BA4F6361E2D1}";

  const std::string& Name() const noexcept { return name_; }
  void Name(std::string value) { name_ = std::move(value); }
  // An object value is held by reference (the same object).
  const com::Variant& Value() const noexcept { return value_; }
  void Value(com::Variant value) { value_ = std::move(value); }
  // Sets Target's Name and then its Value by value assignment. An object
  // value cannot be assigned by value: it raises 438 (91 for Nothing), as
  // the assignment of an object without a default property does.
  void CopyTo(const std::shared_ptr<AdoFlag>& Target) const;

 private:
  std::string name_;
  com::Variant value_;
};

using AdoFlagPtr = std::shared_ptr<AdoFlag>;

class AdoFlags : public com::Object {
 public:
  static constexpr std::string_view kClassId = "{EFCA46E8-2504-4A9F-9E53-C06A79682011}";
  static constexpr std::string_view kInterfaceId = "{47D9F0DD-23F2-41A5-80D0-93E272F6FDAA}";

  AdoFlags();

  // Writes every flag into section `Section` of `IniFile`, replacing entries
  // of the same name and keeping the others. A flag of a type that has no
  // text form raises 20000 "bad data type"; the flags before it are written.
  // True on success.
  bool Save(const std::string& IniFile, const std::string& Section);
  // Reads the flags of section `Section` of `IniFile` (a missing file or
  // section reads nothing); flags already present and absent from the
  // section are kept. True on success.
  bool Load(const std::string& IniFile, const std::string& Section);
  // Stores every NAME=CCCC:~:VALUE piece of `Buffer` cut at each
  // `Separator`; pieces without "=" are skipped. True on success.
  bool LineSplit(const std::string& Buffer, const std::string& Separator = "::");

  // Stores Value under Name: an existing flag of that name (any case) takes
  // the value and the case of Name; otherwise a new flag is added at the end.
  void WriteProperty(const std::string& Name, const com::Variant& Value);
  // The value of flag Name, or Default when there is none (nothing added).
  com::Variant ReadProperty(const std::string& Name, const com::Variant& Default) const;

  // Index: a name (any case) or a 1-based position; raises 5 when missing.
  void Remove(const com::Variant& Index);
  int32_t Count() const noexcept;
  AdoFlagPtr Item(const com::Variant& Index) const;
  // True when Item(Index) would succeed; never raises.
  bool ItemExist(const com::Variant& Index) const noexcept;
  // Starts a new empty collection; flags held elsewhere stay valid.
  void Clear();

  // Replaces Buffer with every flag (names, values and types) in the flag
  // buffer format. A value that cannot be written (an object) raises 20000
  // "bad data type". True on success.
  bool Serialize(std::string& Buffer) const;
  // Stores the flags of a buffer written by Serialize. A buffer that is
  // truncated or corrupt raises 20000 and stores nothing. True on success.
  bool Deserialize(const std::string& Buffer);

  // The characters of codes 0 to 31 and 127, built on creation; a string
  // holding any of them is stored in its hex form by the text formats.
  const std::string& ControlCharacters() const noexcept { return controlChars_; }

  // Enumeration (For Each) of the flags in collection order.
  class const_iterator {
   public:
    using value_type = AdoFlagPtr;
    using difference_type = std::ptrdiff_t;
    const_iterator() = default;
    AdoFlagPtr operator*() const { return (*it_).ObjectAs<AdoFlag>(); }
    const_iterator& operator++() {
      ++it_;
      return *this;
    }
    const_iterator operator++(int) {
      const_iterator before = *this;
      ++it_;
      return before;
    }
    friend bool operator==(const const_iterator& a, const const_iterator& b) { return a.it_ == b.it_; }

   private:
    friend class AdoFlags;
    explicit const_iterator(com::Collection::const_iterator it) : it_(it) {}
    com::Collection::const_iterator it_;
  };
  const_iterator begin() const { return const_iterator(items_->begin()); }
  const_iterator end() const { return const_iterator(items_->end()); }

 private:
  com::CollectionPtr items_;
  std::string controlChars_;
};

using AdoFlagsPtr = std::shared_ptr<AdoFlags>;

}  // namespace velmora
