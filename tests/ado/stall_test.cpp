// A server that stops answering costs a call no more than its time-out and
// a second: the backend of the connection is stopped (SIGSTOP) while a
// statement runs or rows are fetched, and a listener that never answers
// stands for a server that accepts connections and then says nothing. Only
// a server engine can stall this way; the embedded engine's waits are its
// busy time-out, tested with the counters and locks.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <regex>

#include "ado/engine_fixture.hpp"
#include "support_common/raised_error.hpp"
#include "velmora/com/conversions.hpp"

namespace velmora::test {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Stops a server process until the object goes away.
class StoppedProcess {
 public:
  explicit StoppedProcess(int pid) : pid_(pid) {
    EXPECT_EQ(kill(pid_, SIGSTOP), 0) << "cannot stop " << pid_;
  }
  ~StoppedProcess() { kill(pid_, SIGCONT); }
  StoppedProcess(const StoppedProcess&) = delete;
  StoppedProcess& operator=(const StoppedProcess&) = delete;

 private:
  int pid_;
};

class StallTest : public EngineTest {
 protected:
  int BackendPid() {
    auto rs = cn->Execute("SELECT pg_backend_pid()");
    return com::CLng(rs->Fields()->Item(com::Variant(int32_t{0}))->Value());
  }
};

TEST_P(StallTest, AStatementOnAStalledServerFailsWithinItsTimeout) {
  cn->CommandTimeout(2);
  const int pid = BackendPid();
  {
    StoppedProcess stopped(pid);
    const auto start = Clock::now();
    EXPECT_NE(ErrorNumber([&] { cn->Execute("SELECT 1"); }), 0);
    EXPECT_LT(SecondsSince(start), 3.0);
  }
  // The connection is lost and says so at once.
  try {
    cn->Execute("SELECT 1");
    ADD_FAILURE() << "a lost connection ran a statement";
  } catch (const com::Error& e) {
    EXPECT_NE(std::string(e.Description()).find("connection is lost"), std::string::npos) << e.Description();
  }
  cn->Close();
  cn->Open();
  EXPECT_EQ(com::CLng(cn->Execute("SELECT 1")->Fields()->Item(com::Variant(int32_t{0}))->Value()), 1);
}

TEST_P(StallTest, AFetchFromAStalledServerFailsWithinItsTimeout) {
  cn->CommandTimeout(2);
  const int pid = BackendPid();
  auto rs = Open("SELECT g FROM generate_series(1, 10000) AS g");
  for (int i = 0; i < 10; ++i) rs->MoveNext();
  StoppedProcess stopped(pid);
  const auto start = Clock::now();
  EXPECT_NE(ErrorNumber([&] {
              while (!rs->IsEOF()) rs->MoveNext();
            }),
            0);
  EXPECT_LT(SecondsSince(start), 3.0);
}

TEST_P(StallTest, ATransactionOnAStalledServerFailsWithinItsTimeout) {
  const std::string t = Table("stalltx", "id INTEGER");
  cn->CommandTimeout(2);
  const int pid = BackendPid();
  cn->BeginTrans();
  cn->Execute("INSERT INTO " + t + " VALUES (1)");
  StoppedProcess stopped(pid);
  const auto start = Clock::now();
  EXPECT_NE(ErrorNumber([&] { cn->CommitTrans(); }), 0);
  EXPECT_LT(SecondsSince(start), 3.0);
}

// A listener on loopback that accepts connections and never answers.
class SilentListener {
 public:
  SilentListener() {
    fd_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(fd_, 8), 0);
    socklen_t length = sizeof address;
    getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
  }
  ~SilentListener() { close(fd_); }
  SilentListener(const SilentListener&) = delete;
  SilentListener& operator=(const SilentListener&) = delete;
  int Port() const { return port_; }

 private:
  int fd_ = -1;
  int port_ = 0;
};

TEST_P(StallTest, OpeningOnASilentServerFailsWithinTheConnectionTimeout) {
  SilentListener listener;
  const std::string silent = std::regex_replace(ConnectionString(), std::regex("PORT=[0-9]+"),
                                                "PORT=" + std::to_string(listener.Port()));
  auto other = std::make_shared<ado::Connection>();
  other->ConnectionTimeout(2);
  const auto start = Clock::now();
  EXPECT_NE(ErrorNumber([&] { other->Open(silent); }), 0);
  EXPECT_LT(SecondsSince(start), 3.0);
  EXPECT_EQ(other->State(), ado::adStateClosed);
}

INSTANTIATE_TEST_SUITE_P(Engines, StallTest, ServerEngines(), EngineName);

}  // namespace
}  // namespace velmora::test
