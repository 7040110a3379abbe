#include "velmora/ado/stream.hpp"

#include <iconv.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "ado/error_map.hpp"

namespace velmora::ado {

namespace {

constexpr const char* kStreamSource = "Velmora.ado.Stream";

[[noreturn]] void RaiseStreamError(int32_t number) {
  detail::RaiseAdo(number, kStreamSource);
}

// ---- UTF-8 (generalized: lone surrogates are kept in their 3-byte form) ----

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

struct DecodedChar {
  char32_t cp;
  std::size_t length;  // bytes consumed
};

// The code point at the start of `text` (which is not empty); an invalid or
// cut sequence gives U+FFFD for its first byte.
DecodedChar NextUtf8(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return {lead, 1};
  std::size_t length = 0;
  char32_t cp = 0;
  char32_t minimum = 0;
  if ((lead & 0xE0) == 0xC0) {
    length = 2;
    cp = lead & 0x1F;
    minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    cp = lead & 0x0F;
    minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    cp = lead & 0x07;
    minimum = 0x10000;
  } else {
    return {kReplacement, 1};
  }
  if (text.size() < length) return {kReplacement, 1};
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0) != 0x80) return {kReplacement, 1};
    cp = (cp << 6) | (next & 0x3F);
  }
  if (cp < minimum || cp > 0x10FFFF) return {kReplacement, 1};
  return {cp, length};
}

void AppendUtf16Unit(com::ByteArray& out, char32_t unit) {
  out.push_back(static_cast<uint8_t>(unit & 0xFF));
  out.push_back(static_cast<uint8_t>(unit >> 8));
}

bool IsHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

char32_t Utf16UnitAt(const uint8_t* data, std::size_t offset) {
  return static_cast<char32_t>(data[offset] | (data[offset + 1] << 8));
}

// The character at the start of UTF-16LE bytes (at least two of them); a
// lone surrogate is a character of its own.
DecodedChar NextUtf16(const uint8_t* data, std::size_t size) {
  const char32_t unit = Utf16UnitAt(data, 0);
  if (IsHighSurrogate(unit) && size >= 4) {
    const char32_t low = Utf16UnitAt(data, 2);
    if (IsLowSurrogate(low)) return {0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00), 4};
  }
  return {unit, 2};
}

// ---- iconv ----

// Conversion descriptors, opened once per thread and pair of sets (opening
// one loads the conversion tables, which is far dearer than converting).
class IconvCache {
 public:
  ~IconvCache() {
    for (auto& entry : table_) iconv_close(entry.second);
  }
  // The descriptor from `from` to `to`, reset to its initial state; raises
  // 3001 when iconv does not know a set.
  iconv_t Get(const std::string& to, const std::string& from) {
    const std::string key = to + '\n' + from;
    auto it = table_.find(key);
    if (it == table_.end()) {
      iconv_t cd = iconv_open(to.c_str(), from.c_str());
      if (cd == reinterpret_cast<iconv_t>(-1)) RaiseStreamError(adErrInvalidArgument);
      it = table_.emplace(key, cd).first;
    }
    iconv(it->second, nullptr, nullptr, nullptr, nullptr);
    return it->second;
  }

 private:
  std::unordered_map<std::string, iconv_t> table_;
};

iconv_t Converter(const std::string& to, const std::string& from) {
  thread_local IconvCache cache;
  return cache.Get(to, from);
}

// Runs `cd` over the whole input into `out`. When a piece of input cannot be
// converted, `fallback(in, left)` appends its replacement to `out` and
// returns how many input bytes it stands for.
template <class Out, class Fallback>
void ConvertAll(iconv_t cd, const char* in, std::size_t size, Out& out, Fallback fallback) {
  char buffer[4096];
  auto* input = const_cast<char*>(in);  // iconv's signature; the input is not written
  std::size_t left = size;
  while (left > 0) {
    char* output = buffer;
    std::size_t room = sizeof buffer;
    const std::size_t result = iconv(cd, &input, &left, &output, &room);
    out.insert(out.end(), buffer, output);
    if (result == static_cast<std::size_t>(-1) && errno != E2BIG) {
      const std::size_t skipped = fallback(input, left);
      input += skipped;
      left -= skipped;
      iconv(cd, nullptr, nullptr, nullptr, nullptr);
    }
  }
}

