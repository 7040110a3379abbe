#pragma once
// Stream: an in-memory sequence of bytes with a current position, read and
// written either as bytes (Type 1) or as text in a character set (Type 2).
//
// Position and Size count bytes. Writing a string to a binary stream writes
// its UTF-16LE bytes, and Read gives bytes that a caller may take as a string
// of two bytes a character (StringFromUtf16leBytes), so that text moved
// through a binary stream comes back unchanged.
//
// Errors (com::Error): 3704 when the stream is closed, 3705 when Open is
// called on an open stream, 3219 when an operation does not fit the stream's
// type, 3001 for a bad argument, 3251 for an open with a source (only empty
// streams are supported).
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "velmora/ado/types.hpp"
#include "velmora/com/object.hpp"
#include "velmora/com/variant.hpp"

namespace velmora::ado {

// StreamWriteEnum (the other Stream enumerations are in types.hpp).
inline constexpr int32_t adWriteChar = 0;
inline constexpr int32_t adWriteLine = 1;

class Stream : public com::Object {
 public:
  Stream();
  ~Stream() override;

  // Opens an empty stream (no source). Mode and Options are accepted and kept
  // for reading back through Mode(); a Source raises 3251.
  void Open(const com::Variant& source = com::Missing, int32_t mode = 0,
            int32_t options = adOpenStreamUnspecified, const std::string& userName = {},
            const std::string& password = {});
  // Discards the content; the stream can be opened again.
  void Close();
  // 0 closed, 1 open.
  int32_t State() const noexcept;

  // 1 binary, 2 text (the default). Settable while Position is 0.
  int32_t Type() const noexcept;
  void Type(int32_t type);
  // Character set of the text operations ("Unicode" by default: UTF-16LE
  // with a byte-order mark). Any name iconv knows is accepted ("utf-8",
  // "windows-1252", "iso-8859-1", "us-ascii"...). Settable while Position is 0.
  const std::string& Charset() const noexcept;
  void Charset(const std::string& charset);
  // Line separator of adWriteLine and adReadLine: adCRLF (default), adLF, adCR.
  int32_t LineSeparator() const noexcept;
  void LineSeparator(int32_t separator);
  int32_t Mode() const noexcept;

  // Size and position in bytes. A position beyond the end extends the stream
  // with zero bytes.
  int64_t Size() const;
  int64_t Position() const;
  void Position(int64_t position);
  // True when the position is at the end.
  bool IsEOS() const;
  // Cuts the stream at the current position.
  void SetEOS();

  // Binary streams: reads up to numBytes bytes (adReadAll: the rest) as a
  // byte array; Null when no byte is left.
  com::Variant Read(int32_t numBytes = adReadAll);
  // Binary streams: writes a byte array, or the UTF-16LE bytes of a string,
  // at the position (overwriting, then extending). Other values raise 3001.
  void Write(const com::Variant& buffer);

  // Text streams: reads numChars characters (adReadAll: the rest; adReadLine:
  // up to the line separator, which is consumed and not returned).
  std::string ReadText(int32_t numChars = adReadAll);
  // Text streams: writes the text in the stream's character set, followed by
  // the line separator with adWriteLine. The first write at the start of an
  // empty stream writes the byte-order mark of "Unicode" and "utf-8".
  void WriteText(const std::string& data, int32_t options = adWriteChar);

 private:
  struct Impl;
  Impl& OpenImpl() const;
  std::unique_ptr<Impl> impl_;
};

using StreamPtr = std::shared_ptr<Stream>;

// The UTF-16LE bytes of a UTF-8 string. Code points that UTF-8 cannot carry
// on their own (lone surrogates, written in the generalized 3-byte form by
// StringFromUtf16leBytes) come back as the same 16-bit units.
com::ByteArray Utf16leBytesFromString(std::string_view text);
// A string made from bytes taken two a character (UTF-16LE), as UTF-8. A
// lone surrogate is kept in the generalized 3-byte form so that no unit is
// lost; an odd last byte does not make a character and is dropped.
std::string StringFromUtf16leBytes(const uint8_t* data, std::size_t size);
inline std::string StringFromUtf16leBytes(const com::ByteArray& bytes) {
  return StringFromUtf16leBytes(bytes.data(), bytes.size());
}

// Text in a character set named as iconv names it ("windows-1252",
// "utf-8"...; not "Unicode", which is the UTF-16LE pair above), without a
// byte-order mark. Both directions keep every byte of a single-byte set: a
// byte that cannot be read in the set (those Windows-1252 leaves undefined,
// 0x81, 0x8D, 0x8F, 0x90, 0x9D) stands for the code point of the same value,
// as the Windows code pages do, and U+0080-U+009F are written back as that
// byte. Any other character the set cannot hold is written as "?". An
// unknown set raises 3001.
com::ByteArray CharsetBytesFromString(std::string_view text, const std::string& charset);
std::string StringFromCharsetBytes(const uint8_t* data, std::size_t size, const std::string& charset);

}  // namespace velmora::ado
