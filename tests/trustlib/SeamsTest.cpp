// What the library hands to OpenSSL and to the system, where nothing else shows it. A program
// of its own, since it stands between the library and the functions it calls.

#include <openssl/x509_vfy.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/ScriptedService.h"
#include "tests/support/ServiceWorld.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateTrustInfoImpl.h"
#include "trustlib/DefaultTrustDialog.h"
#include "trustlib/TrustEngineImpl.h"
#include "trustlib/pps/PpsConnection.h"

namespace {

std::string lookedUpDirectory;
std::optional<long> waitedSeconds;
std::optional<ssize_t> scriptedRead;
std::vector<time_t> scriptedTimes;  // the next ones, the last of them for ever

}  // namespace

#define STANDS_BETWEEN extern "C" __attribute__((visibility("default")))

STANDS_BETWEEN int X509_LOOKUP_ctrl(X509_LOOKUP* lookup, int command, const char* argument,
                                    long number, char** result) {
  lookedUpDirectory = argument;
  using Real = int (*)(X509_LOOKUP*, int, const char*, long, char**);
  static const Real real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "X509_LOOKUP_ctrl"));
  return real(lookup, command, argument, number, result);
}

STANDS_BETWEEN int select(int, fd_set*, fd_set*, fd_set*, timeval* limit) {
  waitedSeconds = limit->tv_sec;
  return 1;
}

STANDS_BETWEEN ssize_t read(int fd, void* buffer, size_t size) {
  return scriptedRead ? *scriptedRead : syscall(SYS_read, fd, buffer, size);
}

STANDS_BETWEEN time_t time(time_t*) noexcept {
  if (scriptedTimes.empty()) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
  }
  const time_t now = scriptedTimes.front();
  if (scriptedTimes.size() > 1) {
    scriptedTimes.erase(scriptedTimes.begin());
  }
  return now;
}

namespace {

class Seams : public testing::Test {
 protected:
  // Verifies one chain, whatever comes of it.
  void verifyWith(const std::string* application, const std::string* storeClass) {
    const ScriptedService service(world.runtime(), "certmgr", "err::no");
    Chain chain{CertificateMaker("leaf").make().derString()};
    TrustEngineImpl engine(chain.list());
    engine.setTrustStore(application, storeClass);
    EXPECT_THROW(engine.verify(), TrustManagerException);
  }

  ServiceWorld world;
};

TEST_F(Seams, WithoutAStoreTheChainIsBuiltOverTheDefaultDirectory) {
  verifyWith(nullptr, nullptr);
  EXPECT_EQ("/var/certmgr/common/user_trusted", lookedUpDirectory);
}

TEST_F(Seams, DirectoryOfTheChosenStoreIsLowerCased) {
  const std::string application("BrowserApp");
  const std::string storeClass("Server_Trusted");
  verifyWith(&application, &storeClass);
  EXPECT_EQ("/var/certmgr/browserapp/server_trusted", lookedUpDirectory);
}

TEST_F(Seams, EngineWaitsForTheServiceForItsLongDefault) {
  verifyWith(nullptr, nullptr);
  EXPECT_EQ(30000, waitedSeconds);
}

TEST_F(Seams, ReadWithoutALimitNeverSelects) {
  const ScriptedService service(world.runtime(), "echo", "answer");
  PpsConnection connection("/pps/services/echo/control?wait");
  connection.write("x", 1);
  EXPECT_STREQ("answer", connection.read(-1));
  EXPECT_FALSE(waitedSeconds.has_value());
}

TEST_F(Seams, ReadThatReturnsAnotherNegativeCountIsAnEmptyBuffer) {
  const ScriptedService service(world.runtime(), "echo", "answer");
  PpsConnection connection("/pps/services/echo/control?wait");
  scriptedRead = -2;
  EXPECT_THROWS(connection.read(), TrustManagerException,
                "PpsConnection::read - response buffer is empty");
}

TEST_F(Seams, ReadThatReturnsMoreThanWasAskedForIsTooLittleSpace) {
  const ScriptedService service(world.runtime(), "echo", "answer");
  PpsConnection connection("/pps/services/echo/control?wait");
  scriptedRead = 16384;
  EXPECT_THROWS(connection.read(), TrustManagerException,
                "PpsConnection::read - not enough buffer space for response");
}

// How long a dialog that may take 60 seconds, and must have 10, waits for the user when its turn
// came that much later.
std::optional<long> secondsForTheUser(int invocationTimeout, long elapsed,
                                      time_t start = 1700000000) {
  const ServiceWorld world;
  const ScriptedService service(
      world.runtime(), "dialog",
      "dat:json:{\"resp_obj\":{\"accepted\":true,\"alwaysTrust\":false}}");
  Chain chain{"leaf"};
  CertificateTrustInfoImpl info(false, 0x100, nullptr, chain.list(), false);
  DefaultTrustDialog dialog(&info, nullptr);
  dialog.setDialogInvocationTimeout(invocationTimeout);
  // One for the name of the file, one before the wait and one after it.
  scriptedTimes = {start, start, start + elapsed};
  waitedSeconds.reset();
  EXPECT_TRUE(dialog.display());
  return waitedSeconds;
}

TEST(DialogTime, WithoutALimitTheUserHasForEver) {
  EXPECT_EQ(std::nullopt, secondsForTheUser(-1, 0));
}

TEST(DialogTime, IsTheWholeTimeWhenTheTurnCameAtOnce) {
  EXPECT_EQ(60, secondsForTheUser(60, 0));
}

TEST(DialogTime, IsWhatTheWaitLeft) {
  EXPECT_EQ(59, secondsForTheUser(60, 1));
}

TEST(DialogTime, IsWhatTheWaitLeftDownToTheLeastDisplayTime) {
  EXPECT_EQ(10, secondsForTheUser(60, 50));
}

TEST(DialogTime, FallsBackToTheWholeTimeOnPurposeWhenLessIsLeft) {
  EXPECT_EQ(60, secondsForTheUser(60, 51));
}

TEST(DialogTime, IsCountedOnAcrossTheEndOf32Bits) {
  EXPECT_EQ(40, secondsForTheUser(60, 20, 2147483640));
}

TEST(DialogTime, IsCountedOnAfterTheEndOf32Bits) {
  EXPECT_EQ(40, secondsForTheUser(60, 20, static_cast<time_t>(2379888000)));
}

TEST(DialogTime, FallsBackToTheWholeTimeWhenTheClockWasSetBack) {
  EXPECT_EQ(60, secondsForTheUser(60, -3600));
}

}  // namespace
