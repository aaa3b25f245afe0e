// The real program, run by root, and another user who asks it.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/common/UserIdentity.h"
#include "tests/services/certmgr/CertmgrdFixture.h"
#include "tests/services/certmgr/workers/ChildResult.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr uid_t kStranger = 64123;

class CertmgrdPeerTest : public CertmgrdTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root serves others";
    std::filesystem::permissions(files_.path(), std::filesystem::perms(0755));
    addToHashedDirectory(store_, root);
    leaf_ = write("leaf.der", leafByRoot());
    start();
  }

  // What a stranger is answered.
  static std::string askAsStranger(const std::string& text) {
    return resultOfChild([&text] {
      if (!becomeUser({kStranger, kStranger, {}, "", ""})) _exit(1);
      return ask(text);
    });
  }

  std::string leaf_;
};

TEST_F(CertmgrdPeerTest, FileThatHeCanReadIsJudged) {
  EXPECT_THAT(askAsStranger(request({leaf_})), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdPeerTest, FileThatHeCannotReadIsAnError) {
  std::filesystem::permissions(leaf_, std::filesystem::perms(0600));
  EXPECT_THAT(askAsStranger(request({leaf_})),
              AllOf(StartsWith("err::"), HasSubstr("Permission denied")));
}

TEST_F(CertmgrdPeerTest, WhatIsInAClosedDirectoryIsNotTold) {
  write("closed/a", root);
  std::filesystem::permissions(files_.path("closed"), std::filesystem::perms(0700));
  std::string missing = askAsStranger(request({files_.path("closed/b")}));
  missing.replace(missing.find("closed/b"), 8, "closed/a");
  EXPECT_EQ(askAsStranger(request({files_.path("closed/a")})), missing);
}

TEST_F(CertmgrdPeerTest, OwnRequestsAreReadAsBeforeAfterAStrangers) {
  askAsStranger(request({leaf_}));
  std::filesystem::permissions(leaf_, std::filesystem::perms(0600));
  EXPECT_THAT(ask(request({leaf_})), HasSubstr("\"VALID\""));
}

TEST_F(CertmgrdPeerTest, StoreThatOnlyTheServiceMayReadCountsForHimToo) {
  std::filesystem::permissions(files_.path("stores"), std::filesystem::perms(0700));
  EXPECT_THAT(askAsStranger(request({leaf_})), HasSubstr("\"VALID\""));
}

}  // namespace
