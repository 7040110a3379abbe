// `velmora flags FILE SECTION [NAME=VALUE...]`: prints the flags of an INI
// section with their types, or writes flags into it.
//
// A value written in the flag text form ("0002:~:1", "0008:~:x") keeps the
// type its code names. Any other value takes the first type it reads as:
//   True / False (any case)                      Boolean
//   a whole number without leading zeros that fits 32 bits   Long
//   digits "." digits (with an optional "-")     Double
//   yyyy-mm-dd or yyyy-mm-dd hh:nn:ss            Date
//   anything else                                String
#include <cstdint>
#include <iostream>
#include <regex>
#include <string>
#include <vector>

#include "command.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/fields/type_names.hpp"
#include "velmora/flags/ado_flags.hpp"

namespace velmora::tool {
namespace {

// Control characters and backslashes as escapes, so that one flag is one line.
std::string Printable(const std::string& text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\') {
      out += "\\\\";
    } else if (byte < 0x20 || byte == 0x7F) {
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    } else {
      out += c;
    }
  }
  return out;
}

int PrintSection(const std::string& file, const std::string& section) {
  AdoFlags flags;
  flags.Load(file, section);
  for (const AdoFlagPtr& flag : flags) {
    const com::Variant& value = flag->Value();
    std::cout << flag->Name() << '\t' << VbTypeToStr(value.VarType()) << '\t' << Printable(com::CStr(value))
              << '\n';
  }
  return kExitOk;
}

// The value of NAME=VALUE with its type chosen as the header says.
com::Variant InferValue(const std::string& text) {
  static const std::regex kBoolean("true|false", std::regex::icase);
  static const std::regex kWhole("-?(0|[1-9][0-9]{0,9})");
  static const std::regex kReal("-?(0|[1-9][0-9]*)\\.[0-9]+");
  static const std::regex kDate("[0-9]{4}-[0-9]{2}-[0-9]{2}( [0-9]{2}:[0-9]{2}:[0-9]{2})?");
  const com::Variant source(text);
  if (std::regex_match(text, kBoolean)) return com::CBool(source);
  if (std::regex_match(text, kWhole)) {
    const long long whole = std::stoll(text);
    if (whole >= INT32_MIN && whole <= INT32_MAX) return static_cast<int32_t>(whole);
  }
  if (std::regex_match(text, kReal)) return com::CDbl(source);
  if (std::regex_match(text, kDate)) return com::CDate(source);
  return source;
}

int WriteFlags(const std::string& file, const std::string& section, const std::vector<std::string>& pairs) {
  static const std::regex kFlagText("[0-9A-Fa-f]{4}:~:.*");
  AdoFlags flags;
  for (const std::string& pair : pairs) {
    const std::size_t equals = pair.find('=');
    if (equals == std::string::npos || equals == 0) return UsageError("flags", "expected NAME=VALUE, got '" + pair + "'");
    const std::string name = pair.substr(0, equals), value = pair.substr(equals + 1);
    if (std::regex_match(value, kFlagText)) {
      flags.LineSplit(pair, "");
    } else {
      flags.WriteProperty(name, InferValue(value));
    }
  }
  flags.Save(file, section);
  return kExitOk;
}

}  // namespace

VELMORA_COMMAND("flags", "FILE SECTION [NAME=VALUE...]",
                "print the flags of an INI section with their types, or write flags into it") {
  if (args.size() < 2) return UsageError("flags", "expected FILE and SECTION");
  if (args.size() == 2) return PrintSection(args[0], args[1]);
  return WriteFlags(args[0], args[1], std::vector<std::string>(args.begin() + 2, args.end()));
}

}  // namespace velmora::tool
