#include "trustlib/util/FileUtilities.h"

#include <string.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/ServiceWorld.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"

namespace {

namespace fs = std::filesystem;

class Files : public testing::Test {
 protected:
  std::string at(const std::string& name) const { return directory.path(name); }

  std::string write(const std::string& name, const std::string& content) const {
    std::string path = at(name);
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

  static std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  static std::string read(const std::string& path) {
    unsigned char* data = nullptr;
    unsigned int length = 0;
    FileUtilities::readFile(&path, &data, &length);
    std::string content(reinterpret_cast<char*>(data), length);
    free(data);
    return content;
  }

  TemporaryDirectory directory;
};

TEST_F(Files, PathExistsForFilesAndDirectoriesAlike) {
  const std::string file = write("file", "");
  const std::string folder = directory.path();
  const std::string missing = at("missing");
  EXPECT_TRUE(FileUtilities::pathExists(&file));
  EXPECT_TRUE(FileUtilities::pathExists(&folder));
  EXPECT_FALSE(FileUtilities::pathExists(&missing));
}

TEST_F(Files, DeleteFileRemovesIt) {
  const std::string file = write("file", "");
  FileUtilities::deleteFile(&file);
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(Files, DeleteOfAMissingFileCarriesTheSystemsReason) {
  const std::string missing = at("missing");
  EXPECT_THROWS(FileUtilities::deleteFile(&missing), TrustManagerException,
                std::string("FileUtilities::deleteFile - failed: ") + strerror(ENOENT));
}

TEST_F(Files, DeleteFilesStopsAtTheFirstFailure) {
  const std::string first = write("first", "");
  const std::string last = write("last", "");
  const std::list<std::string> paths = {first, at("missing"), last};
  EXPECT_THROW(FileUtilities::deleteFiles(&paths), TrustManagerException);
  EXPECT_FALSE(fs::exists(first));
  EXPECT_TRUE(fs::exists(last));
}

TEST_F(Files, EmptyDirectoryListsItselfAndItsParentAfterWhatIsInTheList) {
  const std::string folder = directory.path();
  std::list<std::string> names = {"old"};
  FileUtilities::listFiles(&folder, &names);
  EXPECT_EQ("old", names.front());
  EXPECT_EQ((std::set<std::string>{"old", ".", ".."}),
            std::set<std::string>(names.begin(), names.end()));
}

TEST_F(Files, ListingGivesNamesWithoutTheDirectory) {
  write("file.json", "");
  const std::string folder = directory.path();
  std::list<std::string> names;
  FileUtilities::listFiles(&folder, &names);
  EXPECT_EQ((std::set<std::string>{".", "..", "file.json"}),
            std::set<std::string>(names.begin(), names.end()));
}

TEST_F(Files, ListingRefusesNullAndMissingDirectories) {
  std::list<std::string> names;
  const std::string missing = at("missing");
  EXPECT_THROWS(FileUtilities::listFiles(nullptr, &names), TrustManagerException,
                "FileUtilities::listFiles - cannot list contents of directory with NULL name");
  EXPECT_THROWS(FileUtilities::listFiles(&missing, nullptr), TrustManagerException,
                "FileUtilities::listFiles - cannot record directory contents into NULL list");
  EXPECT_THROWS(FileUtilities::listFiles(&missing, &names), TrustManagerException,
                "FileUtilities::listFiles - failed to open directory");
}

TEST_F(Files, StoreDirectoryIsMadeWithItsParentsAndMode) {
  const mode_t previous = umask(0);
  const std::string path = at("a//b/c/");
  FileUtilities::createCertificateExceptionStoreDir(&path);
  umask(previous);
  EXPECT_TRUE(fs::is_directory(at("a/b/c")));
  struct stat status {};
  ASSERT_EQ(0, stat(at("a/b").c_str(), &status));
  EXPECT_EQ(0775U, status.st_mode & 07777U);
}

TEST_F(Files, ExistingDirectoriesAreAcceptedAsTheyAre) {
  const std::string path = at("a");
  fs::create_directory(path);
  fs::permissions(path, fs::perms::owner_all);
  FileUtilities::createCertificateExceptionStoreDir(&path);
  EXPECT_EQ(fs::perms::owner_all, fs::status(path).permissions());
}

TEST_F(Files, FileInTheMiddleOfThePathIsNamed) {
  const std::string file = write("file", "");
  const std::string path = file + "/below";
  EXPECT_THROWS(FileUtilities::createCertificateExceptionStoreDir(&path), TrustManagerException,
                "FileUtilities::createDirectory - path is not a directory: " + file);
}

TEST_F(Files, DirectoryThatCannotBeMadeIsNamed) {
  const std::string path = "/proc/nothing-grows-here/below";
  EXPECT_THROWS(FileUtilities::createCertificateExceptionStoreDir(&path), TrustManagerException,
                "FileUtilities::createDirectory - failed to create directory: "
                "/proc/nothing-grows-here");
}

TEST_F(Files, PathOfSlashesAndSpacesMakesNothing) {
  for (const std::string path : {"", "/", " / / "}) {
    EXPECT_NO_THROW(FileUtilities::createCertificateExceptionStoreDir(&path));
  }
}

TEST_F(Files, RelativePathIsMadeBelowTheCurrentDirectory) {
  const fs::path previous = fs::current_path();
  fs::current_path(directory.path());
  const std::string path = "x/y";
  FileUtilities::createCertificateExceptionStoreDir(&path);
  fs::current_path(previous);
  EXPECT_TRUE(fs::is_directory(at("x/y")));
}

TEST_F(Files, WriteReplacesWhatIsThere) {
  const std::string path = write("file", "longer than before");
  FileUtilities::writeFile(&path, reinterpret_cast<const unsigned char*>("a\r\n\0b"), 5);
  EXPECT_EQ(std::string("a\r\n\0b", 5), contentOf(path));
}

TEST_F(Files, WriteIntoAMissingDirectoryIsAFailureToOpen) {
  const std::string path = at("missing/file");
  EXPECT_THROWS(FileUtilities::writeFile(&path, nullptr, 0), TrustManagerException,
                "FileUtilities::write - failed to open file");
}

TEST_F(Files, ReadGivesEveryByte) {
  const std::string content("a\r\n\0\xFF", 5);
  EXPECT_EQ(content, read(write("file", content)));
}

TEST_F(Files, EmptyFileReadsAsNothing) {
  EXPECT_EQ("", read(write("file", "")));
}

TEST_F(Files, MissingFileIsAFailureToOpen) {
  EXPECT_THROWS(read(at("missing")), TrustManagerException,
                "FileUtilities::readFile - failed to open file");
}

TEST_F(Files, DirectoryCannotBeReadAsAFile) {
  EXPECT_THROW(read(directory.path()), TrustManagerException);
}

TEST_F(Files, FileTooLargeForABufferIsRefused) {
  const std::string path = write("sparse", "");
  fs::resize_file(path, 0x100000000ULL);
  EXPECT_THROWS(read(path), TrustManagerException,
                "FileUtilities::readFile - failed to allocate buffer");
}

std::string storeDirectory() {
  std::string path("store: ");
  FileUtilities::getLocalCertificateExceptionStoreDirPath(&path);
  return path;
}

std::string temporaryPath() {
  std::string path;
  FileUtilities::createTemporaryFilePath(&path);
  return path;
}

TEST(HomeDirectory, StoreLiesBelowHomeAndIsAppended) {
  const ServiceWorld world;
  EXPECT_EQ("store: " + fs::canonical(world.home()).string() + "/vallorin/certexcept",
            storeDirectory());
}

TEST(HomeDirectory, NullStoreDirectoryStringDoesNothing) {
  EXPECT_NO_THROW(FileUtilities::getLocalCertificateExceptionStoreDirPath(nullptr));
}

TEST(HomeDirectory, LinksInHomeAreResolved) {
  const ServiceWorld world;
  const std::string link = world.home() + "/link";
  fs::create_directory(world.home() + "/real");
  fs::create_directory_symlink(world.home() + "/real", link);
  setenv("HOME", link.c_str(), 1);
  const std::string real = fs::canonical(world.home()).string() + "/real";
  EXPECT_EQ("store: " + real + "/vallorin/certexcept", storeDirectory());
  EXPECT_EQ(0U, temporaryPath().find(real + "/tmp/"));
}

TEST(HomeDirectory, WithoutHomeItIsTheFixedPlace) {
  unsetenv("HOME");
  EXPECT_EQ("store: /var/temp/vallorin/certexcept", storeDirectory());
}

TEST(HomeDirectory, HomeThatDoesNotResolveCountsAsUnset) {
  setenv("HOME", "/no/such/place", 1);
  EXPECT_EQ("store: /var/temp/vallorin/certexcept", storeDirectory());
}

TEST(HomeDirectory, EmptyHomeCountsAsUnset) {
  setenv("HOME", "", 1);
  EXPECT_EQ("store: /var/temp/vallorin/certexcept", storeDirectory());
}

TEST(HomeDirectory, IsLookedUpOnceForTheLifeOfTheProcess) {
  const ServiceWorld world;
  const std::string first = storeDirectory();
  setenv("HOME", "/", 1);
  EXPECT_EQ(first, storeDirectory());
}

TEST(TemporaryFilePath, IsTimeThenCounterInTheHomeDirectorysTmp) {
  const ServiceWorld world;
  const std::string before = std::to_string(time(nullptr));
  const std::string path = temporaryPath();
  const std::string after = std::to_string(time(nullptr));
  const std::string prefix = fs::canonical(world.home()).string() + "/tmp/";
  EXPECT_TRUE(path == prefix + before + "0.der" || path == prefix + after + "0.der") << path;
  EXPECT_TRUE(fs::is_directory(prefix));
}

TEST(TemporaryFilePath, PathsOfOneSecondDifferByTheCounter) {
  const ServiceWorld world;
  const std::string first = temporaryPath();
  const std::string second = temporaryPath();
  EXPECT_EQ("0.der", first.substr(first.length() - 5));
  EXPECT_EQ("1.der", second.substr(second.length() - 5));
}

TEST(TemporaryFilePath, IsAppendedToTheString) {
  const ServiceWorld world;
  std::string path("kept ");
  FileUtilities::createTemporaryFilePath(&path);
  EXPECT_EQ(0U, path.find("kept /"));
}

}  // namespace
