// The flag buffer format: typed values written one after another into a
// text buffer, and read back.
//
// Format version 1 (also described in docs/flags.md):
//
//   buffer   = header value* trailer
//   header   = "VFLAGS" version ";"          version 1 is "VFLAGS1;"
//   value    = code ":" length ":" payload
//   code     = 4 upper-case hex digits: the variant type code (0008 string...)
//   length   = the payload's size in bytes, decimal
//   trailer  = "#" 8 upper-case hex digits: CRC-32 (IEEE 802.3) of every
//              byte before the "#"
//
// Payloads by type code:
//   0000 Empty, 0001 Null, 000A missing argument: nothing
//   0002, 0003, 0011 (16-, 32-bit integer, byte): decimal text
//   0004, 0005 (single, double), 0007 (date, its serial number): the
//        shortest decimal text that reads back as the same number
//   0006 currency: the amount in ten-thousandths, decimal
//   0008 string: its UTF-8 bytes as they are
//   000B boolean: "True" or "False"
//   000E decimal: "+" or "-", the 96-bit mantissa as 24 hex digits, ":",
//        the scale (0 to 28)
//   2011 byte array: the bytes as hex digits (two a byte)
//   2000 + element type, arrays of values (2011 included when its payload
//        starts with "["): "[" lower bound ":" item count "]" followed by the
//        items, each a value as above; items of a typed array have the
//        element type, items of a variant array (200C) any type.
//
// A count (of array items, or of flags in a flag buffer) larger than the
// bytes left could hold at 7 bytes a value is rejected before anything is
// read for it, so memory and time stay proportional to the buffer.
//
// The reader checks the header, the version and the checksum before reading
// anything, and every length, code and payload as it reads, so a truncated
// or corrupt buffer raises 20000 instead of yielding garbage.
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <system_error>
#include <type_traits>

#include "velmora/com/error.hpp"
#include "velmora/support/profile_services.hpp"

namespace velmora::support {

namespace {

constexpr std::string_view kMagic = "VFLAGS";
constexpr int kVersion = 1;
constexpr std::size_t kTrailerSize = 9;  // "#" and 8 hex digits
constexpr int kMaxNesting = 32;          // arrays within arrays
constexpr uint8_t kMaxDecimalScale = 28;
constexpr std::size_t kShortestValue = 7;  // "0000:0:", an empty value

constexpr std::array<uint32_t, 256> MakeCrcTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t n = 0; n < 256; ++n) {
    uint32_t c = n;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[n] = c;
  }
  return table;
}
constexpr auto kCrcTable = MakeCrcTable();

uint32_t Crc32(std::string_view data) {
  uint32_t crc = 0xFFFFFFFFu;
  for (const char c : data) crc = kCrcTable[(crc ^ static_cast<unsigned char>(c)) & 0xFF] ^ (crc >> 8);
  return crc ^ 0xFFFFFFFFu;
}

std::string Hex(uint64_t value, int digits) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text(static_cast<std::size_t>(digits), '0');
  for (int i = digits - 1; i >= 0; --i, value >>= 4) text[static_cast<std::size_t>(i)] = kDigits[value & 0xF];
  return text;
}

[[noreturn]] void RaiseCorrupt(const std::string& reason) {
  com::Raise(com::errLibrary, "Invalid flag buffer: " + reason);
}

template <class Number>
std::string NumberText(Number value) {
  std::array<char, 64> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  return std::string(text.data(), result.ptr);
}

// A number (decimal, or hex digits without a sign for base 16) that fills
// the whole of `text`, or a corrupt-buffer error.
template <class Number>
Number ParseNumber(std::string_view text, const char* what, int base = 10) {
  Number value{};
  const char* first = text.data();
  const char* last = first + text.size();
  std::from_chars_result result{};
  if constexpr (std::is_floating_point_v<Number>) {
    result = std::from_chars(first, last, value);
  } else {
    result = std::from_chars(first, last, value, base);
  }
  const bool signedHex = base == 16 && !text.empty() && text.front() == '-';
  if (text.empty() || signedHex || result.ec != std::errc() || result.ptr != last)
    RaiseCorrupt(std::string("bad ") + what + " '" + std::string(text) + "'");
  return value;
}

// ---------------------------------------------------------------- writing

void AppendValue(std::string& out, const com::Variant& value, int depth);

std::string DecimalPayload(const com::Decimal& d) {
  return std::string(d.negative ? "-" : "+") + Hex(d.hi32, 8) + Hex(d.lo64, 16) + ":" + NumberText(int{d.scale});
}

std::string ArrayPayload(const com::VariantArray& array, int depth) {
  std::string payload = "[" + NumberText(array.lowerBound) + ":" + NumberText(array.items.size()) + "]";
  for (const com::Variant& item : array.items) AppendValue(payload, item, depth + 1);
  return payload;
}

