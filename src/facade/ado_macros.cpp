#include "velmora/facade/ado_macros.hpp"

#include "velmora/facade/class_registration.hpp"
#include "velmora/fields/type_names.hpp"
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
