#pragma once
// The COM variant: a 16-bit type code and a value.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "velmora/com/datetime.hpp"
#include "velmora/com/object.hpp"

namespace velmora::com {

// Variant type codes (the values of VB's VarType).
inline constexpr int16_t vbEmpty = 0;
inline constexpr int16_t vbNull = 1;
inline constexpr int16_t vbInteger = 2;
inline constexpr int16_t vbLong = 3;
inline constexpr int16_t vbSingle = 4;
inline constexpr int16_t vbDouble = 5;
inline constexpr int16_t vbCurrency = 6;
inline constexpr int16_t vbDate = 7;
inline constexpr int16_t vbString = 8;
inline constexpr int16_t vbObject = 9;
inline constexpr int16_t vbError = 10;
inline constexpr int16_t vbBoolean = 11;
inline constexpr int16_t vbVariant = 12;
inline constexpr int16_t vbDecimal = 14;
inline constexpr int16_t vbByte = 17;
inline constexpr int16_t vbArray = 8192;
inline constexpr int16_t vbByteArray = vbArray + vbByte;  // 8209

// VB's True as a 16-bit integer.
inline constexpr int16_t vbTrue = -1;

struct NullValue {
  friend constexpr bool operator==(NullValue, NullValue) { return true; }
};
// An optional argument that was not given (VarType 10, as COM passes it).
struct MissingValue {
  friend constexpr bool operator==(MissingValue, MissingValue) { return true; }
};
inline constexpr NullValue Null{};
inline constexpr MissingValue Missing{};

using ByteArray = std::vector<uint8_t>;

class Variant;

// A one-dimensional array of values of one element type (vbVariant for an
// array of variants). Copied by value, as COM arrays are.
struct VariantArray {
  int16_t elementType = vbVariant;
  int32_t lowerBound = 0;
  std::vector<Variant> items;
};

class Variant {
 public:
  using Storage = std::variant<std::monostate, NullValue, int16_t, int32_t, float, double, Currency, Date,
                               std::string, ObjectPtr, bool, Decimal, uint8_t, MissingValue, ByteArray,
                               VariantArray>;

  Variant() = default;
  Variant(NullValue) : v_(NullValue{}) {}
  Variant(MissingValue) : v_(MissingValue{}) {}
  Variant(int16_t x) : v_(x) {}
  Variant(int32_t x) : v_(x) {}
  Variant(float x) : v_(x) {}
  Variant(double x) : v_(x) {}
  Variant(Currency x) : v_(x) {}
  Variant(Date x) : v_(x) {}
  Variant(std::string x) : v_(std::move(x)) {}
  Variant(std::string_view x) : v_(std::string(x)) {}
  Variant(const char* x) : v_(std::string(x)) {}
  Variant(bool x) : v_(x) {}
  Variant(Decimal x) : v_(x) {}
  Variant(uint8_t x) : v_(x) {}
  Variant(ByteArray x) : v_(std::move(x)) {}
  Variant(VariantArray x) : v_(std::move(x)) {}
  // An object reference (Nothing when empty).
  Variant(std::nullptr_t) : v_(ObjectPtr{}) {}
  template <class T, class = std::enable_if_t<std::is_base_of_v<Object, T>>>
  Variant(std::shared_ptr<T> obj) : v_(ObjectPtr(std::move(obj))) {}

  // The VarType code: 0 Empty, 1 Null, 2 Integer ... 8192 + element type for arrays.
  int16_t VarType() const noexcept;

  bool IsEmpty() const noexcept { return v_.index() == 0; }
  bool IsNull() const noexcept { return std::holds_alternative<NullValue>(v_); }
  bool IsMissing() const noexcept { return std::holds_alternative<MissingValue>(v_); }
  bool IsObject() const noexcept { return std::holds_alternative<ObjectPtr>(v_); }
  bool IsArray() const noexcept {
    return std::holds_alternative<ByteArray>(v_) || std::holds_alternative<VariantArray>(v_);
  }
  bool IsString() const noexcept { return std::holds_alternative<std::string>(v_); }

  // The stored value of exactly type T, or nullptr.
  template <class T>
  const T* TryGet() const noexcept {
    return std::get_if<T>(&v_);
  }
  template <class T>
  T* TryGet() noexcept {
    return std::get_if<T>(&v_);
  }
  // The stored value of exactly type T; raises 13 (type mismatch) otherwise.
  template <class T>
  const T& Get() const {
    if (auto p = std::get_if<T>(&v_)) return *p;
    RaiseTypeMismatch();
  }

  // The object held (empty for Nothing); raises 13 when the value is not an object.
  ObjectPtr Object() const;
  // The object held, cast to T (empty when it is Nothing or of another class);
  // raises 13 when the value is not an object.
  template <class T>
  std::shared_ptr<T> ObjectAs() const {
    return std::dynamic_pointer_cast<T>(Object());
  }

  const Storage& Value() const noexcept { return v_; }
  Storage& Value() noexcept { return v_; }

 private:
  [[noreturn]] static void RaiseTypeMismatch();
  Storage v_;
};

}  // namespace velmora::com
