#include "services/certmgr/records/RequestRecords.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using std::chrono::microseconds;
using testing::HasSubstr;
using testing::StartsWith;

class RequestRecordsTest : public testing::Test {
 protected:
  RequestRecordsTest() {
    evaluation_.path = {ParsedCertificate::parse(CertificateMaker("a").make().derString())};
  }

  RequestRecords records(LogLevel level) const {
    return {Log(level, log_.get(), Log::Form::journal), Counters::attach(dup(counters_.fd()))};
  }
  Decision decision() const { return {{}, "common", "all", evaluation_, false, microseconds(7)}; }
  std::string log() const {
    std::ifstream file(files_.path("log"));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TemporaryDirectory files_;
  OwnedFd log_{open(files_.path("log").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)};
  Counters counters_ = Counters::create();
  Evaluation evaluation_;
};

TEST_F(RequestRecordsTest, DecisionIsInformation) {
  records(LogLevel::info).decided(decision());
  EXPECT_THAT(log(), StartsWith("<6>decision verdict=VALID "));
}

TEST_F(RequestRecordsTest, DecisionThatGaveUpIsAWarning) {
  evaluation_.gaveUp = true;
  records(LogLevel::warning).decided(decision());
  EXPECT_THAT(log(), StartsWith("<4>decision "));
}

TEST_F(RequestRecordsTest, EvidenceIsForDebugging) {
  evaluation_.findings = {{Reason::expired, 0, "not after 2025"}};
  records(LogLevel::debug).decided(decision());
  EXPECT_THAT(log(), HasSubstr("\n<7>finding reason=expired "));
}

TEST_F(RequestRecordsTest, RequestThatCannotBeUsedIsAWarning) {
  records(LogLevel::warning).refused({}, "why", microseconds(1), false);
  EXPECT_EQ("<4>refused err=why pid=-1 uid=-1 us=1\n", log());
}

TEST_F(RequestRecordsTest, FailureOfTheServiceIsAnError) {
  records(LogLevel::error).refused({}, "why", microseconds(1), true);
  EXPECT_EQ("<3>refused err=why pid=-1 uid=-1 us=1\n", log());
}

TEST_F(RequestRecordsTest, ReloadingIsInformation) {
  records(LogLevel::info).reloaded();
  EXPECT_EQ("<6>reloaded\n", log());
}

TEST_F(RequestRecordsTest, MissingRestrictionsAreOneWarning) {
  records(LogLevel::warning).unrestricted({"Landlock", "seccomp"});
  EXPECT_EQ("<4>this system does not offer Landlock, seccomp; going on without\n", log());
}

TEST_F(RequestRecordsTest, NoMissingRestrictionIsNoLine) {
  records(LogLevel::debug).unrestricted({});
  EXPECT_EQ("", log());
}

TEST_F(RequestRecordsTest, DecisionThatIsNotLoggedIsCountedAllTheSame) {
  evaluation_.gaveUp = true;
  evaluation_.findings = {{Reason::gaveUp, 0, ""}};
  records(LogLevel::error).decided(decision());
  EXPECT_EQ(1U, counters_.value(Counters::invalid));
  EXPECT_EQ(1U, counters_.value(Counters::gaveUp));
  EXPECT_EQ(1U, counters_.warningCount(Warning::NO_TRUSTED));
  EXPECT_EQ(7U, counters_.value(Counters::evaluationMicroseconds));
}

}  // namespace
