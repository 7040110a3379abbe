// Comparison of variants as VB's `=` and `<` compare them.
#include <algorithm>
#include <cmath>

#include "exact_number.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::com {
namespace {

VarCompareResult FromSign(int sign) {
  return sign < 0 ? VarCompareResult::Less : sign > 0 ? VarCompareResult::Greater : VarCompareResult::Equal;
}

template <class T>
VarCompareResult Ordered(const T& a, const T& b) {
  return FromSign(a < b ? -1 : b < a ? 1 : 0);
}

bool IsFloating(const Variant& v) {
  return v.TryGet<double>() || v.TryGet<float>() || v.TryGet<Date>();
}

// True for the values that compare as numbers (Empty counts as 0).
bool IsNumberLike(const Variant& v) { return v.TryGet<Date>() || (!v.IsString() && IsNumeric(v)); }

bool IsWholeNumber(const Variant& v) {
  return v.IsEmpty() || v.TryGet<int16_t>() || v.TryGet<int32_t>() || v.TryGet<uint8_t>() || v.TryGet<bool>();
}

VarCompareResult CompareNumbers(const Variant& a, const Variant& b) {
  if (IsWholeNumber(a) && IsWholeNumber(b)) return Ordered(CLng(a), CLng(b));
  if (a.TryGet<float>() || b.TryGet<float>()) {
    if (IsFloating(a) || IsFloating(b)) return Ordered(CSng(a), CSng(b));  // single against double: single precision
  }
  if (IsFloating(a) || IsFloating(b)) return Ordered(CDbl(a), CDbl(b));
  return FromSign(detail::CompareExact(detail::ExactFromDecimal(CDec(a)), detail::ExactFromDecimal(CDec(b))));
}

bool IsBareText(const Variant& v) { return v.IsString() || v.IsEmpty(); }

}  // namespace

VarCompareResult VarCompare(const Variant& a, const Variant& b) {
  if (a.IsNull() || b.IsNull()) return VarCompareResult::Null;
  if (a.IsObject() && b.IsObject() && a.Object() == b.Object()) return VarCompareResult::Equal;
  if (a.IsString() || b.IsString()) {
    if (IsBareText(a) && IsBareText(b)) return Ordered(CStr(a), CStr(b));  // byte-wise on UTF-8
    if (IsNumberLike(a) && b.IsString()) return VarCompareResult::Less;    // text sorts after numbers
    if (a.IsString() && IsNumberLike(b)) return VarCompareResult::Greater;
  }
  if (IsNumberLike(a) && IsNumberLike(b)) return CompareNumbers(a, b);
  Raise(errTypeMismatch);
}

namespace {
bool ArraysEqual(const VariantArray& a, const VariantArray& b) {
  return a.elementType == b.elementType && a.lowerBound == b.lowerBound &&
         std::equal(a.items.begin(), a.items.end(), b.items.begin(), b.items.end(), VarEqual);
}
}  // namespace

bool VarEqual(const Variant& a, const Variant& b) {
  if (a.IsObject() || b.IsObject()) return a.IsObject() && b.IsObject() && a.Object() == b.Object();
  if (a.IsMissing() || b.IsMissing()) return a.IsMissing() && b.IsMissing();
  if (a.IsArray() || b.IsArray()) {
    auto ba = a.TryGet<ByteArray>(), bb = b.TryGet<ByteArray>();
    if (ba && bb) return *ba == *bb;
    auto va = a.TryGet<VariantArray>(), vb = b.TryGet<VariantArray>();
    return va && vb && ArraysEqual(*va, *vb);
  }
  return VarCompare(a, b) == VarCompareResult::Equal;
}

}  // namespace velmora::com
