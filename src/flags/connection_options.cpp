// Connection settings read from and written to a flag collection.
#include "velmora/flags/connection_options.hpp"

#include <algorithm>

#include "velmora/ado/types.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora {

namespace {

constexpr std::string_view kDbmsSql = "SQL";
constexpr std::string_view kDbmsJet = "JET";

// Blanks (spaces) removed at both ends, as Trim does.
std::string TrimBlanks(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string UpperCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

std::string ReadText(const AdoFlags& flags, const std::string& name) {
  return TrimBlanks(com::CStr(flags.ReadProperty(name, com::Variant(""))));
}

}  // namespace

void ConnectionOptionsGet(const AdoFlagsPtr& Flags, std::string& retDBMS, std::string& retUserName,
                          std::string& retPassword, int32_t& retPrompt, int32_t& retDbOptions) {
  retDBMS = kDbmsSql;
  retUserName.clear();
  retPassword.clear();
  retPrompt = ado::adPromptCompleteRequired;
  retDbOptions = -1;
  if (Flags) {
    retPrompt = com::CLng(Flags->ReadProperty("PROMPT", com::Variant(ado::adPromptNever)));
    retUserName = ReadText(*Flags, "USERNAME");
    retPassword = ReadText(*Flags, "PASSWORD");
    retDbOptions = com::CLng(Flags->ReadProperty("OPTIONS", com::Variant(int32_t{0})));
    retDBMS = UpperCase(TrimBlanks(com::CStr(Flags->ReadProperty("DBMS", com::Variant(kDbmsSql)))));
  }
  if (retDBMS != kDbmsJet && retDBMS != kDbmsSql) com::Raise(com::errLibrary, "DBMS non supportato.");
}

void ConnectionOptionsSet(AdoFlagsPtr& Flags, const std::string& DBMS, const std::string& UserName,
                          const std::string& Password, int32_t Prompt, int32_t DbOptions) {
  if (!Flags) Flags = std::make_shared<AdoFlags>();
  if (DBMS != kDbmsSql) Flags->WriteProperty("DBMS", com::Variant(DBMS));
  if (!UserName.empty()) Flags->WriteProperty("USERNAME", com::Variant(UserName));
  if (!Password.empty()) Flags->WriteProperty("PASSWORD", com::Variant(Password));
  if (Prompt != ado::adPromptNever) Flags->WriteProperty("PROMPT", com::Variant(Prompt));
  if (DbOptions != 0) Flags->WriteProperty("OPTIONS", com::Variant(DbOptions));
}

}  // namespace velmora
