#include "services/certmgr/workers/PeerFiles.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/objects/ControlSocket.h"
#include "services/common/UserIdentity.h"
#include "tests/services/certmgr/workers/ChildResult.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::HasSubstr;

constexpr uid_t kUserOfTheService = 64123;
constexpr uid_t kPeer = 64124;
constexpr const char* kContent = "content";
constexpr const char* kRefusal = "one of the two may not read it";

using Groups = std::optional<std::vector<gid_t>>;

ControlRequest requestOf(uid_t uid, Groups groups) {
  ControlRequest request;
  request.uid = uid;
  request.gid = uid;
  request.groups = std::move(groups);
  return request;
}

// What the file holds, or why it cannot be read.
std::string readFor(const ControlRequest& request, const std::string& path) {
  try {
    return PeerFiles(request).read(path);
  } catch (const std::runtime_error& refused) {
    return refused.what();
  }
}

// A service without any privilege, in a process of its own when root runs the test.
class PeerFilesTest : public testing::Test {
 protected:
  PeerFilesTest() : file_(write("file")) {
    std::filesystem::permissions(files_.path(), std::filesystem::perms(0755));
  }

  std::string write(const std::string& name, mode_t mode = 0644) const {
    std::string path = files_.write(name, kContent);
    EXPECT_EQ(0, chmod(path.c_str(), mode));
    if (geteuid() == 0) {
      EXPECT_EQ(0, chown(path.c_str(), kUserOfTheService, kUserOfTheService));
    }
    return path;
  }

  static uid_t userOfTheService() { return geteuid() == 0 ? kUserOfTheService : geteuid(); }

  static std::string readFor(const ControlRequest& request, const std::string& path) {
    return resultOfChild([&] {
      if (geteuid() == 0 && !becomeUser({kUserOfTheService, kUserOfTheService, {}, "", ""})) {
        _exit(1);
      }
      return ::readFor(request, path);
    });
  }

  static std::string readForPeer(const std::string& path, Groups groups = {{}}) {
    return readFor(requestOf(kPeer, std::move(groups)), path);
  }

  static gid_t groupOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(0, stat(path.c_str(), &status));
    return status.st_gid;
  }

  std::string directory(const std::string& name, mode_t mode) const {
    std::filesystem::create_directories(files_.path(name));
    EXPECT_EQ(0, chmod(files_.path(name).c_str(), mode));
    if (geteuid() == 0) {
      EXPECT_EQ(0, chown(files_.path(name).c_str(), kUserOfTheService, kUserOfTheService));
    }
    return files_.path(name);
  }

  std::string link(const std::string& name, const std::string& target) const {
    std::filesystem::create_symlink(target, files_.path(name));
    return files_.path(name);
  }

  TemporaryDirectory files_;
  std::string file_;
};

TEST_F(PeerFilesTest, FileThatEverybodyMayReadIsRead) {
  EXPECT_EQ(kContent, readForPeer(file_));
}

TEST_F(PeerFilesTest, FileThatTheServiceAloneMayReadIsRefused) {
  EXPECT_THAT(readForPeer(write("closed", 0600)), HasSubstr(kRefusal));
}

TEST_F(PeerFilesTest, FileInAClosedDirectoryIsRefused) {
  const std::string path = write("closed/file");
  directory("closed", 0700);
  EXPECT_THAT(readForPeer(path), HasSubstr(kRefusal));
}

TEST_F(PeerFilesTest, MissingFileInAClosedDirectoryIsToldApartFromNoOther) {
  const std::string there = write("closed/a");
  directory("closed", 0700);
  std::string missing = readForPeer(files_.path("closed/b"));
  missing.replace(missing.find("closed/b"), 8, "closed/a");
  EXPECT_EQ(readForPeer(there), missing);
}

TEST_F(PeerFilesTest, MissingFileInAnOpenDirectoryIsCalledMissing) {
  EXPECT_THAT(readForPeer(files_.path("missing")), HasSubstr("No such file or directory"));
}

TEST_F(PeerFilesTest, FileInADirectoryThatCanBeSearchedAndNotListedIsRead) {
  const std::string path = write("hidden/file");
  directory("hidden", 0711);
  EXPECT_EQ(kContent, readForPeer(path));
}

TEST_F(PeerFilesTest, FileOfOneOfHisGroupsIsRead) {
  const std::string path = write("shared", 0640);
  EXPECT_EQ(kContent, readForPeer(path, {{groupOf(path)}}));
}

TEST_F(PeerFilesTest, FileThatAllButHisGroupMayReadIsRefused) {
  const std::string path = write("shunned", 0604);
  EXPECT_THAT(readForPeer(path, {{groupOf(path)}}), HasSubstr(kRefusal));
}

TEST_F(PeerFilesTest, FileOfHisThatHeAloneMayNotReadIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  const std::string path = write("own", 0044);
  ASSERT_EQ(0, chown(path.c_str(), kPeer, kPeer));
  EXPECT_THAT(readForPeer(path), HasSubstr(kRefusal));
}

