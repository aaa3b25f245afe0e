#include "trustlib/FileCertificateExceptionStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateExceptionImpl.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;

const std::string domain("host.test");

// Records that hash alike and differ: the boundary between domain and DER bytes moves.
std::unique_ptr<CertificateExceptionImpl> sameHash(unsigned split) {
  const std::string text("abcdefghijklm");
  const std::string name = text.substr(0, split);
  Chain chain{text.substr(split)};
  return std::make_unique<CertificateExceptionImpl>(1, &name, chain.list());
}

std::unique_ptr<CertificateExceptionImpl> record(const std::string& der = "leaf") {
  Chain chain{der};
  return std::make_unique<CertificateExceptionImpl>(4, &domain, chain.list());
}

class FileStore : public testing::Test {
 protected:
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(directory)) {
      found.push_back(entry.path().filename());
    }
    std::sort(found.begin(), found.end());
    return found;
  }

  static std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string pathOf(const std::string& name) const { return directory + "/" + name; }

  // Runs the body in `count` processes at once; the sum of what they return.
  template <class Body>
  static int inProcesses(int count, Body body) {
    int gate[2];
    EXPECT_EQ(0, pipe(gate));
    std::vector<pid_t> children;
    for (int i = 0; i < count; ++i) {
      const pid_t child = fork();
      if (child == 0) {
        close(gate[1]);
        char byte;
        const ssize_t ignored = read(gate[0], &byte, 1);  // all start when the last is there
        (void)ignored;
        _exit(body(i));
      }
      children.push_back(child);
    }
    close(gate[0]);
    close(gate[1]);
    int sum = 0;
    for (const pid_t child : children) {
      int status = 0;
      waitpid(child, &status, 0);
      EXPECT_TRUE(WIFEXITED(status));
      sum += WEXITSTATUS(status);
    }
    return sum;
  }

  TemporaryDirectory world;
  std::string directory = world.path("store");
  FileCertificateExceptionStore store{&directory};
};

TEST_F(FileStore, NullPathIsRefused) {
  EXPECT_THROWS(FileCertificateExceptionStore(nullptr), TrustManagerException,
                "FileCertificateExceptionStore: Invalid directory path - NULL");
}

TEST_F(FileStore, MakesItsDirectoryAndMissingParents) {
  const std::string deep = world.path("a/b/c");
  const FileCertificateExceptionStore other(&deep);
  EXPECT_TRUE(fs::is_directory(deep));
}

TEST_F(FileStore, DirectoryThatCannotBeMadeIsTheUtilitiesFailure) {
  const std::string below = world.write("file", "") + "/store";
  EXPECT_THROWS(FileCertificateExceptionStore{&below}, TrustManagerException,
                "FileUtilities::createDirectory - path is not a directory: " + world.path("file"));
}

TEST_F(FileStore, FirstRecordGetsTheNumberZero) {
  EXPECT_TRUE(store.addException(record().get()));
  EXPECT_THAT(names(), ElementsAre(MatchesRegex("cx_[0-9a-f]{40}_0\\.json")));
}

TEST_F(FileStore, FileHoldsExactlyTheEncodedRecord) {
  store.addException(record().get());
  EXPECT_EQ(R"({"version":1,"domain":"host.test","warnings":"4","chain":[{"der":"bGVhZg=="}]})",
            contentOf(pathOf(names().front())));
}

TEST_F(FileStore, RecordThatWasAddedExists) {
  EXPECT_FALSE(store.exceptionExists(record().get()));
  store.addException(record().get());
  EXPECT_TRUE(store.exceptionExists(record().get()));
  EXPECT_FALSE(store.exceptionExists(record("other").get()));
}

TEST_F(FileStore, EqualRecordIsNotAddedTwice) {
  store.addException(record().get());
  EXPECT_FALSE(store.addException(record().get()));
  EXPECT_EQ(1U, names().size());
}

TEST_F(FileStore, RecordsOutliveTheStore) {
  store.addException(record().get());
  { const FileCertificateExceptionStore other(&directory); }
  const FileCertificateExceptionStore third(&directory);
  EXPECT_TRUE(third.exceptionExists(record().get()));
}

TEST_F(FileStore, RecordsThatHashAlikeGetTheNextNumbers) {
  EXPECT_TRUE(store.addException(sameHash(1).get()));
  EXPECT_TRUE(store.addException(sameHash(2).get()));
  EXPECT_THAT(names(), ElementsAre(EndsWith("_0.json"), EndsWith("_1.json")));
  EXPECT_TRUE(store.exceptionExists(sameHash(1).get()));
  EXPECT_TRUE(store.exceptionExists(sameHash(2).get()));
  EXPECT_FALSE(store.exceptionExists(sameHash(3).get()));
}

TEST_F(FileStore, EleventhRecordOfOneHashFindsNoNumber) {
  for (unsigned split = 1; split <= 10; ++split) {
    EXPECT_TRUE(store.addException(sameHash(split).get()));
  }
  EXPECT_THROWS(store.addException(sameHash(11).get()), TrustManagerException,
                "Failed to create unique certificate exception filename");
  EXPECT_FALSE(store.exceptionExists(sameHash(11).get()));
  EXPECT_EQ(10U, names().size());
}

