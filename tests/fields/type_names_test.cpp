#include "velmora/fields/type_names.hpp"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support_common/raised_error.hpp"
#include "velmora/com/error.hpp"

namespace velmora {
namespace {

// The value a variant holds when it is exactly of type T.
template <class T>
std::optional<T> Held(const com::Variant& v) {
  if (const T* value = v.TryGet<T>()) return *value;
  return std::nullopt;
}

TEST(VbTypeToStr, NamesEveryListedCode) {
  const std::map<int16_t, std::string> expected{
      {2, "Integer"}, {3, "Long"},    {4, "Single"},   {5, "Double"},   {6, "Currency"},
      {7, "Date"},    {8, "String"},  {11, "Boolean"}, {12, "Variant"}, {17, "Byte"},
  };
  for (const auto& [code, name] : expected) EXPECT_EQ(VbTypeToStr(code), name) << code;
}

TEST(VbTypeToStr, OtherCodesGiveEmptyText) {
  for (int16_t code : {0, 1, 9, 10, 13, 14, 15, 16, 18, 36, 8192, 8209, -1}) {
    EXPECT_EQ(VbTypeToStr(code), "") << code;
  }
}

TEST(FieldTypeConstToVb, MapsEveryListedType) {
  const std::vector<std::pair<int32_t, int16_t>> expected{
      {2, 2},  {18, 2}, {3, 3},  {19, 3},  {4, 4},   {5, 5},  {20, 5},  {21, 5},
      {131, 5}, {6, 6},  {7, 7},  {135, 7}, {11, 11}, {12, 12}, {16, 17}, {17, 17},
  };
  for (const auto& [type, vb] : expected) EXPECT_EQ(FieldTypeConstToVb(type), vb) << type;
}

TEST(FieldTypeConstToVb, EverythingElseIsString) {
  // adDecimal, adDBDate, adDBTime, adGUID, character and binary types included.
  for (int32_t type : {0, 8, 14, 72, 128, 129, 130, 133, 134, 200, 201, 202, 203, 204, 205, 9999, -1}) {
    EXPECT_EQ(FieldTypeConstToVb(type), 8) << type;
  }
}

TEST(FieldTypeConstToStr, NamesEveryListedType) {
  const std::vector<std::pair<int32_t, std::string>> expected{
      {2, "smallint"},   {18, "smallint"},        {3, "int"},     {19, "int"},      {4, "real"},
      {5, "float"},      {6, "money"},            {7, "smalldatetime"},             {11, "bit"},
      {12, "sql_variant"}, {16, "tinyint"},       {17, "tinyint"}, {20, "bigint"},  {21, "bigint"},
      {72, "uniqueidentifier"}, {128, "binary"},  {129, "char"},  {130, "nchar"},   {131, "decimal"},
      {135, "datetime"}, {200, "varchar"},        {201, "text"},  {202, "nvarchar"}, {203, "ntext"},
      {204, "image"},
  };
  for (const auto& [type, name] : expected) EXPECT_EQ(FieldTypeConstToStr(type), name) << type;
}

TEST(FieldTypeConstToStr, EverythingElseIsUnknown) {
  for (int32_t type : {205, 0, 8, 14, 133, 134, 9999, -1}) EXPECT_EQ(FieldTypeConstToStr(type), "unknown") << type;
}

const std::vector<std::pair<std::string, int32_t>>& NameTable() {
  static const std::vector<std::pair<std::string, int32_t>> table{
      {"bigint", 20},      {"binary", 128},   {"bit", 11},        {"char", 129},        {"datetime", 135},
      {"decimal", 131},    {"float", 5},      {"image", 204},     {"int", 3},           {"money", 6},
      {"nchar", 130},      {"ntext", 203},    {"numeric", 131},   {"nvarchar", 202},    {"real", 4},
      {"smalldatetime", 7}, {"smallint", 2},  {"smallmoney", 6},  {"sql_variant", 12},  {"sysname", 202},
      {"text", 201},       {"timestamp", 128}, {"tinyint", 16},   {"uniqueidentifier", 72},
      {"varbinary", 204},  {"varchar", 200},
  };
  return table;
}

TEST(FieldTypeStringToConst, MapsEveryListedName) {
  for (const auto& [name, type] : NameTable()) EXPECT_EQ(FieldTypeStringToConst(name), type) << name;
}

TEST(FieldTypeStringToConst, KnownNamesAreListedInTestOrder) {
  std::vector<std::string> expected;
  for (const auto& row : NameTable()) expected.push_back(row.first);
  const auto names = FieldTypeNames();
  EXPECT_EQ(std::vector<std::string>(names.begin(), names.end()), expected);
}

TEST(FieldTypeStringToConst, UnknownNameRaises20000WithoutSource) {
  for (const std::string name : {"Int", "INT", "", " int", "int ", "integer", "varchar(10)", "zzz", "aaa"}) {
    const auto e = test::RaisedError([&] { FieldTypeStringToConst(name); });
    EXPECT_EQ(e.Number(), 20000) << name;
    EXPECT_EQ(e.Description(), "Tipo dati sconosciuto.") << name;
    EXPECT_EQ(e.Source(), "") << name;
    EXPECT_EQ(e.HelpFile(), "") << name;
    EXPECT_EQ(e.HelpContext(), 0) << name;
  }
}

TEST(TypeNames, DeliberateNonRoundTrips) {
  EXPECT_EQ(FieldTypeStringToConst("image"), FieldTypeStringToConst("varbinary"));
  EXPECT_EQ(FieldTypeConstToStr(FieldTypeStringToConst("varbinary")), "image");
  EXPECT_EQ(FieldTypeConstToStr(FieldTypeStringToConst("timestamp")), "binary");
  EXPECT_EQ(FieldTypeConstToStr(FieldTypeStringToConst("numeric")), "decimal");
  EXPECT_EQ(FieldTypeConstToStr(FieldTypeStringToConst("smallmoney")), "money");
  EXPECT_EQ(FieldTypeConstToStr(FieldTypeStringToConst("sysname")), "nvarchar");
}

TEST(FieldDefaultValue, NumericAndDateTypesGiveInteger0) {
  for (int16_t vType : {2, 3, 4, 5, 6, 7, 14, 17}) {
    const com::Variant v = FieldDefaultValue(vType);
    EXPECT_EQ(v.VarType(), 2) << vType;
    EXPECT_EQ(Held<int16_t>(v), std::optional<int16_t>(0)) << vType;
  }
}

TEST(FieldDefaultValue, BooleanGivesFalse) {
  EXPECT_EQ(Held<bool>(FieldDefaultValue(11)), std::optional<bool>(false));
}

TEST(FieldDefaultValue, EverythingElseGivesEmptyString) {
  for (int16_t vType : {0, 1, 8, 9, 10, 12, 13, 8192, 8209, -1}) {
    EXPECT_EQ(Held<std::string>(FieldDefaultValue(vType)), std::optional<std::string>("")) << vType;
  }
}

}  // namespace
}  // namespace velmora
