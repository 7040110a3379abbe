#pragma once
// Profile services of SupportObject: the INI file reader and writer, the
// control-character test and the reversible encoding of strings that hold
// control characters, and the typed-value writer and reader of the flag
// buffer format (AdoFlags::Serialize / Deserialize).
//
// INI files follow the classic profile-file rules: "[section]" headers, one
// name=value entry a line, section and entry names compared without regard
// to case, blanks around names and values ignored, lines starting with ';'
// are comments; CRLF, LF and CR line ends and UTF-8 with or without a BOM
// are read. A write keeps every other line of the file as it was, replaces
// an entry of the same name (any case) in place, adds new entries at the end
// of their section and new sections at the end of the file. Beyond the
// classic rules, a write is atomic (a temporary file renamed over the old
// one) and serialized between processes by an exclusive lock on a lock file
// beside the INI file ("<file>.lock"), so concurrent writers of different
// entries lose none of them.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/com/variant.hpp"

namespace velmora::support {

struct ProfileEntry {
  std::string name;
  std::string value;
};

// Reads the values of a flag buffer one after another. The constructor
// checks the header, the version and the checksum of the whole buffer, so a
// truncated or corrupt buffer is rejected before any value is read. The
// buffer must outlive the reader.
class TypedValueReader {
 public:
  explicit TypedValueReader(std::string_view buffer);
  // The next value; raises 20000 when there is none or it is malformed.
  com::Variant Read();
  // True when every value has been read.
  bool AtEnd() const noexcept { return position_ == body_.size(); }
  // The most values the unread part can still hold (the shortest value,
  // "0000:0:", takes 7 bytes): a stored count above it is corrupt.
  std::size_t MostValuesLeft() const noexcept;

 private:
  std::string_view body_;
  std::size_t position_ = 0;
};

class ProfileServices {
 public:
  // --- INI files ---------------------------------------------------------
  // The entries of the first section named `section` (any case), in file
  // order, as "name=value" strings; a line of the section without "=" is
  // returned as it is (trimmed). Comments and blank lines are left out.
  // Names and values are trimmed, and one pair of double quotes enclosing a
  // whole value is removed. A missing file or section gives an empty list;
  // a file that exists but cannot be read raises a file error
  // (support/file_errors.hpp: 70 no permission, 75 a folder or another
  // failure).
  std::vector<std::string> ProfileSectionRead(const std::string& iniFile, const std::string& section) const;
  // Writes `entries` into section `section` of `iniFile` in one locked,
  // atomic read-modify-write, creating the file and the section when they
  // are missing. An entry whose name exists in the section (any case)
  // replaces the value of the first such line, keeping that line's name;
  // later lines of the same name are removed. A value with blanks at either
  // end, or enclosed in double quotes, is written inside double quotes so
  // that it reads back unchanged. Names or values that cannot be stored on
  // one line raise 5; a file that cannot be written raises a file error
  // (76 a folder of the path is missing, 70 no permission, 75 the path is a
  // folder or another failure) and leaves the old file as it was.
  void ProfileEntriesWrite(const std::string& iniFile, const std::string& section,
                           const std::vector<ProfileEntry>& entries) const;

  // --- Control characters ----------------------------------------------
  // True when `text` contains any of the characters of `charSet` (both
  // UTF-8; characters are compared as whole code points).
  bool StringHasAnyChar(std::string_view text, std::string_view charSet) const;
  // The reversible one-line form of a string holding control characters:
  // its UTF-8 bytes as upper-case hexadecimal, two digits a byte.
  std::string ControlStringEncode(std::string_view text) const;
  // The string back from ControlStringEncode's form; raises 20000 "bad data
  // type" for an odd number of digits or a character that is not a hex digit.
  std::string ControlStringDecode(std::string_view encoded) const;

  // --- Typed values (flag buffer format, see docs/flags.md) --------------
  // Sets `buffer` to the header of an empty flag buffer.
  void TypedBufferStart(std::string& buffer) const;
  // Appends `value` with its type. Every variant type but objects is
  // supported (arrays too); an object raises 20000 "bad data type".
  void TypedValueWrite(std::string& buffer, const com::Variant& value) const;
  // Appends the checksum trailer that completes the buffer.
  void TypedBufferFinish(std::string& buffer) const;
  // A reader of a completed buffer (see TypedValueReader).
  TypedValueReader TypedValueReaderOpen(std::string_view buffer) const { return TypedValueReader(buffer); }
};

}  // namespace velmora::support
