#include "utf.hpp"

#include <iconv.h>

#include <cerrno>
#include <cstdio>
#include <unordered_map>

#include "velmora/com/error.hpp"

namespace velmora::com::detail {
namespace {
bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }
bool IsSurrogate(char32_t u) { return u >= 0xD800 && u <= 0xDFFF; }
bool IsHighSurrogate(char32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool IsLowSurrogate(char32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

// Calls `put` with the UTF-16 units of UTF-8 text.
template <class PutUnit>
void EncodeUtf16(std::string_view s, LoneSurrogates surrogates, PutUnit put) {
  for (size_t i = 0; i < s.size();) {
    char32_t cp = kReplacementChar;
    if (!NextCodePoint(s, i, cp, surrogates)) cp = kReplacementChar;
    if (cp >= 0x10000) {
      put(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      put(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    } else {
      put(static_cast<char16_t>(cp));
    }
  }
}

// The character at unit `k` of `count` UTF-16 units read by `unitAt`;
// advances `k` past it.
template <class UnitAt>
char32_t DecodeUtf16(UnitAt unitAt, size_t count, size_t& k, LoneSurrogates surrogates) {
  const char32_t u = unitAt(k++);
  if (IsHighSurrogate(u) && k < count && IsLowSurrogate(unitAt(k))) {
    return 0x10000 + ((u - 0xD800) << 10) + (unitAt(k++) - 0xDC00);
  }
  return IsSurrogate(u) && surrogates == LoneSurrogates::Replace ? kReplacementChar : u;
}

auto Utf16LeUnits(const uint8_t* data) {
  return [data](size_t k) { return static_cast<char32_t>(data[2 * k] | (data[2 * k + 1] << 8)); };
}

}  // namespace

bool NextCodePoint(std::string_view s, size_t& i, char32_t& cp, LoneSurrogates surrogates) {
  const auto lead = static_cast<unsigned char>(s[i]);
  int length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
  if (length == 0 || i + static_cast<size_t>(length) > s.size()) {
    ++i;
    return false;
  }
  char32_t value = length == 1 ? lead : lead & (0x7F >> length);
  for (int k = 1; k < length; ++k) {
    const auto c = static_cast<unsigned char>(s[i + static_cast<size_t>(k)]);
    if (!IsContinuation(c)) {
      ++i;
      return false;
    }
    value = (value << 6) | (c & 0x3F);
  }
  static constexpr char32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
  if (value < kMinimum[length] || value > 0x10FFFF || (IsSurrogate(value) && surrogates == LoneSurrogates::Replace)) {
    ++i;
    return false;
  }
  i += static_cast<size_t>(length);
  cp = value;
  return true;
}

size_t OffsetAfterChars(std::string_view s, size_t start, int64_t count) {
  size_t end = start;
  for (int64_t n = 0; n < count && end < s.size(); ++n) {
    do ++end;
    while (end < s.size() && IsContinuation(static_cast<unsigned char>(s[end])));
  }
  return end;
}

size_t FirstMalformedUtf8(std::string_view s) {
  for (size_t i = 0; i < s.size();) {
    const size_t start = i;
    char32_t cp = 0;
    if (!NextCodePoint(s, i, cp)) return start;
  }
  return std::string_view::npos;
}

bool IsValidUtf8(std::string_view s) { return FirstMalformedUtf8(s) == std::string_view::npos; }

void RequireEngineText(std::string_view text, const std::string& what) {
  const size_t bad = FirstMalformedUtf8(text);
  if (bad != std::string_view::npos) {
    char byte[8];
    std::snprintf(byte, sizeof byte, "0x%02X", static_cast<unsigned>(static_cast<unsigned char>(text[bad])));
    Raise(errInvalidProcedureCall,
          what + " is not valid UTF-8 (byte " + byte + " at offset " + std::to_string(bad) + ")");
  }
  const size_t nul = text.find('\0');
  if (nul != std::string_view::npos) {
    Raise(errInvalidProcedureCall, what + " holds a NUL character (at offset " + std::to_string(nul) +
                                       "), which the engine would cut");
  }
}

void AppendUtf8(std::string& out, char32_t cp) {
  auto put = [&out](char32_t bits) { out.push_back(static_cast<char>(bits)); };
  if (cp < 0x80) {
    put(cp);
  } else if (cp < 0x800) {
    put(0xC0 | (cp >> 6));
    put(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    put(0xE0 | (cp >> 12));
    put(0x80 | ((cp >> 6) & 0x3F));
    put(0x80 | (cp & 0x3F));
  } else {
    put(0xF0 | (cp >> 18));
    put(0x80 | ((cp >> 12) & 0x3F));
    put(0x80 | ((cp >> 6) & 0x3F));
    put(0x80 | (cp & 0x3F));
  }
}

std::u16string Utf8ToUtf16(std::string_view s, LoneSurrogates surrogates) {
  std::u16string out;
  out.reserve(s.size());
  EncodeUtf16(s, surrogates, [&out](char16_t u) { out.push_back(u); });
  return out;
}

std::vector<uint8_t> Utf8ToUtf16Le(std::string_view s, LoneSurrogates surrogates) {
  std::vector<uint8_t> out;
  out.reserve(s.size() * 2);
  EncodeUtf16(s, surrogates, [&out](char16_t u) {
    out.push_back(static_cast<uint8_t>(u & 0xFF));
    out.push_back(static_cast<uint8_t>(u >> 8));
  });
  return out;
}

void AppendUtf8FromUtf16(std::string& out, std::u16string_view units, LoneSurrogates surrogates) {
  auto unitAt = [units](size_t k) { return static_cast<char32_t>(units[k]); };
  for (size_t k = 0; k < units.size();) AppendUtf8(out, DecodeUtf16(unitAt, units.size(), k, surrogates));
}

std::string Utf16LeToUtf8(const uint8_t* data, size_t size, LoneSurrogates surrogates, OddLastByte oddByte) {
  std::string out;
  out.reserve(size);
  const size_t units = size / 2;
  for (size_t k = 0; k < units;) AppendUtf8(out, DecodeUtf16(Utf16LeUnits(data), units, k, surrogates));
  if (size % 2 != 0 && oddByte == OddLastByte::Replace) AppendUtf8(out, kReplacementChar);
  return out;
}

char32_t NextUtf16LeChar(const uint8_t* data, size_t size, size_t& offset, LoneSurrogates surrogates) {
  size_t k = offset / 2;
  const char32_t cp = DecodeUtf16(Utf16LeUnits(data), size / 2, k, surrogates);
  offset = 2 * k;
  return cp;
}

// ---- other character sets, through iconv ----

namespace {

// Conversion descriptors, opened once per thread and pair of sets (opening
// one loads the conversion tables, which is far dearer than converting).
class IconvCache {
 public:
  ~IconvCache() {
    for (auto& entry : table_) iconv_close(entry.second);
  }
  // The descriptor from `from` to `to`, reset to its initial state; nullopt
  // when iconv does not know a set.
  std::optional<iconv_t> Get(const std::string& to, const std::string& from) {
    const std::string key = to + '\n' + from;
    auto it = table_.find(key);
    if (it == table_.end()) {
      iconv_t cd = iconv_open(to.c_str(), from.c_str());
      if (cd == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
      it = table_.emplace(key, cd).first;
    }
    iconv(it->second, nullptr, nullptr, nullptr, nullptr);
    return it->second;
  }

 private:
  std::unordered_map<std::string, iconv_t> table_;
};

std::optional<iconv_t> Converter(const std::string& to, const std::string& from) {
  thread_local IconvCache cache;
  return cache.Get(to, from);
}

// Runs `cd` over the whole input into `out`. When a piece of input cannot be
// converted, `fallback(in, left)` appends its replacement to `out` and
// returns how many input bytes it stands for.
template <class Out, class Fallback>
void ConvertAll(iconv_t cd, const char* in, size_t size, Out& out, Fallback fallback) {
  char buffer[4096];
  auto* input = const_cast<char*>(in);  // iconv's signature; the input is not written
  size_t left = size;
  while (left > 0) {
    char* output = buffer;
    size_t room = sizeof buffer;
    const size_t result = iconv(cd, &input, &left, &output, &room);
    out.insert(out.end(), buffer, output);
    if (result == static_cast<size_t>(-1) && errno != E2BIG) {
      const size_t skipped = fallback(input, left);
      input += skipped;
      left -= skipped;
      iconv(cd, nullptr, nullptr, nullptr, nullptr);
    }
  }
}

}  // namespace

bool IsKnownCharset(const std::string& charset) { return Converter("UTF-8", charset).has_value(); }

std::optional<std::vector<uint8_t>> CharsetBytesFromUtf8(std::string_view text, const std::string& charset) {
  const auto cd = Converter(charset, "UTF-8");
  if (!cd) return std::nullopt;
  std::vector<uint8_t> out;
  out.reserve(text.size());
  ConvertAll(*cd, text.data(), text.size(), out, [&out](const char* in, size_t left) {
    size_t length = 0;
    char32_t cp = kReplacementChar;
    if (!NextCodePoint(std::string_view(in, left), length, cp, LoneSurrogates::Keep)) cp = kReplacementChar;
    out.push_back(cp >= 0x80 && cp <= 0x9F ? static_cast<uint8_t>(cp) : uint8_t{'?'});
    return length;
  });
  return out;
}

std::optional<std::string> Utf8FromCharsetBytes(const uint8_t* data, size_t size, const std::string& charset) {
  const auto cd = Converter("UTF-8", charset);
  if (!cd) return std::nullopt;
  std::string out;
  out.reserve(size);
  ConvertAll(*cd, reinterpret_cast<const char*>(data), size, out, [&out](const char* in, size_t) {
    AppendUtf8(out, static_cast<unsigned char>(*in));
    return size_t{1};
  });
  return out;
}

std::optional<char32_t> NextCharsetChar(const uint8_t* data, size_t size, size_t& offset,
                                        const std::string& charset) {
  const auto cd = Converter("UTF-32LE", charset);
  if (!cd) return std::nullopt;
  // One character at a time: an output room of one UTF-32 unit makes iconv
  // stop after the first character and tell how much input it took.
  auto* input = reinterpret_cast<char*>(const_cast<uint8_t*>(data + offset));
  size_t left = size - offset;
  uint8_t unit[4];
  auto* output = reinterpret_cast<char*>(unit);
  size_t room = sizeof unit;
  iconv(*cd, &input, &left, &output, &room);
  if (room != 0) return data[offset++];  // not convertible: the byte's own value
  offset = size - left;
  return static_cast<char32_t>(unit[0] | (unit[1] << 8) | (unit[2] << 16) | (unit[3] << 24));
}

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
  });
}

bool ContainsIgnoringAsciiCase(std::string_view text, std::string_view part) {
  for (size_t i = 0; i + part.size() <= text.size(); ++i) {
    if (EqualsIgnoringAsciiCase(text.substr(i, part.size()), part)) return true;
  }
  return false;
}

}  // namespace velmora::com::detail
