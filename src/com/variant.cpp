#include "velmora/com/variant.hpp"

#include "velmora/com/error.hpp"

namespace velmora::com {

int16_t Variant::VarType() const noexcept {
  struct Code {
    int16_t operator()(std::monostate) const { return vbEmpty; }
    int16_t operator()(NullValue) const { return vbNull; }
    int16_t operator()(int16_t) const { return vbInteger; }
    int16_t operator()(int32_t) const { return vbLong; }
    int16_t operator()(float) const { return vbSingle; }
    int16_t operator()(double) const { return vbDouble; }
    int16_t operator()(Currency) const { return vbCurrency; }
    int16_t operator()(Date) const { return vbDate; }
    int16_t operator()(const std::string&) const { return vbString; }
    int16_t operator()(const ObjectPtr&) const { return vbObject; }
    int16_t operator()(bool) const { return vbBoolean; }
    int16_t operator()(const Decimal&) const { return vbDecimal; }
    int16_t operator()(uint8_t) const { return vbByte; }
    int16_t operator()(MissingValue) const { return vbError; }
    int16_t operator()(const ByteArray&) const { return vbByteArray; }
    int16_t operator()(const VariantArray& a) const { return static_cast<int16_t>(vbArray + a.elementType); }
  };
  return std::visit(Code{}, v_);
}

ObjectPtr Variant::Object() const {
  if (auto p = std::get_if<ObjectPtr>(&v_)) return *p;
  RaiseTypeMismatch();
}

void Variant::RaiseTypeMismatch() { Raise(errTypeMismatch); }

}  // namespace velmora::com
