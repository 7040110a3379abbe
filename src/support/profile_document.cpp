// INI file contents as lines: parsing, section reading and entry writing.
#include "support/profile_document.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>

#include "velmora/com/collection.hpp"

namespace velmora::support {

namespace {

constexpr std::string_view kBom = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsProfileBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsProfileBlank(s.back())) s.remove_suffix(1);
  return s;
}

std::string_view Unquote(std::string_view value) {
  if (value.size() >= 2 && value.front() == '"' && value.back() == '"') return value.substr(1, value.size() - 2);
  return value;
}

// Splits the contents into lines; CRLF, LF and a lone CR each end a line.
template <class Sink>
void SplitLines(std::string_view text, Sink&& sink) {
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t stop = text.find_first_of("\r\n", start);
    if (stop == std::string_view::npos) {
      sink(text.substr(start), std::string_view{});
      return;
    }
    const std::size_t eolLength = (text[stop] == '\r' && stop + 1 < text.size() && text[stop + 1] == '\n') ? 2 : 1;
    sink(text.substr(start, stop - start), text.substr(stop, eolLength));
    start = stop + eolLength;
  }
}

}  // namespace

bool IsProfileBlank(char c) noexcept {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool ProfileValueNeedsQuotes(std::string_view value) noexcept {
  if (value.empty()) return false;
  if (IsProfileBlank(value.front()) || IsProfileBlank(value.back())) return true;
  return value.size() >= 2 && value.front() == '"' && value.back() == '"';
}

ProfileDocument ProfileDocument::Parse(std::string_view bytes) {
  ProfileDocument doc;
  if (bytes.substr(0, kBom.size()) == kBom) {
    doc.bom_ = true;
    bytes.remove_prefix(kBom.size());
  }
  bool newlineSeen = false;
  SplitLines(bytes, [&](std::string_view raw, std::string_view eol) {
    if (!newlineSeen && !eol.empty()) {
      doc.newline_ = std::string(eol);
      newlineSeen = true;
    }
    doc.lines_.push_back(ParseLine(std::string(raw), std::string(eol)));
  });
  return doc;
}

// A line is a section header when it starts with '[' and has a ']' after it
// (the name lies between the '[' and the last ']'); a comment when it starts
// with ';'; an entry when it has a '='; anything else is a bare line.
// A NUL byte ends the line's text, as a C string would: what follows it is
// kept in the file but never read, so "x\0=v" is the bare line "x" and not an
// entry with an empty name (entries travel NUL-separated to the flag reader).
ProfileDocument::Line ProfileDocument::ParseLine(std::string raw, std::string eol) {
  Line line{std::move(raw), std::move(eol), LineKind::Blank, {}, {}};
  const std::string_view text = Trim(std::string_view(line.raw).substr(0, line.raw.find('\0')));
  if (text.empty()) return line;
  if (text.front() == '[') {
    const std::size_t close = text.rfind(']');
    if (close != std::string_view::npos && close > 0) {
      line.kind = LineKind::Section;
      line.name = std::string(Trim(text.substr(1, close - 1)));
      return line;
    }
  }
  if (text.front() == ';') {
    line.kind = LineKind::Comment;
    return line;
  }
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    line.kind = LineKind::Bare;
    line.name = std::string(text);
    return line;
  }
  line.kind = LineKind::Entry;
  line.name = std::string(Trim(text.substr(0, equals)));
  line.value = std::string(Unquote(Trim(text.substr(equals + 1))));
  return line;
}

std::optional<ProfileDocument::SectionSpan> ProfileDocument::FindSection(std::string_view section) const {
  const std::string wanted = com::FoldKeyCase(section);
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (lines_[i].kind != LineKind::Section || com::FoldKeyCase(lines_[i].name) != wanted) continue;
    std::size_t end = i + 1;
    while (end < lines_.size() && lines_[end].kind != LineKind::Section) ++end;
    return SectionSpan{i, end};
  }
  return std::nullopt;
}

std::vector<std::string> ProfileDocument::SectionEntries(std::string_view section) const {
  std::vector<std::string> entries;
  const auto span = FindSection(section);
  if (!span) return entries;
  for (std::size_t i = span->header + 1; i < span->end; ++i) {
    const Line& line = lines_[i];
    if (line.kind == LineKind::Entry) entries.push_back(line.name + "=" + line.value);
    if (line.kind == LineKind::Bare) entries.push_back(line.name);
  }
  return entries;
}

ProfileDocument::Line ProfileDocument::MakeEntryLine(const std::string& name, const std::string& value) const {
  std::string raw = name + "=" + (ProfileValueNeedsQuotes(value) ? "\"" + value + "\"" : value);
  return Line{std::move(raw), newline_, LineKind::Entry, name, value};
}

std::size_t ProfileDocument::AppendSection(std::string_view section) {
  if (!lines_.empty() && lines_.back().eol.empty()) lines_.back().eol = newline_;
  lines_.push_back(Line{"[" + std::string(section) + "]", newline_, LineKind::Section, std::string(section), {}});
  return lines_.size() - 1;
}

// New entries go after the last non-blank line of the section.
std::size_t ProfileDocument::InsertionPoint(const SectionSpan& span) const {
  std::size_t at = span.end;
  while (at > span.header + 1 && lines_[at - 1].kind == LineKind::Blank) --at;
  return at;
}

void ProfileDocument::Write(std::string_view section, const std::vector<ProfileEntry>& entries) {
  auto span = FindSection(section);
  if (!span) {
    const std::size_t header = AppendSection(section);
    span = SectionSpan{header, header + 1};
  }
  // First line of each entry name in the section; later lines of the same
  // name are dropped so that a read cannot see a stale duplicate.
  std::unordered_map<std::string, std::size_t> firstLine;
  std::vector<bool> dropped(lines_.size(), false);
  for (std::size_t i = span->header + 1; i < span->end; ++i) {
    if (lines_[i].kind != LineKind::Entry) continue;
    if (!firstLine.emplace(com::FoldKeyCase(lines_[i].name), i).second) dropped[i] = true;
  }
  std::vector<Line> added;
  std::unordered_map<std::string, std::size_t> addedIndex;
  for (const ProfileEntry& entry : entries) {
    const std::string key = com::FoldKeyCase(entry.name);
    if (auto found = firstLine.find(key); found != firstLine.end()) {
      Line& line = lines_[found->second];
      if (line.value != entry.value) {
        Line replacement = MakeEntryLine(line.name, entry.value);
        replacement.eol = line.eol.empty() ? newline_ : line.eol;
        line = std::move(replacement);
      }
    } else if (auto again = addedIndex.find(key); again != addedIndex.end()) {
      added[again->second] = MakeEntryLine(added[again->second].name, entry.value);
    } else {
      addedIndex.emplace(key, added.size());
      added.push_back(MakeEntryLine(entry.name, entry.value));
    }
  }
  const std::size_t insertAt = InsertionPoint(*span);
  if (insertAt > 0 && lines_[insertAt - 1].eol.empty()) lines_[insertAt - 1].eol = newline_;
  std::vector<Line> result;
  result.reserve(lines_.size() + added.size());
  for (std::size_t i = 0; i <= lines_.size(); ++i) {
    if (i == insertAt) std::move(added.begin(), added.end(), std::back_inserter(result));
    if (i < lines_.size() && !dropped[i]) result.push_back(std::move(lines_[i]));
  }
  lines_ = std::move(result);
}

std::string ProfileDocument::Text() const {
  std::string text;
  if (bom_) text += kBom;
  for (const Line& line : lines_) {
    text += line.raw;
    text += line.eol;
  }
  return text;
}

}  // namespace velmora::support
