#include "services/common/CertificateFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"

namespace {

TEST(ReadOwnedFile, GivesAFileOfTheOwner) {
  const TemporaryDirectory directory;
  EXPECT_EQ("text", readOwnedFile(directory.write("f", "text"), 4, ::geteuid()));
}

TEST(ReadOwnedFile, RefusesAFileThatIsTooLong) {
  const TemporaryDirectory directory;
  EXPECT_THROW(readOwnedFile(directory.write("f", "text"), 3, ::geteuid()), std::runtime_error);
}

TEST(ReadOwnedFile, RefusesAFileOfAnotherUser) {
  const TemporaryDirectory directory;
  EXPECT_THROW(readOwnedFile(directory.write("f", "text"), 4, ::geteuid() + 1), std::runtime_error);
}

TEST(ReadOwnedFile, RefusesALink) {
  const TemporaryDirectory directory;
  const std::string link = directory.path("link");
  ASSERT_EQ(0, ::symlink(directory.write("f", "text").c_str(), link.c_str()));
  EXPECT_THROW(readOwnedFile(link, 4, ::geteuid()), std::runtime_error);
}

TEST(ReadOwnedFile, RefusesAPipeWithoutWaiting) {
  const TemporaryDirectory directory;
  const std::string pipe = directory.path("pipe");
  ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
  EXPECT_THROW(readOwnedFile(pipe, 4, ::geteuid()), std::runtime_error);
}

TEST(ReadPlainFile, FollowsALink) {
  const TemporaryDirectory directory;
  const std::string link = directory.path("link");
  ASSERT_EQ(0, ::symlink(directory.write("f", "text").c_str(), link.c_str()));
  EXPECT_EQ("text", readPlainFile(link, 4));
}

}  // namespace
