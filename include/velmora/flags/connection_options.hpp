#pragma once
// Connection settings carried in an AdoFlags collection: which DBMS ("SQL"
// or "JET"), user name, password, prompt mode and database options.
//
// Without a collection the defaults are "SQL", "", "", 3 (prompt when
// required information is missing) and -1; with a collection that lacks a
// key they are "SQL", "", "", 4 (never prompt) and 0. The two sets differ
// on purpose: a caller that passes flags has said how it wants to connect.
#include <cstdint>
#include <string>

#include "velmora/flags/ado_flags.hpp"

namespace velmora {

// Reads the settings (keys "PROMPT", "USERNAME", "PASSWORD", "OPTIONS",
// "DBMS", in that order): the DBMS trimmed and upper-cased, user name and
// password trimmed, prompt (ado::adPromptNever...) and options as 32-bit
// integers. Flags may be
// empty (no collection). A DBMS other than "JET" or "SQL" raises 20000
// "DBMS non supportato."; no error is handled here.
void ConnectionOptionsGet(const AdoFlagsPtr& Flags, std::string& retDBMS, std::string& retUserName,
                          std::string& retPassword, int32_t& retPrompt, int32_t& retDbOptions);

// Writes the settings that differ from their skip values: DBMS unless it is
// exactly "SQL", UserName and Password unless empty, Prompt unless 4,
// DbOptions unless 0. A skipped value leaves a key already present as it
// is. An omitted argument is its type's zero value, so an omitted DBMS is
// written as "" and an omitted Prompt as 0. Flags is created when empty.
void ConnectionOptionsSet(AdoFlagsPtr& Flags, const std::string& DBMS = "", const std::string& UserName = "",
                          const std::string& Password = "", int32_t Prompt = 0, int32_t DbOptions = 0);

}  // namespace velmora
