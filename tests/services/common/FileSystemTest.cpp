#include "services/common/FileSystem.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "services/common/CertificateFiles.h"
#include "services/common/ProgramFiles.h"
#include "tests/support/FarDate.h"
#include "tests/support/KeptVariable.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

class FileSystem : public testing::Test {
 protected:
  const KeptVariable temporary{"TMPDIR"};
  TemporaryDirectory directory;
  const std::string file = directory.write("file", "content");
};

// The same world, dated past 2038.
class FarDatedFiles : public FileSystem {
 protected:
  FarDatedFiles() { EXPECT_EQ(0, symlink(file.c_str(), link.c_str())); }

  void SetUp() override {
    if (!setDate(link, kFarDate) || !setDate(file, kFarDate) ||
        !setDate(directory.path(), kFarDate)) {
      GTEST_SKIP() << kNoSuchDate;
    }
  }

  const std::string link = directory.path("link");
};

TEST_F(FileSystem, PlainFileIsOne) {
  EXPECT_TRUE(isPlainFile(file));
  EXPECT_FALSE(isPlainFile(directory.path()));
  EXPECT_FALSE(isPlainFile(directory.path("missing")));
}

TEST_F(FileSystem, DirectoryIsOne) {
  EXPECT_TRUE(isDirectory(directory.path()));
  EXPECT_FALSE(isDirectory(file));
  EXPECT_FALSE(isDirectory(directory.path("missing")));
}

TEST_F(FileSystem, WhatIsThereExists) {
  EXPECT_TRUE(pathExists(file));
  EXPECT_TRUE(pathExists(directory.path()));
  EXPECT_FALSE(pathExists(directory.path("missing")));
}

TEST_F(FileSystem, LinkHasItsTarget) {
  const std::string link = directory.path("link");
  ASSERT_EQ(0, symlink("nowhere/at/all", link.c_str()));
  EXPECT_EQ("nowhere/at/all", linkTarget(link));
}

TEST_F(FileSystem, PlainFileHasNoTarget) {
  EXPECT_EQ("", linkTarget(file));
  EXPECT_EQ(EINVAL, errno);
}

TEST_F(FileSystem, MissingDirectoriesAreMade) {
  EXPECT_EQ(0, makeDirectories(directory.path("a/b/c")));
  EXPECT_TRUE(isDirectory(directory.path("a/b/c")));
}

TEST_F(FileSystem, MadeDirectoriesHaveWhatTheMaskLeaves) {
  const mode_t before = umask(027);
  EXPECT_EQ(0, makeDirectories(directory.path("a")));
  umask(before);
  struct stat status = {};
  ASSERT_EQ(0, stat(directory.path("a").c_str(), &status));
  EXPECT_EQ(0750U, status.st_mode & 0777U);
}

TEST_F(FileSystem, DirectoriesThatAreThereAreTaken) {
  EXPECT_EQ(0, makeDirectories(directory.path()));
  EXPECT_EQ(0, makeDirectories(directory.path() + "//"));
  EXPECT_EQ(0, makeDirectories("/"));
}

TEST_F(FileSystem, NoDirectoryIsMadeOverAFile) {
  EXPECT_EQ(ENOTDIR, makeDirectories(file));
  EXPECT_EQ(ENOTDIR, makeDirectories(file + "/below"));
}

TEST_F(FileSystem, TemporaryFilesGoWhereTheVariableSays) {
  temporary.set(directory.path());
  EXPECT_EQ(directory.path(), temporaryDirectory());
}

TEST_F(FileSystem, TemporaryFilesGoToTheUsualPlaceWhenTheVariableNamesNone) {
  temporary.set(directory.path("missing"));
  EXPECT_EQ("/tmp", temporaryDirectory());
}

TEST_F(FarDatedFiles, FileAndDirectoryAreStillThat) {
  EXPECT_TRUE(isPlainFile(file));
  EXPECT_TRUE(isPlainFile(link));
  EXPECT_TRUE(isDirectory(directory.path()));
}

TEST_F(FarDatedFiles, LinkStillHasItsTarget) {
  EXPECT_EQ(file, linkTarget(link));
}

TEST_F(FarDatedFiles, DirectoriesAreMadeInADirectory) {
  EXPECT_EQ(0, makeDirectories(directory.path("a/b")));
}

TEST_F(FarDatedFiles, TemporaryFilesGoWhereTheVariableSays) {
  temporary.set(directory.path());
  EXPECT_EQ(directory.path(), temporaryDirectory());
}

TEST_F(FarDatedFiles, ProgramIsStillOne) {
  ASSERT_EQ(0, chmod(file.c_str(), 0755));
  EXPECT_TRUE(isProgram(file));
}

TEST_F(FarDatedFiles, FileIsStillRead) {
  EXPECT_EQ("content", readPlainFile(file, 100));
  EXPECT_EQ("content", readCertificateFile(file));
}

// A system call for opening takes no file past 2 GiB from a 32-bit program that does not say so.
TEST_F(FileSystem, FileOfManyGibibytesIsTooLongAndNotUnreadable) {
  const off_t size = off_t{5} << 30;
  ASSERT_EQ(0, truncate(file.c_str(), size));
  try {
    readCertificateFile(file);
    ADD_FAILURE() << "it was read";
  } catch (const std::runtime_error& failure) {
    EXPECT_EQ("cannot use the file " + file + ": it is longer than 65536 bytes",
              std::string(failure.what()));
  }
}

}  // namespace
