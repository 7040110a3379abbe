// The typed-value buffer: every variant type round trips; truncated and
// corrupt buffers are rejected with a clear error.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"
#include "velmora/support/profile_services.hpp"

namespace velmora::support {
namespace {

using namespace std::string_literals;

const ProfileServices kProfile;

std::string BufferOf(const std::vector<com::Variant>& values) {
  std::string buffer;
  kProfile.TypedBufferStart(buffer);
  for (const com::Variant& value : values) kProfile.TypedValueWrite(buffer, value);
  kProfile.TypedBufferFinish(buffer);
  return buffer;
}

std::vector<com::Variant> ValuesOf(const std::string& buffer) {
  TypedValueReader reader = kProfile.TypedValueReaderOpen(buffer);
  std::vector<com::Variant> values;
  while (!reader.AtEnd()) values.push_back(reader.Read());
  return values;
}

// Exact equality of type and stored value (bit patterns for reals).
void ExpectSame(const com::Variant& expected, const com::Variant& actual) {
  ASSERT_EQ(expected.VarType(), actual.VarType());
  ASSERT_EQ(expected.Value().index(), actual.Value().index());
  if (auto d = expected.TryGet<double>()) {
    EXPECT_EQ(std::signbit(*d), std::signbit(actual.Get<double>()));
    if (!std::isnan(*d)) {
      EXPECT_EQ(*d, actual.Get<double>());
    }
  } else if (auto a = expected.TryGet<com::VariantArray>()) {
    const auto& b = actual.Get<com::VariantArray>();
    EXPECT_EQ(a->elementType, b.elementType);
    EXPECT_EQ(a->lowerBound, b.lowerBound);
    ASSERT_EQ(a->items.size(), b.items.size());
    for (std::size_t i = 0; i < a->items.size(); ++i) ExpectSame(a->items[i], b.items[i]);
  } else if (auto dec = expected.TryGet<com::Decimal>()) {
    const auto& other = actual.Get<com::Decimal>();
    EXPECT_EQ(dec->lo64, other.lo64);
    EXPECT_EQ(dec->hi32, other.hi32);
    EXPECT_EQ(dec->scale, other.scale);
    EXPECT_EQ(dec->negative, other.negative);
  } else if (!expected.IsEmpty() && !expected.IsNull() && !expected.IsMissing()) {
    EXPECT_TRUE(com::VarEqual(expected, actual));
  }
}

std::vector<com::Variant> EveryType() {
  com::Decimal decimal;
  decimal.lo64 = 0xFFFFFFFFFFFFFFFFull;
  decimal.hi32 = 0x12345678;
  decimal.scale = 28;
  decimal.negative = true;
  com::VariantArray mixed{com::vbVariant, -3, {com::Variant(int16_t{1}), com::Variant("two"), com::Null}};
  com::VariantArray nested{com::vbVariant, 0, {com::Variant(mixed), com::Variant(com::ByteArray{1, 2})}};
  com::VariantArray bytes{com::vbByte, 1, {com::Variant(uint8_t{7}), com::Variant(uint8_t{255})}};
  com::VariantArray longs{com::vbLong, 0, {com::Variant(int32_t{-1}), com::Variant(int32_t{2147483647})}};
  return {com::Variant(),
          com::Null,
          com::Missing,
          com::Variant(int16_t{-32768}),
          com::Variant(int32_t{-2147483647 - 1}),
          com::Variant(0.1f),
          com::Variant(std::numeric_limits<float>::denorm_min()),
          com::Variant(0.1 + 0.2),
          com::Variant(-0.0),
          com::Variant(1e308),
          com::Variant(std::numeric_limits<double>::infinity()),
          com::Variant(com::Currency::FromRaw(std::numeric_limits<int64_t>::min())),
          com::Variant(com::Date(40178.96186342592)),
          com::Variant(com::Date(-1.25)),
          com::Variant(""),
          com::Variant("ctl\0\t\r\n:#;VFLAGS1;"s),
          com::Variant("Perché così? 日本語 €"),
          com::Variant(true),
          com::Variant(false),
          com::Variant(decimal),
          com::Variant(uint8_t{255}),
          com::Variant(com::ByteArray{}),
          com::Variant(com::ByteArray{0, 0x7F, 0x80, 0xFF}),
          com::Variant(mixed),
          com::Variant(nested),
          com::Variant(bytes),
          com::Variant(longs)};
}

TEST(TypedValues, EveryTypeRoundTrips) {
  const std::vector<com::Variant> values = EveryType();
  const std::vector<com::Variant> back = ValuesOf(BufferOf(values));
  ASSERT_EQ(back.size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    SCOPED_TRACE(i);
    ExpectSame(values[i], back[i]);
  }
}

TEST(TypedValues, LayoutIsHeaderValuesAndChecksum) {
  const std::string buffer = BufferOf({com::Variant(int32_t{30}), com::Variant("x")});
  EXPECT_EQ(buffer.substr(0, buffer.size() - 9), "VFLAGS1;0003:2:300008:1:x");
  EXPECT_EQ(buffer[buffer.size() - 9], '#');
  // CRC-32 of "123456789" is CBF43926: the check value of the standard.
  std::string check = "123456789";
  kProfile.TypedBufferFinish(check);
  EXPECT_EQ(check, "123456789#CBF43926");
}

TEST(TypedValues, ObjectsCannotBeWritten) {
  std::string buffer;
  kProfile.TypedBufferStart(buffer);
  for (const com::Variant& value :
       {com::Variant(std::make_shared<com::Object>()), com::Variant(nullptr),
        com::Variant(com::VariantArray{com::vbVariant, 0, {com::Variant(std::make_shared<com::Object>())}})}) {
    try {
      kProfile.TypedValueWrite(buffer, value);
      ADD_FAILURE() << "object written";
    } catch (const com::Error& e) {
      EXPECT_EQ(e.Number(), 20000);
      EXPECT_EQ(e.Description(), "bad data type");
    }
  }
}

void ExpectRejected(const std::string& buffer, const std::string& reason) {
  try {
    ValuesOf(buffer);
    ADD_FAILURE() << "accepted: " << buffer;
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 20000);
    EXPECT_NE(e.Description().find(reason), std::string::npos) << e.Description();
  }
}

// Re-seals a body so that only the structure, not the checksum, is wrong.
std::string Sealed(const std::string& body) {
  std::string buffer = body;
  kProfile.TypedBufferFinish(buffer);
  return buffer;
}

TEST(TypedValues, EveryTruncationIsRejected) {
  const std::string buffer = BufferOf(EveryType());
  for (std::size_t size = 0; size < buffer.size(); ++size) {
    EXPECT_THROW(ValuesOf(buffer.substr(0, size)), com::Error) << size;
  }
}

TEST(TypedValues, CorruptionIsRejected) {
  const std::string buffer = BufferOf({com::Variant("hello"), com::Variant(int32_t{42})});
  std::string flipped = buffer;
  flipped[12] ^= 0x01;
  ExpectRejected(flipped, "checksum mismatch");
  ExpectRejected("", "not a flag buffer");
  ExpectRejected("garbage", "not a flag buffer");
  ExpectRejected(Sealed("VFLAGS2;"), "unsupported version 2");
  ExpectRejected("VFLAGS1;0003:2:30", "truncated");
}

TEST(TypedValues, MalformedValuesAreRejectedEvenWithAValidChecksum) {
  const std::pair<const char*, const char*> cases[] = {
      {"0003:2:3x", "bad long"},
      {"0002:5:99999", "bad integer"},
      {"0003:9:30", "truncated value"},
      {"00Z3:2:30", "bad type code"},
      {"0009:0:", "unknown type code 0009"},
      {"0001:1:x", "unexpected data"},
      {"000B:3:Yes", "bad boolean"},
      {"2011:3:ABC", "bad byte array"},
      {"2003:13:[0:1]0002:1:1", "array item of another type"},
      {"200C:5:[0:2]", "array item count larger than the data"},
      {"000E:28:+000000000000000000000001:29", "bad decimal scale"},
      {"0003:-1:", "bad value length"},
  };
  for (const auto& [values, reason] : cases) ExpectRejected(Sealed(std::string("VFLAGS1;") + values), reason);
}

TEST(TypedValues, DeepNestingIsRejectedNotOverflowed) {
  std::string body;
  for (int i = 0; i < 100; ++i) body = "200C:" + std::to_string(body.size() + 5) + ":[0:1]" + body;
  ExpectRejected(Sealed("VFLAGS1;" + body), "nested too deeply");
}

}  // namespace
}  // namespace velmora::support
