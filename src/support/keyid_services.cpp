#include "velmora/support/keyid_services.hpp"

#include <atomic>
#include <random>

#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::support {
namespace {

// Each byte b of an id becomes the code point U+0100 + b, whose UTF-8 form is
// the two bytes 0xC4 + (b >> 6) and 0x80 + (b & 0x3F).
constexpr unsigned char kLeadBase = 0xC4;
constexpr unsigned char kContinuationBase = 0x80;

// Byte length of the UTF-8 character that starts with `lead` (a stray or
// invalid byte counts as a character of its own).
size_t CharLength(unsigned char lead) noexcept {
  if (lead >= 0xF0 && lead <= 0xF7) return 4;
  if (lead >= 0xE0) return lead <= 0xEF ? 3 : 1;
  if (lead >= 0xC0) return 2;
  return 1;
}

// Byte length of the next slot of `text` from `offset`: up to four
// characters, cut short at the end of the text.
size_t SlotLength(std::string_view text, size_t offset, int32_t& chars) noexcept {
  size_t end = offset;
  chars = 0;
  while (chars < kKeyIdChars && end < text.size()) {
    end += CharLength(static_cast<unsigned char>(text[end]));
    ++chars;
  }
  if (end > text.size()) end = text.size();
  return end - offset;
}

int32_t CharCount(std::string_view text) noexcept {
  int32_t count = 0;
  for (size_t i = 0; i < text.size(); i += CharLength(static_cast<unsigned char>(text[i]))) ++count;
  return count;
}

bool IsNumberType(int16_t vtype) noexcept {
  switch (vtype) {
    case com::vbInteger:
    case com::vbLong:
    case com::vbSingle:
    case com::vbDouble:
    case com::vbCurrency:
    case com::vbDecimal:
    case com::vbByte:
    case com::vbBoolean:
      return true;
    default:
      return false;
  }
}

int32_t RandomNegativeStart() {
  std::random_device device;
  std::uniform_int_distribution<int32_t> spread(-(1 << 30), -1);
  return spread(device);
}

}  // namespace

std::string KeyIdToBookmark(int32_t keyId) {
  const auto bits = static_cast<uint32_t>(keyId);
  std::string text(2 * kKeyIdChars, '\0');
  for (int i = 0; i < kKeyIdChars; ++i) {
    const auto byte = static_cast<unsigned char>(bits >> (8 * (kKeyIdChars - 1 - i)));
    text[2 * i] = static_cast<char>(kLeadBase + (byte >> 6));
    text[2 * i + 1] = static_cast<char>(kContinuationBase + (byte & 0x3F));
  }
  return text;
}

bool BookmarkToKeyId(std::string_view bookmark, int32_t& keyId) noexcept {
  if (bookmark.size() != 2 * kKeyIdChars) return false;
  uint32_t bits = 0;
  for (int i = 0; i < kKeyIdChars; ++i) {
    const auto lead = static_cast<unsigned char>(bookmark[2 * i]);
    const auto tail = static_cast<unsigned char>(bookmark[2 * i + 1]);
    if (lead < kLeadBase || lead > kLeadBase + 3 || (tail & 0xC0) != kContinuationBase) return false;
    bits = (bits << 8) | static_cast<uint32_t>(((lead - kLeadBase) << 6) | (tail & 0x3F));
  }
  keyId = static_cast<int32_t>(bits);
  return true;
}

int32_t KeyIdServices::DecodeKeyId(const std::string& bookmark) const {
  int32_t keyId = 0;
  if (!BookmarkToKeyId(bookmark, keyId)) com::Raise(com::errInvalidProcedureCall);
  return keyId;
}

int32_t KeyIdServices::FindKeyIdSlot(std::string_view slots, std::string_view bookmark, int32_t start) const {
  if (CharCount(bookmark) != kKeyIdChars) return 0;
  int32_t slot = 1;
  for (size_t offset = 0; offset < slots.size(); ++slot) {
    int32_t chars = 0;
    const size_t length = SlotLength(slots, offset, chars);
    if (slot >= start && chars == kKeyIdChars && slots.substr(offset, length) == bookmark) return slot;
    offset += length;
  }
  return 0;
}

int32_t KeyIdServices::NewKeyId() {
  static std::atomic<int32_t> next{RandomNegativeStart()};
  int32_t id = next.fetch_sub(1);
  // After 2^31 ids the counter wraps; 0 is never handed out.
  while (id == 0) id = next.fetch_sub(1);
  return id;
}

bool KeyIdServices::CollectionHasKey(const com::Variant& key, const com::CollectionPtr& collection) const {
  if (!collection) return false;
  if (const auto* text = key.TryGet<std::string>()) return collection->HasKey(*text);
  if (!IsNumberType(key.VarType())) return false;
  try {
    const int32_t position = com::CLng(key);
    return position >= 1 && position <= collection->Count();
  } catch (const com::Error&) {
    return false;  // a number too large for a position
  }
}

std::string KeyIdServices::TrimTrailingSeparator(std::string_view text, std::string_view separator) const {
  if (!separator.empty() && text.ends_with(separator)) text.remove_suffix(separator.size());
  return std::string(text);
}

void KeyIdServices::Notify() {
  ++notifications_;
  if (handler_) handler_();
}

}  // namespace velmora::support
