#include "velmora/schema/descriptors.hpp"

#include <gtest/gtest.h>

#include "velmora/com/error.hpp"

namespace velmora {
namespace {

AdoFieldPtr FilledField(const std::string& name, int32_t seed) {
  auto f = std::make_shared<AdoField>();
  f->AType(seed + 1);
  f->ATypeName("type" + std::to_string(seed));
  f->Collation(kSortDescending);
  f->Id(seed + 2);
  f->IsNullable(true);
  f->Name(name);
  f->NType(seed + 3);
  f->NTypeName("native" + std::to_string(seed));
  f->NumScale(seed + 4);
  f->Precision(seed + 5);
  f->Size(seed + 6);
  f->Fixed(true);
  return f;
}

void ExpectSameField(const AdoField& a, const AdoField& b) {
  EXPECT_EQ(a.AType(), b.AType());
  EXPECT_EQ(a.ATypeName(), b.ATypeName());
  EXPECT_EQ(a.Collation(), b.Collation());
  EXPECT_EQ(a.Id(), b.Id());
  EXPECT_EQ(a.IsNullable(), b.IsNullable());
  EXPECT_EQ(a.Name(), b.Name());
  EXPECT_EQ(a.NType(), b.NType());
  EXPECT_EQ(a.NTypeName(), b.NTypeName());
  EXPECT_EQ(a.NumScale(), b.NumScale());
  EXPECT_EQ(a.Precision(), b.Precision());
  EXPECT_EQ(a.Size(), b.Size());
  EXPECT_EQ(a.Fixed(), b.Fixed());
}

TEST(Descriptors, NewObjectsHoldZeroValues) {
  AdoDataType type;
  EXPECT_EQ(type.NName(), "");
  EXPECT_EQ(type.AType(), 0);
  EXPECT_FALSE(type.Fixed());
  AdoField field;
  EXPECT_EQ(field.Collation(), 0);
  EXPECT_EQ(field.Name(), "");
  AdoIndex index;
  EXPECT_EQ(index.Fields(), nullptr);
  EXPECT_EQ(index.KeySet(), nullptr);
  EXPECT_EQ(index.Collation(), 0);
  EXPECT_EQ(index.HasNulls(), 0);
}

TEST(Descriptors, NewTableHasNoFieldsAndNoIndexes) {
  AdoTable table;
  EXPECT_EQ(table.Fields(), nullptr);
  EXPECT_EQ(table.Indexes(), nullptr);
  EXPECT_EQ(table.Id(), 0);
  EXPECT_EQ(table.Owner(), "");
}

TEST(Descriptors, CopyToOverwritesAllTwelveProperties) {
  auto source = FilledField("NAME", 10);
  auto target = FilledField("OTHER", 50);
  target->Collation(kSortAscending);
  source->CopyTo(target);
  ExpectSameField(*source, *target);
  EXPECT_EQ(target->Collation(), kSortDescending);
  EXPECT_EQ(target->Id(), 12);
}

TEST(Descriptors, CopyToZeroValuesClearsTheTarget) {
  AdoField empty;
  auto target = FilledField("X", 1);
  empty.CopyTo(target);
  ExpectSameField(empty, *target);
}

TEST(Descriptors, CopyToNothingFails) {
  AdoField field;
  try {
    field.CopyTo(nullptr);
    FAIL() << "no error";
  } catch (const com::Error& e) {
    EXPECT_EQ(e.Number(), 91);
  }
}

TEST(Descriptors, TwoIndexesHoldCopiesWithDifferentCollations) {
  auto column = FilledField("CODE", 1);
  column->Collation(0);
  auto first = std::make_shared<AdoField>();
  auto second = std::make_shared<AdoField>();
  column->CopyTo(first);
  column->CopyTo(second);
  first->Collation(kSortAscending);
  second->Collation(kSortDescending);
  EXPECT_EQ(column->Collation(), 0);
  EXPECT_EQ(first->Collation(), kSortAscending);
  EXPECT_EQ(second->Collation(), kSortDescending);
  EXPECT_EQ(first->Name(), "CODE");
}

TEST(Descriptors, ObjectPropertiesAreReplacedWhole) {
  AdoTable table;
  auto fields = std::make_shared<com::Collection>();
  table.Fields(fields);
  EXPECT_EQ(table.Fields(), fields);
  table.Fields(std::make_shared<com::Collection>());
  EXPECT_NE(table.Fields(), fields);
  AdoIndex index;
  index.Note("free text");
  index.Collation(kSortDescending);
  EXPECT_EQ(index.Note(), "free text");
  EXPECT_EQ(index.Collation(), kSortDescending);
}

}  // namespace
}  // namespace velmora
