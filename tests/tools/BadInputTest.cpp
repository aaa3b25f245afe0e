#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"

namespace {

// A whole PEM block whose content is not what its label says.
std::string notThatKind(const std::string& label) {
  return "-----BEGIN " + label + "-----\naGVsbG8=\n-----END " + label + "-----\n";
}

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
  expectRefusal({}, "give the certificates to judge: FILE..., or --from LIST");
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

TEST_F(VerifyRefuses, ADomainWithAPort) {
  expectRefusal({"--domain", "www.example.test:443", chainFile_}, "leave the port out");
}

TEST_F(VerifyRefuses, ADomainThatEndsInADot) {
  expectRefusal({"--domain", "www.example.test.", chainFile_}, "leave the dot out");
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
  expectRefusal({"--timeout", "soon", chainFile_}, "86400");
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

class VerifyRefusesAnAnchorFile : public VerifyRefuses {
 protected:
  void expectRefusalOf(const std::string& content, const std::string& complaint) {
    expectRefusal({"--cafile", directory_.write("roots.pem", content), chainFile_}, complaint);
  }
};

TEST_F(VerifyRefusesAnAnchorFile, WhoseOnlyCertificateIsDamaged) {
  expectRefusalOf(notThatKind("CERTIFICATE"), "/roots.pem' is damaged: PEM block 1 is not a");
}

TEST_F(VerifyRefusesAnAnchorFile, WhoseSecondCertificateIsDamaged) {
  expectRefusalOf(root_.pem() + notThatKind("CERTIFICATE"), "PEM block 2 is not a certificate");
}

TEST_F(VerifyRefusesAnAnchorFile, WhoseLastCertificateIsCutShort) {
  expectRefusalOf(root_.pem() + inter_.pem().substr(0, 300), "cut short: PEM block 2");
}

TEST_F(VerifyRefusesAnAnchorFile, WithADamagedRevocationList) {
  expectRefusalOf(root_.pem() + notThatKind("X509 CRL"), "PEM block 2 is not a revocation list");
}

TEST_F(VerifyRefusesAnAnchorFile, ThatIsHuge) {
  const std::string path = directory_.write("roots.pem", root_.pem());
  std::filesystem::resize_file(path, 17U * 1024 * 1024);
  expectRefusal({"--cafile", path, chainFile_}, "/roots.pem' is larger than 16384 KiB");
}

TEST_F(VerifyRefusesAnAnchorFile, ThatIsStandardInput) {
  expectRefusal({"--cafile", "-", chainFile_}, "--cafile cannot take standard input");
}

class VerifyRefusesAListFile : public VerifyRefuses {
 protected:
  void expectRefusalOf(const std::string& content, const std::string& complaint) {
    expectRefusal({"--crlfile", directory_.write("lists.pem", content), chainFile_}, complaint);
  }

  std::string good_ = CrlMaker(root_).pem();
};

TEST_F(VerifyRefusesAListFile, WhoseOnlyListIsDamaged) {
  expectRefusalOf(notThatKind("X509 CRL"), "/lists.pem' is damaged: PEM block 1 is not a");
}

TEST_F(VerifyRefusesAListFile, WhoseSecondListIsDamaged) {
  expectRefusalOf(good_ + notThatKind("X509 CRL"), "PEM block 2 is not a revocation list");
}

TEST_F(VerifyRefusesAListFile, WhoseLastListIsCutShort) {
  expectRefusalOf(good_ + good_.substr(0, good_.size() / 2), "cut short: PEM block 2");
}

TEST_F(VerifyRefusesAListFile, WhoseFirstListLostItsBegin) {
  expectRefusalOf(good_.substr(100) + good_, "is damaged or cut short");
}

TEST_F(VerifyRefusesAListFile, WithADamagedCertificate) {
  expectRefusalOf(good_ + notThatKind("CERTIFICATE"), "PEM block 2 is not a certificate");
}

TEST_F(VerifyRefusesAListFile, ThatIsHuge) {
  const std::string path = directory_.write("lists.pem", good_);
  std::filesystem::resize_file(path, 17U * 1024 * 1024);
  expectRefusal({"--crlfile", path, chainFile_}, "/lists.pem' is larger than 16384 KiB");
}

TEST_F(VerifyRefuses, AnAnchorDirectoryWithoutCertificates) {
  expectRefusal({"--capath", home_, chainFile_}, "holds no file with a certificate");
}

TEST_F(VerifyRefuses, AnAnchorDirectoryWithADamagedFile) {
  std::filesystem::create_directory(directory_.path("anchors"));
  directory_.write("anchors/a.pem", root_.pem());
  directory_.write("anchors/b.pem", notThatKind("CERTIFICATE"));
  expectRefusal({"--capath", directory_.path("anchors"), chainFile_}, "/b.pem' is damaged");
}

class VerifyRefusesAnEmpty : public VerifyRefuses,
                             public testing::WithParamInterface<const char*> {};

TEST_P(VerifyRefusesAnEmpty, ValueOf) {
  const std::string option = GetParam();
  expectRefusal({option, "", chainFile_}, option + ": the value is empty");
}

TEST_P(VerifyRefusesAnEmpty, ValueBehindTheEqualsSignOf) {
  const std::string option = GetParam();
  expectRefusal({option + "=", rootFile_, chainFile_}, option + ": the value is empty");
}

INSTANTIATE_TEST_SUITE_P(Options, VerifyRefusesAnEmpty,
                         testing::Values("--cafile", "--capath", "--crlfile", "--at",
                                         "--application", "--class"));

}  // namespace
