// AdoFlag and AdoFlags: the collection and its INI, line and buffer forms.
#include "velmora/flags/ado_flags.hpp"

#include <utility>
#include <vector>

#include "flags/flag_text.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/reraise.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {

namespace {

constexpr std::string_view kClassName = "AdoFlags";

// Codes 0 to 31 and 127, in ascending order.
std::string BuildControlCharacters() {
  std::string chars;
  for (int code = 0; code < 32; ++code) chars += static_cast<char>(code);
  chars += static_cast<char>(127);
  return chars;
}

// Every piece of `text` between occurrences of `separator` (exact match).
// An empty separator leaves the text whole.
std::vector<std::string_view> SplitAll(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> pieces;
  if (separator.empty()) {
    pieces.push_back(text);
    return pieces;
  }
  std::size_t start = 0;
  for (std::size_t at; (at = text.find(separator, start)) != std::string_view::npos; start = at + separator.size())
    pieces.push_back(text.substr(start, at - start));
  pieces.push_back(text.substr(start));
  return pieces;
}

}  // namespace

// --------------------------------------------------------------- AdoFlag

void AdoFlag::CopyTo(const std::shared_ptr<AdoFlag>& Target) const {
  if (!Target) com::Raise(com::errObjectNotSet);
  Target->Name(name_);
  if (value_.IsObject()) {
    if (!value_.Object()) com::Raise(com::errObjectNotSet);
    com::Raise(com::errNoSuchMember);
  }
  Target->Value(value_);
}

// -------------------------------------------------------------- AdoFlags

AdoFlags::AdoFlags() : items_(std::make_shared<com::Collection>()), controlChars_(BuildControlCharacters()) {}

void AdoFlags::WriteProperty(const std::string& Name, const com::Variant& Value) {
  AdoFlagPtr flag;
  if (ItemExist(Name)) {
    flag = Item(Name);
  } else {
    flag = std::make_shared<AdoFlag>();
    items_->Add(com::Variant(flag), com::Variant(Name));
  }
  flag->Name(Name);
  flag->Value(Value);
}

com::Variant AdoFlags::ReadProperty(const std::string& Name, const com::Variant& Default) const {
  if (ItemExist(Name)) return Item(Name)->Value();
  return Default;
}

void AdoFlags::Remove(const com::Variant& Index) { items_->Remove(Index); }

int32_t AdoFlags::Count() const noexcept { return items_->Count(); }

AdoFlagPtr AdoFlags::Item(const com::Variant& Index) const { return items_->Item(Index).ObjectAs<AdoFlag>(); }

bool AdoFlags::ItemExist(const com::Variant& Index) const noexcept {
  try {
    // A name is looked up without raising; a position goes through Item.
    if (auto name = Index.TryGet<std::string>()) return items_->HasKey(*name);
    items_->Item(Index);
    return true;
  } catch (...) {
    return false;
  }
}

void AdoFlags::Clear() { items_ = std::make_shared<com::Collection>(); }

// Every flag up to the first one without a text form is written (in one
// locked update of the file); then that flag's error is raised.
bool AdoFlags::Save(const std::string& IniFile, const std::string& Section) {
  try {
    std::vector<support::ProfileEntry> entries;
    std::exception_ptr failure;
    for (const AdoFlagPtr& flag : *this) {
      try {
        entries.push_back({flag->Name(), flags::EncodeFlagValue(flag->Value(), controlChars_)});
      } catch (...) {
        failure = std::current_exception();
        break;
      }
    }
    Support().ProfileEntriesWrite(IniFile, Section, entries);
    if (failure) std::rethrow_exception(failure);
    return true;
  } catch (...) {
    Reraise(std::string(kLibraryName) + "." + std::string(kClassName));
  }
}

bool AdoFlags::Load(const std::string& IniFile, const std::string& Section) {
  try {
    const std::vector<std::string> lines = Support().ProfileSectionRead(IniFile, Section);
    std::string joined;
    for (const std::string& line : lines) {
      if (!joined.empty()) joined += '\0';
      joined += line;
    }
    LineSplit(joined, std::string(1, '\0'));
    return true;
  } catch (...) {
    Reraise(ErrorSource(kClassName, "Load"));
  }
}

// Every piece is decoded before any is stored, so that a bad piece leaves
// the collection as it was.
bool AdoFlags::LineSplit(const std::string& Buffer, const std::string& Separator) {
  try {
    std::vector<std::pair<std::string, com::Variant>> decoded;
    for (const std::string_view piece : SplitAll(Buffer, Separator)) {
      const std::size_t equals = piece.find('=');
      if (equals == std::string_view::npos) continue;
      decoded.emplace_back(std::string(piece.substr(0, equals)), flags::DecodeFlagValue(piece.substr(equals + 1)));
    }
    for (auto& [name, value] : decoded) WriteProperty(name, value);
    return true;
  } catch (...) {
    Reraise(ErrorSource(kClassName, "LineSplit"));
  }
}

bool AdoFlags::Serialize(std::string& Buffer) const {
  try {
    std::string buffer;
    Support().TypedBufferStart(buffer);
    Support().TypedValueWrite(buffer, com::Variant(Count()));
    for (const AdoFlagPtr& flag : *this) {
      Support().TypedValueWrite(buffer, com::Variant(flag->Name()));
      Support().TypedValueWrite(buffer, flag->Value());
    }
    Support().TypedBufferFinish(buffer);
    Buffer = std::move(buffer);
    return true;
  } catch (...) {
    Buffer.clear();
    Reraise(ErrorSource(kClassName, "Load"));
  }
}

bool AdoFlags::Deserialize(const std::string& Buffer) {
  try {
    support::TypedValueReader reader = Support().TypedValueReaderOpen(Buffer);
    const com::Variant count = reader.Read();
    const int32_t* flagCount = count.TryGet<int32_t>();
    if (!flagCount || *flagCount < 0) com::Raise(com::errLibrary, "Invalid flag buffer: bad flag count");
    // Each flag is two values: a count the rest cannot hold is refused up front.
    if (static_cast<std::size_t>(*flagCount) > reader.MostValuesLeft() / 2)
      com::Raise(com::errLibrary, "Invalid flag buffer: flag count larger than the data");
    std::vector<std::pair<std::string, com::Variant>> decoded;
    for (int32_t i = 0; i < *flagCount; ++i) {
      com::Variant name = reader.Read();
      if (!name.IsString()) com::Raise(com::errLibrary, "Invalid flag buffer: a flag name is not a string");
      decoded.emplace_back(name.Get<std::string>(), reader.Read());
    }
    if (!reader.AtEnd()) com::Raise(com::errLibrary, "Invalid flag buffer: data after the last flag");
    for (auto& [name, value] : decoded) WriteProperty(name, value);
    return true;
  } catch (...) {
    Reraise(ErrorSource(kClassName, "Load"));
  }
}

}  // namespace velmora
