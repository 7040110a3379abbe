// Several processes editing one row through pessimistic recordsets, as the
// unique-key counters and table locks do: no update may be lost, every
// losing attempt must raise promptly, and of concurrent inserts of one key
// exactly one wins.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "ado/engine_fixture.hpp"
#include "support_common/child_process.hpp"
#include "velmora/com/conversions.hpp"
#include "velmora/com/error.hpp"

namespace velmora::test {
namespace {

using Clock = std::chrono::steady_clock;

enum ChildExit { kDone = 0, kSlowLoser = 2, kGaveUp = 3, kInserted = 0, kInsertRaised = 1, kRowExisted = 4 };

ado::RecordsetPtr OpenPessimistic(const ado::ConnectionPtr& cn, const std::string& sql) {
  auto rs = std::make_shared<ado::Recordset>();
  rs->Open(com::Variant(sql), com::Variant(cn), ado::adOpenDynamic, ado::adLockPessimistic, ado::adCmdText);
  return rs;
}

// Waits until a wall-clock start time (milliseconds since the epoch) shared by all children.
void WaitForStart(const std::string& startMs) {
  const auto start = std::chrono::system_clock::time_point(std::chrono::milliseconds(std::stoll(startMs)));
  std::this_thread::sleep_until(start);
}

std::string StartInMs(int delay) {
  const auto at = std::chrono::system_clock::now() + std::chrono::milliseconds(delay);
  return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(at.time_since_epoch()).count());
}

// args: connection string, table, increments wanted, start time, child index.
VELMORA_TEST_CHILD(edit_increment) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(args[0]);
  const std::string sql = "SELECT * FROM " + args[1] + " WHERE name = 'counter'";
  const int wanted = std::stoi(args[2]);
  WaitForStart(args[3]);
  const auto deadline = Clock::now() + std::chrono::seconds(90);
  int done = 0;
  bool slowLoser = false;
  while (done < wanted) {
    if (Clock::now() > deadline) return kGaveUp;
    const auto attempt = Clock::now();
    try {
      auto rs = OpenPessimistic(cn, sql);
      auto value = rs->Fields()->Item(com::Variant("value"));
      value->Value(com::Variant(com::CLng(value->Value()) + 1));
      rs->Update();
      rs->Close();
      ++done;
    } catch (const com::Error&) {
      if (Clock::now() - attempt > std::chrono::seconds(1)) slowLoser = true;
    }
  }
  return slowLoser ? kSlowLoser : kDone;
}

// args: connection string, table, start time, child index.
VELMORA_TEST_CHILD(edit_insert_key) {
  auto cn = std::make_shared<ado::Connection>();
  cn->Open(args[0]);
  auto rs = OpenPessimistic(cn, "SELECT * FROM " + args[1] + " WHERE name = 'only'");
  WaitForStart(args[2]);
  if (!rs->IsEOF()) return kRowExisted;
  try {
    rs->AddNew();
    rs->Fields()->Item(com::Variant("name"))->Value(com::Variant("only"));
    rs->Fields()->Item(com::Variant("value"))->Value(com::Variant(std::stoi(args[3])));
    rs->Update();
  } catch (const com::Error&) {
    return kInsertRaised;
  }
  return kInserted;
}

class EditConcurrencyTest : public EngineTest {
 protected:
  std::string CounterTable(const std::string& base = "counter") {
    return Table(base, "name VARCHAR(20) NOT NULL UNIQUE, value INTEGER");
  }
};

TEST_P(EditConcurrencyTest, IncrementsFromManyProcessesAreNeverLost) {
  const std::string t = CounterTable();
  cn->Execute("INSERT INTO " + t + " VALUES ('counter', 0)");
  int expected = 0;
  for (int processes : {2, 8}) {
    const int each = processes == 2 ? 40 : 15;
    auto codes = WaitAll(SpawnChildren("edit_increment", {ConnectionString(), t, std::to_string(each), StartInMs(300)},
                                       processes));
    for (int code : codes) EXPECT_EQ(code, kDone) << processes << " processes (2: a loser waited over a second)";
    expected += processes * each;
    auto rs = cn->Execute("SELECT value FROM " + t);
    EXPECT_EQ(com::CLng(rs->Fields()->Item(com::Variant("value"))->Value()), expected);
  }
}

TEST_P(EditConcurrencyTest, OfConcurrentInsertsOfOneKeyExactlyOneWins) {
  for (int round = 0; round < 3; ++round) {
    const std::string t = CounterTable("key" + std::to_string(round));
    auto codes = WaitAll(SpawnChildren("edit_insert_key", {ConnectionString(), t, StartInMs(400)}, 6));
    int winners = 0;
    for (int code : codes) {
      EXPECT_TRUE(code == kInserted || code == kInsertRaised || code == kRowExisted) << code;
      winners += code == kInserted;
    }
    EXPECT_EQ(winners, 1);
    auto rs = cn->Execute("SELECT COUNT(*) FROM " + t);
    EXPECT_EQ(com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value()), 1);
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, EditConcurrencyTest,
                         ::testing::Values(TestEngine::SQLite, TestEngine::SQLiteDelete, TestEngine::PostgreSQL),
                         EngineName);

}  // namespace
}  // namespace velmora::test
