#pragma once
// Field value access: the library's only way of moving a value between a
// variant and a Field.
//
// Reads are Null-free (a Null becomes the neutral value of the wanted type),
// writes are tolerant (text is cut to the column's size, a text that is not a
// date stores the date 0, neutral values can be stored as Null), and long
// text and binary columns (attribute adFldLong) go through a byte path:
//  - AnsiBlob True: the column holds text as single bytes of the ANSI code
//    page (Windows-1252);
//  - AnsiBlob False: it holds the UTF-16LE bytes of the text, two a character.
// Both sides must use the same setting: text written with one and read with
// the other comes back with half (or twice) its length.
//
// None of these routines traps errors: a failure of the data-access layer
// (unknown field, rejected value, read-only field) reaches the caller
// unchanged.
#include <cstdint>
#include <memory>
#include <string>

#include "velmora/com/variant.hpp"

namespace velmora::ado {
class Field;
class Fields;
}  // namespace velmora::ado

namespace velmora {

// Flags of FieldGet, FieldRead and FieldWrite.
enum FieldReadWriteFlags : int32_t {
  FLDRW_ONLYIFEXISTS = 1,  // a missing field is tolerated
};

// Writes a value. Null is stored as Null; a long column takes the value
// through StringToBlob; a date column stores the value as a date, or the
// 16-bit integer 0 when it cannot be read as one; a text column stores the
// leftmost DefinedSize characters. With DefaultToNull, "" into text, 0 into
// a number and False into a boolean store Null (dates never do).
void FieldValueSet2(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value, bool AnsiBlob,
                    bool DefaultToNull);
// FieldValueSet2 with DefaultToNull False.
void FieldValueSet(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value, bool AnsiBlob);

// Reads a value. A long column reads through BlobToString (a string, "" when
// empty or Null). A Null gives FieldDefaultValue(vType); when vType is 0 it is
// first set to the field's own variant type, and written back. A value that
// is not Null is returned as the field gives it (vType does not coerce it).
com::Variant FieldValueGet(const std::shared_ptr<ado::Field>& Field, int16_t& vType, bool AnsiBlob);

// Stores Null in a nullable field, else the neutral value of its type.
void FieldDefaultSet(const std::shared_ptr<ado::Field>& Field);

// Reads field Key into Value. The type of the neutral value for a Null is
// the type Value holds on entry. A missing field with FLDRW_ONLYIFEXISTS
// gives that neutral value; without it, the lookup's error is raised.
void FieldGet(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key, com::Variant& Value,
              int32_t Flags = FLDRW_ONLYIFEXISTS);
// As FieldGet, with the wanted type given as vType (written back when the
// field is Null and vType is 0) and the value returned.
com::Variant FieldRead(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key, int16_t& vType,
                       int32_t Flags = FLDRW_ONLYIFEXISTS);
// Writes field Key (DefaultToNull False, AnsiBlob False). A missing field
// with FLDRW_ONLYIFEXISTS is skipped silently; without it, the lookup's
// error is raised.
void FieldWrite(const std::shared_ptr<ado::Fields>& Fields, const std::string& Key, const com::Variant& Value,
                int32_t Flags = FLDRW_ONLYIFEXISTS);

// Writes a long column in one chunk (see BlobChunkOf).
void StringToBlob(const std::shared_ptr<ado::Field>& Field, const com::Variant& Value, bool AnsiBlob = true);
// Reads a long column as text ("" when its actual size is 0; see BlobTextOf).
std::string BlobToString(const std::shared_ptr<ado::Field>& Field, bool AnsiBlob = true);

// The chunk StringToBlob appends: a non-empty string with AnsiBlob becomes
// its ANSI bytes; anything else goes as given (a string with AnsiBlob False
// as UTF-16 text, a byte array as bytes, "" as an empty chunk).
com::Variant BlobChunkOf(const com::Variant& Value, bool AnsiBlob);
// The text BlobToString makes of a long column's bytes: with AnsiBlob each
// byte is one ANSI character, otherwise every two bytes are one UTF-16LE unit.
std::string BlobTextOf(const com::ByteArray& Bytes, bool AnsiBlob);

}  // namespace velmora