// ---- the character sets of text streams ----

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
         });
}

bool IsUnicodeCharset(const std::string& charset) {
  return EqualsIgnoringCase(charset, "Unicode");
}

// The byte-order mark a text stream of this set starts with ("" for none).
std::string_view ByteOrderMark(const std::string& charset) {
  if (IsUnicodeCharset(charset)) return "\xFF\xFE";
  if (EqualsIgnoringCase(charset, "utf-8") || EqualsIgnoringCase(charset, "utf8")) return "\xEF\xBB\xBF";
  return {};
}

com::ByteArray EncodeText(std::string_view text, const std::string& charset) {
  return IsUnicodeCharset(charset) ? Utf16leBytesFromString(text) : CharsetBytesFromString(text, charset);
}

// The character at the start of bytes in the set (at least one byte).
DecodedChar NextChar(const uint8_t* data, std::size_t size, const std::string& charset) {
  if (IsUnicodeCharset(charset)) {
    if (size >= 2) return NextUtf16(data, size);
    return {data[0], 1};
  }
  // One character at a time: an output room of one UTF-32 unit makes iconv
  // stop after the first character and tell how much input it took.
  iconv_t cd = Converter("UTF-32LE", charset);
  auto* input = reinterpret_cast<char*>(const_cast<uint8_t*>(data));
  std::size_t left = size;
  uint8_t unit[4];
  auto* output = reinterpret_cast<char*>(unit);
  std::size_t room = sizeof unit;
  iconv(cd, &input, &left, &output, &room);
  if (room != 0) return {data[0], 1};  // not convertible: the byte's own value
  const char32_t cp = static_cast<char32_t>(unit[0] | (unit[1] << 8) | (unit[2] << 16) | (unit[3] << 24));
  return {cp, size - left};
}

std::string DecodeText(const uint8_t* data, std::size_t size, const std::string& charset) {
  return IsUnicodeCharset(charset) ? StringFromUtf16leBytes(data, size)
                                   : StringFromCharsetBytes(data, size, charset);
}

// The line separator as text.
std::string_view SeparatorText(int32_t separator) {
  switch (separator) {
    case adLF:
      return "\n";
    case adCR:
      return "\r";
    default:
      return "\r\n";
  }
}

}  // namespace

// ---- public text conversions ----

com::ByteArray Utf16leBytesFromString(std::string_view text) {
  com::ByteArray out;
  out.reserve(text.size() * 2);
  while (!text.empty()) {
    const DecodedChar c = NextUtf8(text);
    text.remove_prefix(c.length);
    if (c.cp >= 0x10000) {
      AppendUtf16Unit(out, 0xD800 + ((c.cp - 0x10000) >> 10));
      AppendUtf16Unit(out, 0xDC00 + ((c.cp - 0x10000) & 0x3FF));
    } else {
      AppendUtf16Unit(out, c.cp);
    }
  }
  return out;
}

std::string StringFromUtf16leBytes(const uint8_t* data, std::size_t size) {
  std::string out;
  out.reserve(size);
  std::size_t offset = 0;
  while (offset + 2 <= size) {
    const DecodedChar c = NextUtf16(data + offset, size - offset);
    AppendUtf8(out, c.cp);
    offset += c.length;
  }
  return out;
}

