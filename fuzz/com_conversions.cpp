// Runs the text conversions on arbitrary text: each either gives a value or
// raises a com::Error (13 type mismatch, 6 overflow); a date that parses
// must survive a round trip through its text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "velmora/com.hpp"

namespace {

template <class F>
void Expect(F&& f) {
  try {
    f();
  } catch (const velmora::com::Error& e) {
    if (e.Number() != velmora::com::errTypeMismatch && e.Number() != velmora::com::errOverflow) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace velmora::com;
  const std::string text(reinterpret_cast<const char*>(data), size);
  const Variant v(text);
  Expect([&] { CDbl(v); });
  Expect([&] { Val(text); });
  Expect([&] { CDec(v); });
  Expect([&] { CCur(v); });
  Expect([&] { CLng(v); });
  Expect([&] { CBool(v); });
  Expect([&] {
    const Date d = CDate(v);
    const std::string once = CStr(d);
    if (CStr(CDate(Variant(once))) != once) std::abort();
  });
  Expect([&] { Format(v, text); });
  return 0;
}
