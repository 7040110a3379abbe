// The one header a client includes gives the facade, the runtime's main
// types in namespace velmora, and the library's version.
#include <velmora/velmora.hpp>

#include <gtest/gtest.h>

#include <string>

#include "support/raised_error.hpp"

namespace {

TEST(Umbrella, ClientViewWorksThroughOneHeader) {
  using namespace velmora;
  Variant v(std::string("JET"));
  EXPECT_EQ(v.VarType(), 8);
  EXPECT_EQ(Macros().VbTypeToStr(v.VarType()), "String");
  EXPECT_EQ(FlagsEnum().AFE_DBMS_JET(), com::CStr(v));
  const Error e = test::RaisedError([] { Macros().FieldTypeStringToConst("Int"); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "Tipo dati sconosciuto.");
  EXPECT_STRNE(VELMORA_VERSION_STRING, "");
}

}  // namespace
