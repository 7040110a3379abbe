#include "velmora/facade/ado_macros.hpp"

#include <gtest/gtest.h>

#include <thread>

#include "support/per_thread.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/ado/connection.hpp"
#include "velmora/com/property_bag.hpp"
#include "velmora/facade/class_registration.hpp"
#include "velmora/fields/type_names.hpp"

namespace velmora {
namespace {

TEST(AdoMacros, IdentifiersAreTheRegisteredOnes) {
  EXPECT_EQ(AdoMacros::kClassId, "{D9C28A58-B819-4EDB-840D-C9222000DD43}");
  EXPECT_EQ(AdoMacros::kInterfaceId, "{DCDCC1BD-0B29-4F67-B93D-1DE60EE0E320}");
}

TEST(AdoMacros, FreshInstanceHasDefaultAnsiBlobFalse) {
  auto macros = std::make_shared<AdoMacros>();
  EXPECT_FALSE(macros->DefaultAnsiBlob());
  macros->DefaultAnsiBlob(true);
  EXPECT_TRUE(macros->DefaultAnsiBlob());
  EXPECT_FALSE(std::make_shared<AdoMacros>()->DefaultAnsiBlob());
}

TEST(AdoMacros, ConnectionOptionIsUsableOnFirstReadAndStaysTheSame) {
  auto macros = std::make_shared<AdoMacros>();
  const auto first = macros->ConnectionOption();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->AFE_DBMS(), "DBMS");
  EXPECT_EQ(macros->ConnectionOption(), first);
}

TEST(AdoMacros, ConnectionOptionIsAssignedByReference) {
  auto macros = std::make_shared<AdoMacros>();
  auto mine = std::make_shared<AdoFlagsEnum>();
  macros->ConnectionOption(mine);
  EXPECT_EQ(macros->ConnectionOption(), mine);
  macros->ConnectionOption(nullptr);
  const auto again = macros->ConnectionOption();
  ASSERT_NE(again, nullptr);
  EXPECT_NE(again, mine);
}

TEST(AdoMacros, DefaultConnectionIsSharedByInstancesOfOneThread) {
  auto a = std::make_shared<AdoMacros>();
  auto b = std::make_shared<AdoMacros>();
  EXPECT_EQ(a->DefaultConnection(), nullptr);
  auto connection = std::make_shared<ado::Connection>();
  a->DefaultConnection(connection);
  EXPECT_EQ(b->DefaultConnection(), connection);
  EXPECT_EQ(Macros().DefaultConnection(), connection);
  b->DefaultConnection(nullptr);
  EXPECT_EQ(a->DefaultConnection(), nullptr);
}

TEST(AdoMacros, DefaultConnectionIsPerThread) {
  auto connection = std::make_shared<ado::Connection>();
  Macros().DefaultConnection(connection);
  std::shared_ptr<ado::Connection> seenByOther = connection;
  std::thread([&] { seenByOther = Macros().DefaultConnection(); }).join();
  EXPECT_EQ(seenByOther, nullptr);
  EXPECT_EQ(Macros().DefaultConnection(), connection);
  Macros().DefaultConnection(nullptr);
}

TEST(AdoMacros, TypeMembersForwardToTheTypeFunctions) {
  const auto& macros = Macros();
  for (int16_t code = -1; code <= 20; ++code) {
    EXPECT_EQ(macros.VbTypeToStr(code), VbTypeToStr(code)) << code;
    EXPECT_EQ(macros.FieldDefaultValue(code).VarType(), FieldDefaultValue(code).VarType()) << code;
  }
  for (int32_t type = -1; type <= 210; ++type) {
    EXPECT_EQ(macros.FieldTypeConstToVb(type), FieldTypeConstToVb(type)) << type;
    EXPECT_EQ(macros.FieldTypeConstToStr(type), FieldTypeConstToStr(type)) << type;
  }
  for (std::string_view name : FieldTypeNames()) {
    EXPECT_EQ(macros.FieldTypeStringToConst(std::string(name)), FieldTypeStringToConst(std::string(name)));
  }
  EXPECT_EQ(macros.VbTypeToStr(3), "Long");
}

TEST(AdoMacros, ErrorsReachTheCallerUnchanged) {
  const auto e = test::RaisedError([] { Macros().FieldTypeStringToConst("Int"); });
  EXPECT_EQ(e.Number(), 20000);
  EXPECT_EQ(e.Description(), "Tipo dati sconosciuto.");
  EXPECT_EQ(e.Source(), "");
}

TEST(Macros, OnePerThread) { test::ExpectOnePerThread(Macros); }

TEST(Macros, IsASharedObject) {
  auto self = std::dynamic_pointer_cast<AdoMacros>(Macros().shared_from_this());
  EXPECT_EQ(self.get(), &Macros());
}

TEST(RegisterClasses, EveryPersistableClassCanBeCreatedByItsProgId) {
  Macros();
  for (const auto& progId : RegisteredProgIds()) {
    EXPECT_EQ(progId.rfind("Velmora.", 0), 0u) << progId;
    ASSERT_TRUE(com::ClassRegistry::IsRegistered(progId)) << progId;
    EXPECT_EQ(com::ClassRegistry::Create(progId)->ProgID(), progId);
  }
}

TEST(RegisterClasses, CanBeCalledAgain) {
  RegisterClasses();
  RegisterClasses();
  for (const auto& progId : RegisteredProgIds()) EXPECT_TRUE(com::ClassRegistry::IsRegistered(progId));
}

}  // namespace
}  // namespace velmora