TEST_F(PeerFilesTest, LinkIsFollowed) {
  EXPECT_EQ(kContent, readForPeer(link("relative", "file")));
  EXPECT_EQ(kContent, readForPeer(link("absolute", file_)));
}

TEST_F(PeerFilesTest, LinkToADirectoryIsFollowed) {
  write("below/file");
  directory("below", 0755);
  link("link", "./below/../below");
  EXPECT_EQ(kContent, readForPeer(files_.path("link/file")));
}

TEST_F(PeerFilesTest, LinkIntoAClosedDirectoryIsRefused) {
  write("closed/file");
  directory("closed", 0700);
  EXPECT_THAT(readForPeer(link("link", "closed/file")), HasSubstr(kRefusal));
}

TEST_F(PeerFilesTest, LinksInARingEnd) {
  link("a", "b");
  EXPECT_THAT(readForPeer(link("b", "a")), HasSubstr("Too many levels of symbolic links"));
}

TEST_F(PeerFilesTest, FileThatIsUsedAsADirectoryIsRefused) {
  EXPECT_THAT(readForPeer(file_ + "/"), HasSubstr("Not a directory"));
}

TEST_F(PeerFilesTest, PipeIsNotWaitedFor) {
  const std::string path = files_.path("pipe");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0644));
  ASSERT_EQ(0, chmod(path.c_str(), 0644));
  EXPECT_THAT(readForPeer(path), HasSubstr("it is not a plain file"));
}

TEST_F(PeerFilesTest, PathThatIsNotAbsoluteIsRefused) {
  EXPECT_THAT(readForPeer("file"), HasSubstr("the path is not absolute"));
  EXPECT_THAT(readForPeer(""), HasSubstr("the path is not absolute"));
}

// Modes tell little there, and some links lead past all of them.
TEST_F(PeerFilesTest, FileAboutProcessesIsRefused) {
  EXPECT_THAT(readForPeer("/proc/version"), HasSubstr(kRefusal));
}

TEST_F(PeerFilesTest, FileWithAnAccessControlListIsRefused) {
  const std::string path = write("listed");
  struct Entry {
    std::uint16_t tag, rights;
    std::uint32_t who;
  };
  struct {
    std::uint32_t version = 2;
    // The owner, one user, the group, the mask, the others.
    std::array<Entry, 5> entries = {{{1, 6, 0xffffffff},
                                     {2, 0, kPeer},
                                     {4, 4, 0xffffffff},
                                     {16, 4, 0xffffffff},
                                     {32, 4, 0xffffffff}}};
  } list;
  if (setxattr(path.c_str(), "system.posix_acl_access", &list, sizeof list, 0) != 0) {
    GTEST_SKIP() << "no access control lists here";
  }
  EXPECT_THAT(readForPeer(path), HasSubstr(kRefusal));
}

TEST_F(PeerFilesTest, OwnUserReadsWhatTheServiceCan) {
  EXPECT_EQ(kContent, readFor(requestOf(userOfTheService(), {{}}), write("closed", 0600)));
}

TEST_F(PeerFilesTest, RootReadsWhatTheServiceCan) {
  EXPECT_EQ(kContent, readFor(requestOf(0, {{}}), write("closed", 0600)));
}

TEST_F(PeerFilesTest, UnknownUserReadsNothing) {
  EXPECT_EQ("the system does not tell who asks",
            readFor(requestOf(static_cast<uid_t>(-1), {{}}), file_));
}

TEST_F(PeerFilesTest, UserOfUnknownGroupsReadsNothing) {
  EXPECT_THAT(readForPeer(file_, std::nullopt), HasSubstr("does not tell the groups of user"));
}

// A service of root acts for whoever asks.
class PeerFilesOfRootTest : public PeerFilesTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root acts for others";
  }
};

TEST_F(PeerFilesOfRootTest, FileThatHeMayReadIsRead) {
  EXPECT_EQ(kContent, ::readFor(requestOf(kPeer, {{}}), file_));
}

TEST_F(PeerFilesOfRootTest, FileThatHeMayNotReadIsRefused) {
  EXPECT_THAT(::readFor(requestOf(kPeer, {{}}), write("closed", 0600)),
              HasSubstr("Permission denied"));
}

TEST_F(PeerFilesOfRootTest, FileOfOneOfHisGroupsIsRead) {
  EXPECT_EQ(kContent, ::readFor(requestOf(kPeer, {{kUserOfTheService}}), write("shared", 0640)));
}

TEST_F(PeerFilesOfRootTest, UserOfUnknownGroupsIsLookedUp) {
  EXPECT_EQ(kContent, ::readFor(requestOf(kPeer, std::nullopt), file_));
}

TEST_F(PeerFilesOfRootTest, OwnRightsReturnAtItsEnd) {
  ::readFor(requestOf(kPeer, {{}}), file_);
  EXPECT_EQ(kContent, ::readFor(requestOf(0, {{}}), write("closed", 0600)));
}

}  // namespace
