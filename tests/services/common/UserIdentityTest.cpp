#include "services/common/UserIdentity.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "services/common/UserAccount.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

constexpr uid_t kStranger = 64123;

class UserIdentityTest : public testing::Test {
 protected:
  UserIdentityTest() : secret_(files_.write("secret", "content")) {
    std::filesystem::permissions(files_.path(), std::filesystem::perms(0711));
    std::filesystem::permissions(secret_, std::filesystem::perms(0600));
  }

  bool canRead() const {
    FILE* file = fopen(secret_.c_str(), "re");
    if (file == nullptr) return false;
    (void)fclose(file);
    return true;
  }

  TemporaryDirectory files_;
  std::string secret_;
};

TEST_F(UserIdentityTest, OwnUserChangesNothing) {
  const UserIdentity identity(lookUpUser(geteuid(), getegid()));
  EXPECT_TRUE(canRead());
}

TEST_F(UserIdentityTest, OtherUsersRightsCountWhileItLives) {
  if (geteuid() != 0) GTEST_SKIP() << "only root acts for others";
  const UserIdentity identity(lookUpUser(kStranger, kStranger));
  EXPECT_FALSE(canRead());
}

// The links of processes lead to files past folders that are closed to him.
TEST_F(UserIdentityTest, ProcessesOfOthersAreClosedWhileItLives) {
  if (geteuid() != 0) GTEST_SKIP() << "only root acts for others";
  const std::string link = "/proc/" + std::to_string(getppid()) + "/cwd";
  const UserIdentity identity(lookUpUser(kStranger, kStranger));
  char target[1];
  EXPECT_EQ(-1, readlink(link.c_str(), target, sizeof target));
}

TEST_F(UserIdentityTest, OwnRightsReturnAtItsEnd) {
  if (geteuid() != 0) GTEST_SKIP() << "only root acts for others";
  { const UserIdentity identity(lookUpUser(kStranger, kStranger)); }
  EXPECT_TRUE(canRead());
}

TEST_F(UserIdentityTest, AllPrivilegesReturnAtItsEnd) {
  const auto privileges = [] {
    std::ifstream status("/proc/thread-self/status");
    std::string all;
    for (std::string line; std::getline(status, line);) {
      if (line.rfind("Cap", 0) == 0 || line.rfind("Groups", 0) == 0) all += line;
    }
    return all;
  };
  if (geteuid() != 0) GTEST_SKIP() << "only root acts for others";
  const std::string before = privileges();
  { const UserIdentity identity(lookUpUser(kStranger, kStranger)); }
  EXPECT_EQ(before, privileges());
}

// The signal by which this process ends with its parent.
class SignalOfTheParentsEndTest : public UserIdentityTest {
 protected:
  SignalOfTheParentsEndTest() { prctl(PR_SET_PDEATHSIG, SIGURG); }
  ~SignalOfTheParentsEndTest() override { prctl(PR_SET_PDEATHSIG, 0); }

  static int signal() {
    int number = -1;
    prctl(PR_GET_PDEATHSIG, &number);
    return number;
  }
};

TEST_F(SignalOfTheParentsEndTest, StaysWhileItLives) {
  if (geteuid() != 0) GTEST_SKIP() << "only root acts for others";
  const UserIdentity identity(lookUpUser(kStranger, kStranger));
  EXPECT_EQ(SIGURG, signal());
}

TEST_F(SignalOfTheParentsEndTest, StaysAfterItsEnd) {
  if (geteuid() != 0) GTEST_SKIP() << "only root acts for others";
  { const UserIdentity identity(lookUpUser(kStranger, kStranger)); }
  EXPECT_EQ(SIGURG, signal());
}

TEST_F(UserIdentityTest, OtherThreadsKeepTheirRights) {
  if (geteuid() != 0) GTEST_SKIP() << "only root acts for others";
  std::promise<void> changed;
  std::future<bool> readable = std::async(std::launch::async, [&] {
    changed.get_future().wait();
    return canRead();
  });
  const UserIdentity identity(lookUpUser(kStranger, kStranger));
  changed.set_value();
  EXPECT_TRUE(readable.get());
}

// A service need not be root for it.
TEST_F(UserIdentityTest, WhoMaySetUserAndGroupActsForOthers) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives capabilities";
  constexpr uid_t kService = kStranger + 1;
  ASSERT_EQ(0, chown(secret_.c_str(), kStranger, kStranger));
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0);
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3] = {};
    data[0].effective = data[0].permitted = 1U << CAP_SETUID | 1U << CAP_SETGID;
    if (!becomeUser({kService, kService, {}, "", ""}) || syscall(SYS_capset, &header, data) != 0) {
      _exit(2);
    }
    if (canRead()) _exit(3);
    const UserIdentity identity(lookUpUser(kStranger, kStranger));
    _exit(canRead() ? 0 : 4);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST_F(UserIdentityTest, WhoIsNotRootActsForNobodyElse) {
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && !becomeUser({kStranger, kStranger, {}, "", ""})) _exit(2);
    try {
      const UserIdentity identity({geteuid() + 1, getegid(), {}, "somebody", ""});
    } catch (const std::runtime_error& refused) {
      const std::string reason = refused.what();
      _exit(reason == "the service runs as another user and does nothing for somebody" ? 0 : 3);
    }
    _exit(4);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
}

TEST_F(UserIdentityTest, UserWithoutANameIsCalledByHisNumber) {
  const UserAccount user = lookUpUser(kStranger, 77);
  EXPECT_EQ("64123", user.name);
  EXPECT_EQ(std::vector<gid_t>{77}, user.groups);
}

}  // namespace