com::ByteArray CharsetBytesFromString(std::string_view text, const std::string& charset) {
  com::ByteArray out;
  out.reserve(text.size());
  ConvertAll(Converter(charset, "UTF-8"), text.data(), text.size(), out,
             [&out](const char* in, std::size_t left) {
               const DecodedChar c = NextUtf8(std::string_view(in, left));
               out.push_back(c.cp >= 0x80 && c.cp <= 0x9F ? static_cast<uint8_t>(c.cp) : uint8_t{'?'});
               return c.length;
             });
  return out;
}

std::string StringFromCharsetBytes(const uint8_t* data, std::size_t size, const std::string& charset) {
  std::string out;
  out.reserve(size);
  ConvertAll(Converter("UTF-8", charset), reinterpret_cast<const char*>(data), size, out,
             [&out](const char* in, std::size_t) {
               AppendUtf8(out, static_cast<unsigned char>(*in));
               return std::size_t{1};
             });
  return out;
}

// ---- Stream ----

struct Stream::Impl {
  bool open = false;
  int32_t type = adTypeText;
  std::string charset = "Unicode";
  int32_t lineSeparator = adCRLF;
  int32_t mode = 0;
  com::ByteArray bytes;
  std::size_t position = 0;

  // Writes at the position, overwriting and then extending; the position
  // moves past the bytes written.
  void WriteBytes(const uint8_t* data, std::size_t size) {
    const std::size_t end = position + size;
    if (end > bytes.size()) bytes.resize(end);
    std::copy(data, data + size, bytes.begin() + static_cast<std::ptrdiff_t>(position));
    position = end;
  }
  std::size_t Left() const { return bytes.size() - position; }
  const uint8_t* Here() const { return bytes.data() + position; }

  void RequireType(int32_t wanted) const {
    if (type != wanted) RaiseStreamError(adErrIllegalOperation);
  }
  // Settings that change how the content is read are fixed once the
  // position has left the start.
  void RequireAtStart() const {
    if (open && position != 0) RaiseStreamError(adErrIllegalOperation);
  }
  void SkipByteOrderMark() {
    const std::string_view mark = ByteOrderMark(charset);
    if (position == 0 && !mark.empty() && bytes.size() >= mark.size() &&
        std::memcmp(bytes.data(), mark.data(), mark.size()) == 0) {
      position = mark.size();
    }
  }
  std::string ReadLine() {
    const std::string_view separator = SeparatorText(lineSeparator);
    std::string line;
    while (Left() > 0) {
      const DecodedChar c = NextChar(Here(), Left(), charset);
      position += c.length;
      AppendUtf8(line, c.cp);
      if (line.size() >= separator.size() && line.ends_with(separator)) {
        line.resize(line.size() - separator.size());
        break;
      }
    }
    return line;
  }
  std::string ReadChars(int32_t count) {
    std::string text;
    for (int32_t i = 0; i < count && Left() > 0; ++i) {
      const DecodedChar c = NextChar(Here(), Left(), charset);
      position += c.length;
      AppendUtf8(text, c.cp);
    }
    return text;
  }
};

Stream::Stream() : impl_(std::make_unique<Impl>()) {}
Stream::~Stream() = default;

Stream::Impl& Stream::OpenImpl() const {
  if (!impl_->open) RaiseStreamError(adErrObjectClosed);
  return *impl_;
}

void Stream::Open(const com::Variant& source, int32_t mode, int32_t options, const std::string&,
                  const std::string&) {
  if (impl_->open) RaiseStreamError(adErrObjectOpen);
  if (!source.IsMissing() && !source.IsEmpty()) RaiseStreamError(adErrFeatureNotAvailable);
  static_cast<void>(options);  // only an empty stream can be opened: no option applies
  impl_->open = true;
  impl_->mode = mode;
  impl_->bytes.clear();
  impl_->position = 0;
}

void Stream::Close() {
  Impl& s = OpenImpl();
  s.open = false;
  s.bytes = com::ByteArray();
  s.position = 0;
}

int32_t Stream::State() const noexcept {
  return impl_->open ? 1 : 0;
}

