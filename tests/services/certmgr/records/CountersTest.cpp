#include "services/certmgr/records/Counters.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/certmgr/records/CountersAnswer.h"
#include "tests/support/Throws.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Counters, StartAtZero) {
  const Counters counters = Counters::create();
  EXPECT_EQ(0U, counters.value(Counters::requests));
  EXPECT_EQ(0U, counters.warningCount(Warning::REVOKED));
}

TEST(Counters, AddUpEachByItself) {
  Counters counters = Counters::create();
  counters.add(Counters::requests);
  counters.add(Counters::evaluationMicroseconds, 0x100000000);
  counters.add(Counters::evaluationMicroseconds, 1);
  EXPECT_EQ(1U, counters.value(Counters::requests));
  EXPECT_EQ(0x100000001U, counters.value(Counters::evaluationMicroseconds));
}

TEST(Counters, EachWarningOfASetCountsOnce) {
  Counters counters = Counters::create();
  counters.addWarnings(Warning::BC_NOT_CRITICAL | Warning::INVALID_ISSUER);
  counters.addWarnings(Warning::INVALID_ISSUER);
  EXPECT_EQ(1U, counters.warningCount(Warning::BC_NOT_CRITICAL));
  EXPECT_EQ(2U, counters.warningCount(Warning::INVALID_ISSUER));
  EXPECT_EQ(0U, counters.warningCount(Warning::REVOKED));
}

TEST(Counters, ThoseBehindTheDescriptorAreTheSame) {
  Counters first = Counters::create();
  Counters second = Counters::attach(dup(first.fd()));
  second.add(Counters::valid, 3);
  EXPECT_EQ(3U, first.value(Counters::valid));
}

TEST(Counters, ThreadsLoseNothing) {
  Counters counters = Counters::create();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 10000; ++j) counters.add(Counters::requests);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(40000U, counters.value(Counters::requests));
}

TEST(Counters, ProcessesCountTogether) {
  Counters counters = Counters::create();
  const pid_t child = fork();
  if (child == 0) {
    counters.add(Counters::requests, 5);
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  counters.add(Counters::requests, 2);
  EXPECT_EQ(7U, counters.value(Counters::requests));
}

TEST(Counters, DescriptorThatLeadsElsewhereIsRefused) {
  const OwnedFd other(memfd_create("empty", MFD_CLOEXEC));
  const int fd = other.get();
  EXPECT_THROWS(Counters::attach(fd), std::runtime_error,
                "cannot share counters: the descriptor " + std::to_string(fd) + " leads to none");
}

TEST(Counters, DescriptorThatIsNotOpenIsRefused) {
  EXPECT_THROWS(Counters::attach(-1), std::runtime_error,
                "cannot share counters: Bad file descriptor");
}

TEST(CountersAnswer, ShowsAllAsDecimalStrings) {
  Counters counters = Counters::create();
  counters.add(Counters::requests, 12345678901);
  counters.add(Counters::gaveUp, 2);
  counters.addWarnings(Warning::CERT_EXPIRY);
  EXPECT_THAT(encodeCounters(counters, "7"),
              AllOf(StartsWith("res::getcounters\nid::7\ndat:json:{\"requests\":\"12345678901\","
                               "\"errors\":\"0\",\"valid\":\"0\",\"invalid\":\"0\","
                               "\"remembered\":\"0\",\"gaveUp\":\"2\",\"storeLoads\":\"0\","
                               "\"evaluationMicroseconds\":\"0\",\"uptimeSeconds\":\""),
                    EndsWith("\",\"warnings\":{\"BC_NOT_CRITICAL\":\"0\",\"BC_PATH_LENGTH\":\"0\","
                             "\"UNKNOWN_CRITICAL_EXT\":\"0\",\"CERT_EXPIRY\":\"1\","
                             "\"KU_MISSING\":\"0\",\"KU_INVALID\":\"0\",\"BC_MISSING\":\"0\","
                             "\"BC_NOT_CA\":\"0\",\"NO_TRUSTED\":\"0\","
                             "\"INVALID_SIGNATURE\":\"0\",\"REVOKED\":\"0\","
                             "\"NAME_CONSTRAINTS\":\"0\",\"INVALID_ISSUER\":\"0\"}}\n")));
}

TEST(CountersAnswer, HasNoIdWhereTheRequestHadNone) {
  EXPECT_THAT(encodeCounters(Counters::create(), {}), HasSubstr("getcounters\ndat:"));
}

}  // namespace