std::string Payload(const com::Variant& value, int depth) {
  const auto& storage = value.Value();
  if (auto p = std::get_if<int16_t>(&storage)) return NumberText(*p);
  if (auto p = std::get_if<int32_t>(&storage)) return NumberText(*p);
  if (auto p = std::get_if<uint8_t>(&storage)) return NumberText(int{*p});
  if (auto p = std::get_if<float>(&storage)) return NumberText(*p);
  if (auto p = std::get_if<double>(&storage)) return NumberText(*p);
  if (auto p = std::get_if<com::Date>(&storage)) return NumberText(p->value);
  if (auto p = std::get_if<com::Currency>(&storage)) return NumberText(p->raw);
  if (auto p = std::get_if<std::string>(&storage)) return *p;
  if (auto p = std::get_if<bool>(&storage)) return *p ? "True" : "False";
  if (auto p = std::get_if<com::Decimal>(&storage)) return DecimalPayload(*p);
  if (auto p = std::get_if<com::ByteArray>(&storage))
    return ProfileServices{}.ControlStringEncode({reinterpret_cast<const char*>(p->data()), p->size()});
  if (auto p = std::get_if<com::VariantArray>(&storage)) return ArrayPayload(*p, depth);
  if (value.IsEmpty() || value.IsNull() || value.IsMissing()) return {};
  com::Raise(com::errLibrary, "bad data type");  // objects cannot be written
}

void AppendValue(std::string& out, const com::Variant& value, int depth) {
  if (depth > kMaxNesting) com::Raise(com::errLibrary, "bad data type");
  const std::string payload = Payload(value, depth);
  out += Hex(static_cast<uint16_t>(value.VarType()), 4);
  out += ':';
  out += NumberText(payload.size());
  out += ':';
  out += payload;
}

// ---------------------------------------------------------------- reading

bool IsElementType(int code) {
  switch (code) {
    case com::vbInteger: case com::vbLong: case com::vbSingle: case com::vbDouble: case com::vbCurrency:
    case com::vbDate: case com::vbString: case com::vbBoolean: case com::vbVariant: case com::vbDecimal:
    case com::vbByte:
      return true;
    default:
      return false;
  }
}

// Takes the text up to the next ':' from `cursor`.
std::string_view TakeField(std::string_view& cursor, const char* what) {
  const std::size_t colon = cursor.find(':');
  if (colon == std::string_view::npos) RaiseCorrupt(std::string("truncated ") + what);
  const std::string_view field = cursor.substr(0, colon);
  cursor.remove_prefix(colon + 1);
  return field;
}

com::Variant ReadValue(std::string_view& cursor, int depth);

com::Decimal ParseDecimal(std::string_view payload) {
  if (payload.size() < 27 || (payload[0] != '+' && payload[0] != '-') || payload[25] != ':')
    RaiseCorrupt("bad decimal '" + std::string(payload) + "'");
  com::Decimal d;
  d.negative = payload[0] == '-';
  d.hi32 = ParseNumber<uint32_t>(payload.substr(1, 8), "decimal", 16);
  d.lo64 = ParseNumber<uint64_t>(payload.substr(9, 16), "decimal", 16);
  d.scale = ParseNumber<uint8_t>(payload.substr(26), "decimal scale");
  if (d.scale > kMaxDecimalScale) RaiseCorrupt("bad decimal scale");
  return d;
}

com::ByteArray ParseBytes(std::string_view payload) {
  std::string bytes;
  try {
    bytes = ProfileServices{}.ControlStringDecode(payload);
  } catch (const com::Error&) {
    RaiseCorrupt("bad byte array");
  }
  return com::ByteArray(bytes.begin(), bytes.end());
}

com::VariantArray ParseArray(int16_t elementType, std::string_view payload, int depth) {
  if (depth >= kMaxNesting) RaiseCorrupt("arrays nested too deeply");
  if (payload.empty() || payload.front() != '[') RaiseCorrupt("bad array");
  payload.remove_prefix(1);
  com::VariantArray array;
  array.elementType = elementType;
  array.lowerBound = ParseNumber<int32_t>(TakeField(payload, "array bounds"), "array lower bound");
  const std::size_t close = payload.find(']');
  if (close == std::string_view::npos) RaiseCorrupt("truncated array");
  const auto count = ParseNumber<uint32_t>(payload.substr(0, close), "array item count");
  payload.remove_prefix(close + 1);
  if (count > payload.size() / kShortestValue) RaiseCorrupt("array item count larger than the data");
  for (uint32_t i = 0; i < count; ++i) {
    com::Variant item = ReadValue(payload, depth + 1);
    if (elementType != com::vbVariant && item.VarType() != elementType) RaiseCorrupt("array item of another type");
    array.items.push_back(std::move(item));
  }
  if (!payload.empty()) RaiseCorrupt("array longer than its item count");
  return array;
}