int32_t Stream::Type() const noexcept {
  return impl_->type;
}
void Stream::Type(int32_t type) {
  if (type != adTypeBinary && type != adTypeText) RaiseStreamError(adErrInvalidArgument);
  impl_->RequireAtStart();
  impl_->type = type;
}

const std::string& Stream::Charset() const noexcept {
  return impl_->charset;
}
void Stream::Charset(const std::string& charset) {
  impl_->RequireAtStart();
  if (!IsUnicodeCharset(charset)) Converter("UTF-8", charset);  // raises 3001 for an unknown set
  impl_->charset = charset;
}

int32_t Stream::LineSeparator() const noexcept {
  return impl_->lineSeparator;
}
void Stream::LineSeparator(int32_t separator) {
  if (separator != adCRLF && separator != adLF && separator != adCR) RaiseStreamError(adErrInvalidArgument);
  impl_->lineSeparator = separator;
}

int32_t Stream::Mode() const noexcept {
  return impl_->mode;
}

int64_t Stream::Size() const {
  return static_cast<int64_t>(OpenImpl().bytes.size());
}
int64_t Stream::Position() const {
  return static_cast<int64_t>(OpenImpl().position);
}
void Stream::Position(int64_t position) {
  Impl& s = OpenImpl();
  if (position < 0) RaiseStreamError(adErrInvalidArgument);
  const auto target = static_cast<std::size_t>(position);
  if (target > s.bytes.size()) s.bytes.resize(target);
  s.position = target;
}
bool Stream::IsEOS() const {
  const Impl& s = OpenImpl();
  return s.position >= s.bytes.size();
}
void Stream::SetEOS() {
  Impl& s = OpenImpl();
  s.bytes.resize(s.position);
}

com::Variant Stream::Read(int32_t numBytes) {
  Impl& s = OpenImpl();
  s.RequireType(adTypeBinary);
  if (numBytes < adReadAll) RaiseStreamError(adErrInvalidArgument);
  const std::size_t count = numBytes == adReadAll ? s.Left() : std::min<std::size_t>(s.Left(), numBytes);
  if (count == 0) return com::Null;
  com::ByteArray out(s.Here(), s.Here() + count);
  s.position += count;
  return out;
}

void Stream::Write(const com::Variant& buffer) {
  Impl& s = OpenImpl();
  s.RequireType(adTypeBinary);
  if (const auto* bytes = buffer.TryGet<com::ByteArray>()) {
    s.WriteBytes(bytes->data(), bytes->size());
  } else if (const auto* text = buffer.TryGet<std::string>()) {
    const com::ByteArray units = Utf16leBytesFromString(*text);
    s.WriteBytes(units.data(), units.size());
  } else {
    RaiseStreamError(adErrInvalidArgument);
  }
}

std::string Stream::ReadText(int32_t numChars) {
  Impl& s = OpenImpl();
  s.RequireType(adTypeText);
  if (numChars < adReadLine) RaiseStreamError(adErrInvalidArgument);
  s.SkipByteOrderMark();
  if (numChars == adReadLine) return s.ReadLine();
  if (numChars != adReadAll) return s.ReadChars(numChars);
  std::string text = DecodeText(s.Here(), s.Left(), s.charset);
  s.position = s.bytes.size();
  return text;
}

void Stream::WriteText(const std::string& data, int32_t options) {
  Impl& s = OpenImpl();
  s.RequireType(adTypeText);
  if (options != adWriteChar && options != adWriteLine) RaiseStreamError(adErrInvalidArgument);
  if (s.position == 0 && s.bytes.empty()) {
    const std::string_view mark = ByteOrderMark(s.charset);
    s.WriteBytes(reinterpret_cast<const uint8_t*>(mark.data()), mark.size());
  }
  const com::ByteArray encoded = EncodeText(
      options == adWriteLine ? data + std::string(SeparatorText(s.lineSeparator)) : data, s.charset);
  s.WriteBytes(encoded.data(), encoded.size());
}

}  // namespace velmora::ado
