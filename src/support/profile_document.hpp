#pragma once
// An INI file held as its lines, so that a change rewrites only the lines it
// touches and keeps every other byte (comments, unknown lines, other
// sections, line ends, the byte-order mark) as it was.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/support/profile_services.hpp"

namespace velmora::support {

class ProfileDocument {
 public:
  ProfileDocument() = default;
  // Parses file contents (never fails: any bytes are an INI file).
  static ProfileDocument Parse(std::string_view bytes);

  // See ProfileServices::ProfileSectionRead.
  std::vector<std::string> SectionEntries(std::string_view section) const;
  // See ProfileServices::ProfileEntriesWrite (names and values are checked
  // by the caller).
  void Write(std::string_view section, const std::vector<ProfileEntry>& entries);
  // The file contents.
  std::string Text() const;

 private:
  enum class LineKind { Blank, Comment, Section, Entry, Bare };
  struct Line {
    std::string raw;  // the line as in the file, without its line end
    std::string eol;  // "\r\n", "\n", "\r" or "" (last line without one)
    LineKind kind = LineKind::Blank;
    std::string name;   // section name, entry name or bare text (trimmed)
    std::string value;  // entry value (trimmed, enclosing quotes removed)
  };
  // The lines of one section: its header at `header`, its body up to `end`.
  struct SectionSpan {
    std::size_t header;
    std::size_t end;
  };

  static Line ParseLine(std::string raw, std::string eol);
  std::optional<SectionSpan> FindSection(std::string_view section) const;
  std::size_t AppendSection(std::string_view section);
  std::size_t InsertionPoint(const SectionSpan& span) const;
  Line MakeEntryLine(const std::string& name, const std::string& value) const;

  std::vector<Line> lines_;
  bool bom_ = false;
  std::string newline_ = "\r\n";  // line end of added lines: the file's first one
};

// Blank characters trimmed around names and values.
bool IsProfileBlank(char c) noexcept;
// True when a value must be written inside double quotes to read back unchanged.
bool ProfileValueNeedsQuotes(std::string_view value) noexcept;

}  // namespace velmora::support
