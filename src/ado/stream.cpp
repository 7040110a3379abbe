#include "velmora/ado/stream.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>

#include "ado/error_map.hpp"
#include "com/utf.hpp"

namespace velmora::ado {

namespace {

constexpr const char* kStreamSource = "Velmora.ado.Stream";

[[noreturn]] void RaiseStreamError(int32_t number) {
  detail::RaiseAdo(number, kStreamSource);
}

// Text streams keep what is not well-formed UTF-16 as it is: a lone
// surrogate is a character of its own (UTF-8 in the generalized three-byte
// form) and comes back as the same unit.
constexpr auto kKeep = com::detail::LoneSurrogates::Keep;

struct DecodedChar {
  char32_t cp;
  std::size_t length;  // bytes consumed
};

// Raises 3001 when iconv does not know the set.
template <class T>
T KnownCharset(std::optional<T> converted) {
  if (!converted) RaiseStreamError(adErrInvalidArgument);
  return std::move(*converted);
}

// ---- the character sets of text streams ----

bool IsUnicodeCharset(const std::string& charset) {
  return com::detail::EqualsIgnoringAsciiCase(charset, "Unicode");
}

// The byte-order mark a text stream of this set starts with ("" for none).
std::string_view ByteOrderMark(const std::string& charset) {
  if (IsUnicodeCharset(charset)) return "\xFF\xFE";
  if (com::detail::EqualsIgnoringAsciiCase(charset, "utf-8") || com::detail::EqualsIgnoringAsciiCase(charset, "utf8")) return "\xEF\xBB\xBF";
  return {};
}

com::ByteArray EncodeText(std::string_view text, const std::string& charset) {
  return IsUnicodeCharset(charset) ? Utf16leBytesFromString(text) : CharsetBytesFromString(text, charset);
}

// The character at the start of bytes in the set (at least one byte).
DecodedChar NextChar(const uint8_t* data, std::size_t size, const std::string& charset) {
  std::size_t length = 0;
  if (IsUnicodeCharset(charset)) {
    if (size < 2) return {data[0], 1};
    const char32_t cp = com::detail::NextUtf16LeChar(data, size, length, kKeep);
    return {cp, length};
  }
  const char32_t cp = KnownCharset(com::detail::NextCharsetChar(data, size, length, charset));
  return {cp, length};
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
  return com::detail::Utf8ToUtf16Le(text, kKeep);
}

std::string StringFromUtf16leBytes(const uint8_t* data, std::size_t size) {
  return com::detail::Utf16LeToUtf8(data, size, kKeep, com::detail::OddLastByte::Drop);
}

com::ByteArray CharsetBytesFromString(std::string_view text, const std::string& charset) {
  return KnownCharset(com::detail::CharsetBytesFromUtf8(text, charset));
}

std::string StringFromCharsetBytes(const uint8_t* data, std::size_t size, const std::string& charset) {
  return KnownCharset(com::detail::Utf8FromCharsetBytes(data, size, charset));
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
      com::detail::AppendUtf8(line, c.cp);
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
      com::detail::AppendUtf8(text, c.cp);
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
  if (!IsUnicodeCharset(charset) && !com::detail::IsKnownCharset(charset)) RaiseStreamError(adErrInvalidArgument);
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
