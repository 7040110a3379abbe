// Fuzz target: the INI reader and writer. Any bytes parse; an unchanged
// document gives back every byte; after a write the entries read back and
// another section reads as before.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/profile_document.hpp"
#include "velmora/com/collection.hpp"

using velmora::support::ProfileDocument;
using velmora::support::ProfileEntry;

namespace {

// A section name taken from the start of the input (cut before any
// character a section name cannot hold: NUL ends a line's text), or "s".
std::string SectionName(const std::string& text) {
  static const std::string kStops{"\r\n\t\v\f ;=[]\0", 11};
  const std::string name = text.substr(0, std::min(text.find_first_of(kStops), std::size_t{16}));
  return name.empty() ? "s" : name;
}

bool ReadsBack(const std::vector<std::string>& entries, const ProfileEntry& written) {
  const std::string wanted = velmora::com::FoldKeyCase(written.name);
  return std::any_of(entries.begin(), entries.end(), [&](const std::string& entry) {
    const std::size_t equals = entry.find('=');
    return equals != std::string::npos && velmora::com::FoldKeyCase(entry.substr(0, equals)) == wanted &&
           entry.substr(equals + 1) == written.value;
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  ProfileDocument doc = ProfileDocument::Parse(text);
  if (doc.Text() != text) std::abort();

  const std::string section = SectionName(text);
  const std::vector<std::string> other = doc.SectionEntries("other");
  const std::vector<ProfileEntry> written{{"Key", " value "}, {"key2", "\"q\""}, {"", "empty name"}};
  doc.Write(section, written);

  const ProfileDocument reread = ProfileDocument::Parse(doc.Text());
  const std::vector<std::string> entries = reread.SectionEntries(section);
  for (const ProfileEntry& entry : written) {
    if (!ReadsBack(entries, entry)) std::abort();
  }
  if (velmora::com::FoldKeyCase(section) != "other" && reread.SectionEntries("other") != other) std::abort();
  return 0;
}
