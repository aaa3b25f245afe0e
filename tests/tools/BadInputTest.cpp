#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"

namespace {

class VerifyRefuses : public AuthorityTest {
 protected:
  void expectRefusal(const std::vector<std::string>& arguments, const std::string& complaint) {
    std::vector<std::string> words = {"verify"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const ProgramRun result = run(words);
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_TRUE(isComplaint(result.err, complaint));
  }
};

TEST_F(VerifyRefuses, NoFile) {
  expectRefusal({}, "FILE is required");
}

TEST_F(VerifyRefuses, AMissingFile) {
  expectRefusal({directory_.path("missing.pem")}, "No such file");
}

TEST_F(VerifyRefuses, AnEmptyFile) {
  expectRefusal({directory_.write("e", "")}, "is empty");
}

TEST_F(VerifyRefuses, EmptyStandardInput) {
  expectRefusal({"-"}, "standard input is empty");
}

TEST_F(VerifyRefuses, ATextFile) {
  expectRefusal({directory_.write("t", "hello\n")}, "holds no certificate");
}

TEST_F(VerifyRefuses, APrivateKey) {
  expectRefusal({directory_.write("server.key", leaf_.keyPem())}, "is a private key");
}

TEST_F(VerifyRefuses, HalfAPemFile) {
  expectRefusal({directory_.write("half.pem", leaf_.pem().substr(0, 300))}, "cut short");
}

TEST_F(VerifyRefuses, GarbageAfterDer) {
  expectRefusal({directory_.write("leaf.der", leaf_.derString() + "garbage")}, "7 bytes after");
}

TEST_F(VerifyRefuses, AHugeFile) {
  const std::string path = directory_.write("huge.pem", leaf_.pem());
  std::filesystem::resize_file(path, 50U * 1024 * 1024);
  expectRefusal({path}, "larger than 1024 KiB");
}

TEST_F(VerifyRefuses, HugeStandardInput) {
  const ProgramRun result = run({"verify", "-"}, std::string(2U * 1024 * 1024, 'x'));
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "standard input is larger than 1024 KiB"));
}

TEST_F(VerifyRefuses, ADirectory) {
  expectRefusal({directory_.path()}, "is a directory");
}

TEST_F(VerifyRefuses, ANamedPipeWithoutWaitingForIt) {
  const std::string path = directory_.path("pipe");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  expectRefusal({path}, "is a pipe");
}

TEST_F(VerifyRefuses, ADevice) {
  expectRefusal({"/dev/zero"}, "is not a plain file");
}

TEST_F(VerifyRefuses, AFileThatMayNotBeRead) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may read every file";
  }
  const std::string path = directory_.write("secret.pem", leaf_.pem());
  ASSERT_EQ(0, chmod(path.c_str(), 0));
  expectRefusal({path}, "Permission denied");
}

TEST_F(VerifyRefuses, TwoHundredCertificates) {
  std::string many;
  for (int i = 0; i < 200; ++i) {
    many += leaf_.pem();
  }
  expectRefusal({directory_.write("many.pem", many)}, "more than 32 certificates");
}

TEST_F(VerifyRefuses, TooManyCertificatesInSeveralFiles) {
  std::string many;
  for (int i = 0; i < 20; ++i) {
    many += leaf_.pem();
  }
  const std::string path = directory_.write("many.pem", many);
  expectRefusal({path, path}, "more than 32 certificates");
}

TEST_F(VerifyRefuses, AnUnknownTime) {
  expectRefusal({"--at", "yesterday", chainFile_}, "'yesterday' is not a time");
}

TEST_F(VerifyRefuses, AnUnknownOption) {
  expectRefusal({"--frobnicate", chainFile_}, "--frobnicate");
}

TEST_F(VerifyRefuses, AnEmptyDomain) {
  expectRefusal({"--domain", "", chainFile_}, "the domain is empty");
}

TEST_F(VerifyRefuses, AnAddressForADomain) {
  expectRefusal({"--domain", "https://www.example.test/", chainFile_}, "is not a domain");
}

TEST_F(VerifyRefuses, AlternativesWithoutADomain) {
  expectRefusal({"--alt-domain", "a.test", chainFile_}, "--domain");
}

TEST_F(VerifyRefuses, AnApplicationWithoutAClass) {
  expectRefusal({"--application", "browser", chainFile_}, "--class");
}

TEST_F(VerifyRefuses, AStoreNameThatLeavesTheStores) {
  expectRefusal({"--application", "..", "--class", "x", chainFile_}, "cannot be a name");
  expectRefusal({"--application", "a", "--class", "b/c", chainFile_}, "cannot be a name");
}

TEST_F(VerifyRefuses, AStoreNameThatWouldBreakTheRequest) {
  expectRefusal({"--application", "a\",\"x\":\"", "--class", "x", chainFile_}, "cannot be a name");
}

TEST_F(VerifyRefuses, ATimeoutOfNothing) {
  expectRefusal({"--timeout", "0", chainFile_}, "--timeout");
}

TEST_F(VerifyRefuses, ATimeoutThatIsNoNumber) {
  expectRefusal({"--timeout", "soon", chainFile_}, "--timeout");
}

TEST_F(VerifyRefuses, AMissingAnchorFile) {
  expectRefusal({"--cafile", "/nonexistent", chainFile_}, "'/nonexistent'");
}

TEST_F(VerifyRefuses, AFileForTheAnchorDirectory) {
  expectRefusal({"--capath", rootFile_, chainFile_}, "is not a directory");
}

TEST_F(VerifyRefuses, AFileNameThatWouldDrawEscaped) {
  expectRefusal({"/nonexistent\x1b[2J\n"}, "'/nonexistent\\x1b[2J\\x0a'");
}

TEST_F(VerifyRefuses, AnAnchorFileWithoutAnchors) {
  expectRefusal({"--cafile", directory_.write("roots.pem", "no roots here\n"), chainFile_},
                "holds no certificate");
}

TEST_F(VerifyRefuses, AListFileWithoutLists) {
  expectRefusal({"--crlfile", rootFile_, chainFile_}, "holds no revocation list");
}

}  // namespace