TEST_F(FileStore, SearchStopsAtAGap) {
  store.addException(sameHash(1).get());
  store.addException(sameHash(2).get());
  fs::remove(pathOf(names().front()));
  EXPECT_FALSE(store.exceptionExists(sameHash(2).get()));
}

TEST_F(FileStore, FileThatDoesNotDecodeMakesItsHashThrow) {
  store.addException(record().get());
  std::ofstream(pathOf(names().front())) << "{}";
  const char* const message = "PpsDecoder: Failed to perform get int on version, error = 3";
  EXPECT_THROWS(store.exceptionExists(record().get()), TrustManagerException, message);
  EXPECT_THROWS(store.addException(record().get()), TrustManagerException, message);
  EXPECT_FALSE(store.exceptionExists(record("other").get()));
}

TEST_F(FileStore, EmptyFileIsRefusedByTheCodec) {
  store.addException(record().get());
  std::ofstream(pathOf(names().front()), std::ios::trunc).flush();
  EXPECT_THROWS(store.exceptionExists(record().get()), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot decode empty buffer");
}

TEST_F(FileStore, TrailingSlashOfTheDirectoryIsKeptAndDoesNoHarm) {
  const std::string slashed = directory + "/";
  FileCertificateExceptionStore other(&slashed);
  EXPECT_TRUE(other.addException(record().get()));
  EXPECT_TRUE(store.exceptionExists(record().get()));
}

TEST_F(FileStore, RecordWithoutAHashIsRefused) {
  EXPECT_THROWS(store.addException(nullptr), TrustManagerException,
                "Failed to compute SHA1 hash for certificate exception");
}

TEST_F(FileStore, EmptyChainIsRefusedAndLeavesNothing) {
  const CertificateExceptionImpl empty(4, &domain, nullptr);
  EXPECT_THROWS(store.addException(&empty), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot encode empty certificate chain");
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(FileStore, ClearRemovesEveryJsonFileAndNothingElse) {
  store.addException(record().get());
  std::ofstream(pathOf("notes.json")) << "mine";
  std::ofstream(pathOf("cx_x_0.txt")) << "mine";
  store.clear();
  EXPECT_THAT(names(), ElementsAre("cx_x_0.txt"));
  EXPECT_FALSE(store.exceptionExists(record().get()));
}

TEST_F(FileStore, ClearEndsAtWhatCannotBeRemoved) {
  fs::create_directories(pathOf("full.json/inside"));
  EXPECT_THROWS(store.clear(), TrustManagerException,
                "FileUtilities::deleteFile - failed: Directory not empty");
  EXPECT_THAT(names(), ElementsAre("full.json"));
}

TEST_F(FileStore, ClearOfAVanishedDirectoryIsAFailure) {
  fs::remove(directory);
  EXPECT_THROWS(store.clear(), TrustManagerException,
                "FileUtilities::listFiles - failed to open directory");
}

TEST_F(FileStore, VanishedDirectoryIsAFailureToOpen) {
  fs::remove(directory);
  EXPECT_FALSE(store.exceptionExists(record().get()));
  EXPECT_THROWS(store.addException(record().get()), TrustManagerException,
                "FileUtilities::write - failed to open file");
}

TEST_F(FileStore, LinkToNothingInTheWayIsNotWrittenThrough) {
  store.addException(record().get());
  const std::string path = pathOf(names().front());
  fs::remove(path);
  fs::create_symlink(world.path("elsewhere"), path);
  EXPECT_THROWS(store.addException(record().get()), TrustManagerException,
                "Failed to create unique certificate exception filename");
  EXPECT_FALSE(fs::exists(world.path("elsewhere")));
  EXPECT_EQ(1U, names().size());
}

TEST_F(FileStore, RecordsAreNotForOthersToChange) {
  const mode_t before = umask(0);
  store.addException(record().get());
  umask(before);
  struct stat status {};
  ASSERT_EQ(0, stat(pathOf(names().front()).c_str(), &status));
  EXPECT_EQ(0644U, status.st_mode & 07777U);
}

TEST_F(FileStore, ProcessesThatAddOneRecordAtOnceWriteItOnce) {
  const int added = inProcesses(8, [&](int) {
    FileCertificateExceptionStore own(&directory);
    return own.addException(record().get()) ? 1 : 0;
  });
  EXPECT_EQ(1, added);
  EXPECT_THAT(names(), ElementsAre(EndsWith("_0.json")));
}

TEST_F(FileStore, ProcessesThatAddRecordsOfOneHashAtOnceLoseNone) {
  const int added = inProcesses(8, [&](int i) {
    FileCertificateExceptionStore own(&directory);
    return own.addException(sameHash(static_cast<unsigned>(i) + 1).get()) ? 1 : 0;
  });
  EXPECT_EQ(8, added);
  EXPECT_EQ(8U, names().size());
  for (unsigned split = 1; split <= 8; ++split) {
    EXPECT_TRUE(store.exceptionExists(sameHash(split).get()));
  }
}

}  // namespace