com::Variant ParseBoolean(std::string_view payload) {
  if (payload == "True") return true;
  if (payload == "False") return false;
  RaiseCorrupt("bad boolean '" + std::string(payload) + "'");
}

com::Variant ParsePayload(int code, std::string_view payload, int depth) {
  const bool empty = payload.empty();
  switch (code) {
    case com::vbEmpty: if (empty) return com::Variant(); break;
    case com::vbNull: if (empty) return com::Null; break;
    case com::vbError: if (empty) return com::Missing; break;
    case com::vbInteger: return ParseNumber<int16_t>(payload, "integer");
    case com::vbLong: return ParseNumber<int32_t>(payload, "long");
    case com::vbByte: return ParseNumber<uint8_t>(payload, "byte");
    case com::vbSingle: return ParseNumber<float>(payload, "single");
    case com::vbDouble: return ParseNumber<double>(payload, "double");
    case com::vbDate: return com::Date(ParseNumber<double>(payload, "date"));
    case com::vbCurrency: return com::Currency::FromRaw(ParseNumber<int64_t>(payload, "currency"));
    case com::vbString: return std::string(payload);
    case com::vbBoolean: return ParseBoolean(payload);
    case com::vbDecimal: return ParseDecimal(payload);
    case com::vbByteArray:
      if (!empty && payload.front() == '[') return ParseArray(com::vbByte, payload, depth);
      return ParseBytes(payload);
    default:
      if (code > com::vbArray && IsElementType(code - com::vbArray))
        return ParseArray(static_cast<int16_t>(code - com::vbArray), payload, depth);
      RaiseCorrupt("unknown type code " + Hex(static_cast<uint64_t>(code), 4));
  }
  RaiseCorrupt("unexpected data after a value of type " + Hex(static_cast<uint64_t>(code), 4));
}

com::Variant ReadValue(std::string_view& cursor, int depth) {
  if (cursor.empty()) RaiseCorrupt("no more values");
  const std::string_view codeText = TakeField(cursor, "type code");
  if (codeText.size() != 4) RaiseCorrupt("bad type code '" + std::string(codeText) + "'");
  const int code = ParseNumber<int>(codeText, "type code", 16);
  const auto length = ParseNumber<std::size_t>(TakeField(cursor, "value length"), "value length");
  if (length > cursor.size()) RaiseCorrupt("truncated value");
  const std::string_view payload = cursor.substr(0, length);
  cursor.remove_prefix(length);
  return ParsePayload(code, payload, depth);
}

// The header's version, checked; the size of the header.
std::size_t CheckHeader(std::string_view buffer) {
  if (buffer.substr(0, kMagic.size()) != kMagic) RaiseCorrupt("not a flag buffer");
  const std::size_t semicolon = buffer.find(';', kMagic.size());
  if (semicolon == std::string_view::npos) RaiseCorrupt("truncated header");
  const std::string_view version = buffer.substr(kMagic.size(), semicolon - kMagic.size());
  if (ParseNumber<int>(version, "version") != kVersion)
    RaiseCorrupt("unsupported version " + std::string(version) + " (this library reads version 1)");
  return semicolon + 1;
}

void CheckTrailer(std::string_view buffer, std::size_t headerSize) {
  if (buffer.size() < headerSize + kTrailerSize || buffer[buffer.size() - kTrailerSize] != '#')
    RaiseCorrupt("truncated (no checksum at the end)");
  const std::string_view stored = buffer.substr(buffer.size() - kTrailerSize + 1);
  const auto expected = ParseNumber<uint32_t>(stored, "checksum", 16);
  if (Crc32(buffer.substr(0, buffer.size() - kTrailerSize)) != expected)
    RaiseCorrupt("corrupt (checksum mismatch)");
}

}  // namespace

void ProfileServices::TypedBufferStart(std::string& buffer) const {
  buffer = std::string(kMagic) + NumberText(kVersion) + ";";
}

void ProfileServices::TypedValueWrite(std::string& buffer, const com::Variant& value) const {
  AppendValue(buffer, value, 0);
}

void ProfileServices::TypedBufferFinish(std::string& buffer) const {
  buffer += "#" + Hex(Crc32(buffer), 8);
}

TypedValueReader::TypedValueReader(std::string_view buffer) {
  const std::size_t headerSize = CheckHeader(buffer);
  CheckTrailer(buffer, headerSize);
  body_ = buffer.substr(headerSize, buffer.size() - headerSize - kTrailerSize);
}

std::size_t TypedValueReader::MostValuesLeft() const noexcept {
  return (body_.size() - position_) / kShortestValue;
}

com::Variant TypedValueReader::Read() {
  std::string_view cursor = body_.substr(position_);
  com::Variant value = ReadValue(cursor, 0);
  position_ = body_.size() - cursor.size();
  return value;
}

}  // namespace velmora::support
