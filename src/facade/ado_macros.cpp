#include "velmora/facade/ado_macros.hpp"

#include "velmora/facade/class_registration.hpp"
#include "velmora/fields/type_names.hpp"
#include "velmora/flags/connection_options.hpp"
#include "velmora/support/default_connection.hpp"

namespace velmora {

std::shared_ptr<AdoFlagsEnum> AdoMacros::ConnectionOption() {
  // Nothing assigns it initially; a reader always gets a usable object.
  if (!connectionOption_) connectionOption_ = std::make_shared<AdoFlagsEnum>();
  return connectionOption_;
}

void AdoMacros::ConnectionOption(std::shared_ptr<AdoFlagsEnum> value) { connectionOption_ = std::move(value); }

std::shared_ptr<ado::Connection> AdoMacros::DefaultConnection() const { return support::DefaultConnection(); }

void AdoMacros::DefaultConnection(std::shared_ptr<ado::Connection> value) {
  support::DefaultConnection(std::move(value));
}

std::string AdoMacros::VbTypeToStr(int16_t vType) const { return velmora::VbTypeToStr(vType); }

int16_t AdoMacros::FieldTypeConstToVb(int32_t iType) const { return velmora::FieldTypeConstToVb(iType); }

std::string AdoMacros::FieldTypeConstToStr(int32_t iType) const { return velmora::FieldTypeConstToStr(iType); }

int32_t AdoMacros::FieldTypeStringToConst(const std::string& SType) const {
  return velmora::FieldTypeStringToConst(SType);
}

com::Variant AdoMacros::FieldDefaultValue(int16_t vType) const { return velmora::FieldDefaultValue(vType); }

void AdoMacros::ConnectionOptionsGet(const std::shared_ptr<AdoFlags>& Flags, std::string& retDBMS,
                                     std::string& retUserName, std::string& retPassword, int32_t& retPrompt,
                                     int32_t& retDbOptions) const {
  velmora::ConnectionOptionsGet(Flags, retDBMS, retUserName, retPassword, retPrompt, retDbOptions);
}

void AdoMacros::ConnectionOptionsSet(std::shared_ptr<AdoFlags>& Flags, const std::string& DBMS,
                                     const std::string& UserName, const std::string& Password, int32_t Prompt,
                                     int32_t DbOptions) const {
  velmora::ConnectionOptionsSet(Flags, DBMS, UserName, Password, Prompt, DbOptions);
}

AdoMacros& Macros() {
  thread_local const std::shared_ptr<AdoMacros> macros = [] {
    RegisterClasses();
    return std::make_shared<AdoMacros>();
  }();
  return *macros;
}

AdoFlagsEnum& FlagsEnum() {
  thread_local const std::shared_ptr<AdoFlagsEnum> flagsEnum = [] {
    RegisterClasses();
    return std::make_shared<AdoFlagsEnum>();
  }();
  return *flagsEnum;
}

}  // namespace velmora
