// The byte conversions of long columns, shared by StringToBlob and
// BlobToString.
#include "com/utf.hpp"
#include "velmora/fields/field_access.hpp"
#include "velmora/support/support_object.hpp"

namespace velmora {

com::Variant BlobChunkOf(const com::Variant& Value, bool AnsiBlob) {
  const auto* text = Value.TryGet<std::string>();
  if (AnsiBlob && text && !text->empty()) return Support().AnsiBytesFromString(*text);
  return Value;
}

std::string BlobTextOf(const com::ByteArray& Bytes, bool AnsiBlob) {
  // Taking the bytes as a string keeps every byte (an odd last one too), so
  // the ANSI path converts all of them; the UTF-16 path has no use for an
  // odd last byte.
  if (AnsiBlob) return Support().StringFromAnsiBytes(Bytes);
  return com::detail::Utf16LeToUtf8(Bytes.data(), Bytes.size(), com::detail::LoneSurrogates::Keep,
                                    com::detail::OddLastByte::Drop);
}

}  // namespace velmora
