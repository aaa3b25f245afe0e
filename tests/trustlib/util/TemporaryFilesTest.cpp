#include "trustlib/util/TemporaryFiles.h"

#include <fcntl.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ServiceWorld.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"

namespace {

namespace fs = std::filesystem;

class TemporaryDer : public testing::Test {
 protected:
  std::set<std::string> left() const {
    std::set<std::string> names;
    const fs::path folder = fs::path(world.home()) / "tmp";
    if (fs::exists(folder)) {
      for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename());
      }
    }
    return names;
  }

  static std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  static void create(TemporaryFiles& files, const std::string& content) {
    files.createTemporaryFile(reinterpret_cast<const unsigned char*>(content.data()),
                              static_cast<unsigned int>(content.length()));
  }

  ServiceWorld world;
};

TEST_F(TemporaryDer, FilesLiveAsLongAsTheObject) {
  {
    TemporaryFiles files;
    create(files, "one");
    create(files, std::string("t\0o", 3));
    const std::list<std::string>* paths = files.getTemporaryFilePaths();
    ASSERT_EQ(2U, paths->size());
    EXPECT_EQ("one", contentOf(paths->front()));
    EXPECT_EQ(std::string("t\0o", 3), contentOf(paths->back()));
  }
  EXPECT_TRUE(left().empty());
}

TEST_F(TemporaryDer, ChainGivesOneFileACertificateInOrderWithoutNullEntries) {
  Chain chain{"leaf", "root"};
  chain.list()->insert(std::next(chain.list()->begin()), nullptr);
  TemporaryFiles files;
  files.createTemporaryCertificateFiles(chain.list());
  std::vector<std::string> contents;
  for (const std::string& path : *files.getTemporaryFilePaths()) {
    contents.push_back(contentOf(path));
  }
  EXPECT_EQ((std::vector<std::string>{"leaf", "root"}), contents);
}

TEST_F(TemporaryDer, FailedDeletionIsReported) {
  EXPECT_THROWS(
      {
        TemporaryFiles files;
        create(files, "x");
        unlink(files.getTemporaryFilePaths()->front().c_str());
      },
      TrustManagerException,
      std::string("FileUtilities::deleteFile - failed: ") + strerror(ENOENT));
}

TEST_F(TemporaryDer, FailedDeletionStaysSilentWhileAnotherExceptionIsInFlight) {
  EXPECT_THROWS(
      {
        TemporaryFiles files;
        create(files, "x");
        unlink(files.getTemporaryFilePaths()->front().c_str());
        throw TrustManagerException("the first failure");
      },
      TrustManagerException, "the first failure");
}

TEST_F(TemporaryDer, TakenNameIsPassedOverAndLeftAlone) {
  const fs::path folder = fs::path(world.home()) / "tmp";
  fs::create_directory(folder);
  std::set<std::string> taken;
  for (time_t second = time(nullptr); second < time(nullptr) + 5; ++second) {
    for (const char* counter : {"0", "1"}) {
      taken.insert(std::to_string(second) + counter + ".der");
    }
  }
  for (const std::string& name : taken) {
    std::ofstream(folder / name) << "somebody else's";
  }
  {
    TemporaryFiles files;
    create(files, "mine");
    const fs::path path = files.getTemporaryFilePaths()->front();
    EXPECT_EQ("2.der", path.string().substr(path.string().length() - 5));
    EXPECT_EQ("mine", contentOf(path));
  }
  EXPECT_EQ(taken, left());
  EXPECT_EQ("somebody else's", contentOf(folder / *taken.begin()));
}

TEST_F(TemporaryDer, LinkAtTheNameIsNotFollowed) {
  const fs::path folder = fs::path(world.home()) / "tmp";
  const fs::path victim = fs::path(world.home()) / "victim";
  fs::create_directory(folder);
  for (time_t second = time(nullptr); second < time(nullptr) + 5; ++second) {
    fs::create_symlink(victim, folder / (std::to_string(second) + "0.der"));
  }
  TemporaryFiles files;
  create(files, "mine");
  EXPECT_FALSE(fs::exists(victim));
}

TEST_F(TemporaryDer, DirectoryThatCannotBeWrittenIsAFailureToOpen) {
  fs::create_directory_symlink("/proc/self/fdinfo", fs::path(world.home()) / "tmp");
  TemporaryFiles files;
  EXPECT_THROWS(create(files, "x"), TrustManagerException,
                "FileUtilities::write - failed to open file");
  EXPECT_TRUE(files.getTemporaryFilePaths()->empty());
}

// Each thread keeps its files and looks at them again once all the others have made theirs.
bool everyThreadKeepsItsOwn(int threadCount) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(threadCount));
  std::vector<char> right(static_cast<std::size_t>(threadCount), 0);
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([i, &right] {
      const std::string mine = std::to_string(getpid()) + "/" + std::to_string(i);
      bool same = true;
      TemporaryFiles files;
      for (int n = 0; n < 50; ++n) {
        files.createTemporaryFile(reinterpret_cast<const unsigned char*>(mine.data()),
                                  static_cast<unsigned int>(mine.length()));
      }
      for (const std::string& path : *files.getTemporaryFilePaths()) {
        std::ifstream file(path, std::ios::binary);
        same = same && mine == std::string(std::istreambuf_iterator<char>(file), {});
      }
      right[static_cast<std::size_t>(i)] = same ? 1 : 0;
    });
  }
  bool all = true;
  for (int i = 0; i < threadCount; ++i) {
    threads[static_cast<std::size_t>(i)].join();
    all = all && right[static_cast<std::size_t>(i)] != 0;
  }
  return all;
}

TEST_F(TemporaryDer, ProcessesAndThreadsOfOneHomeNeverShareAFile) {
  std::vector<pid_t> children;
  for (int i = 0; i < 8; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      _exit(everyThreadKeepsItsOwn(4) ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  EXPECT_TRUE(left().empty());
}

}  // namespace
