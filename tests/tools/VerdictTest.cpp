#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Pkcs7Maker.h"
#include "tests/tools/TrustctlFixture.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Verify : public AuthorityTest {};

TEST_F(Verify, TrustsAGoodChain) {
  const ProgramRun result = run(verifyWithRoot({"--domain", "www.example.test", chainFile_}));
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, StartsWith("TRUSTED  www.example.test\n"));
  EXPECT_EQ("", result.err);
}

TEST_F(Verify, TrustsAGoodChainWithoutADomain) {
  const ProgramRun result = run(verifyWithRoot({chainFile_}));
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, StartsWith("TRUSTED  (no domain was checked)\n"));
}

TEST_F(Verify, DoesNotTrustAnUnknownRoot) {
  const TestCertificate other = CertificateMaker("Other Root").asCa().make();
  const std::string file = directory_.write("other.pem", other.pem());
  const ProgramRun result =
      run({"verify", "--cafile", file, "--domain", "www.example.test", chainFile_});
  EXPECT_EQ(1, result.status) << result.err;
  EXPECT_THAT(result.out, StartsWith("NOT TRUSTED  www.example.test\n"));
  EXPECT_THAT(result.out, HasSubstr("  NO_TRUSTED\n"));
}

TEST_F(Verify, DoesNotTrustThisAuthorityByTheSystemsAnchors) {
  const ProgramRun result = run({"verify", "--domain", "www.example.test", chainFile_});
  EXPECT_EQ(1, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("  NO_TRUSTED\n"));
}

TEST_F(Verify, TakesAnchorsFromAHashedDirectory) {
  addToHashedDirectory(directory_.path("anchors"), root_);
  const ProgramRun result = run({"verify", "--capath", directory_.path("anchors"), chainFile_});
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_F(Verify, DoesNotTrustAnExpiredChain) {
  const ProgramRun result = run(verifyWithRoot({"--at", "2100-01-04", chainFile_}));
  EXPECT_EQ(1, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("  CERT_EXPIRY\n"));
  EXPECT_THAT(result.out, HasSubstr("Judged as of 2100-01-04T00:00:00Z."));
  EXPECT_THAT(result.out, HasSubstr("EXPIRED 3 days before the check"));
}

TEST_F(Verify, DoesNotTrustAChainBeforeItsTime) {
  const ProgramRun result = run(verifyWithRoot({"--at", "2019-12-31T12:00:00Z", chainFile_}));
  EXPECT_EQ(1, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("  CERT_EXPIRY\n"));
  EXPECT_THAT(result.out, HasSubstr("NOT VALID YET, only 12 hours after the check"));
}

TEST_F(Verify, DoesNotTrustAChainForAnotherName) {
  const ProgramRun result = run(verifyWithRoot({"--domain", "other.test", chainFile_}));
  EXPECT_EQ(1, result.status) << result.err;
  EXPECT_THAT(result.out, StartsWith("NOT TRUSTED  other.test\n"));
  EXPECT_THAT(result.out, HasSubstr("  DOMAINNAME_MISMATCH\n"));
}

TEST_F(Verify, LetsAnAlternativeDomainDo) {
  const ProgramRun result =
      run(verifyWithRoot({"--domain", "other.test", "--alt-domain", "third.test", "--alt-domain",
                          "example.test", chainFile_}));
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_F(Verify, DoesNotTrustARevokedCertificate) {
  const std::string lists =
      directory_.write("lists.pem", CrlMaker(inter_).revoke(leaf_).pem() + CrlMaker(root_).pem());
  const ProgramRun result = run(verifyWithRoot({"--crlfile", lists, chainFile_}));
  EXPECT_EQ(1, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("  REVOKED\n"));
}

TEST_F(Verify, TrustsACertificateThatTheListsDoNotName) {
  const std::string lists =
      directory_.write("lists.pem", CrlMaker(inter_).pem() + CrlMaker(root_).pem());
  const ProgramRun result = run(verifyWithRoot({"--crlfile", lists, chainFile_}));
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_F(Verify, ReadsDerFilesInOrder) {
  const std::string leaf = directory_.write("leaf.der", leaf_.derString());
  const std::string inter = directory_.write("inter.der", inter_.derString());
  const ProgramRun result = run(verifyWithRoot({leaf, inter}));
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_F(Verify, ReadsABagInAnyOrder) {
  const std::string bag = directory_.write("chain.p7b", pkcs7Der({root_, inter_, leaf_}));
  const ProgramRun result = run(verifyWithRoot({"--domain", "www.example.test", bag}));
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_F(Verify, ReadsABagInPemForm) {
  const std::string bag = directory_.write("chain.p7b", pkcs7Pem({inter_, leaf_}));
  const ProgramRun result = run(verifyWithRoot({"--domain", "www.example.test", bag}));
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_F(Verify, ReadsStandardInput) {
  const ProgramRun result =
      run(verifyWithRoot({"--domain", "www.example.test", "-"}), leaf_.pem() + inter_.pem());
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_F(Verify, JoinsStandardInputAndFiles) {
  const std::string inter = directory_.write("inter.pem", inter_.pem());
  const ProgramRun result = run(verifyWithRoot({"-", inter}), leaf_.derString());
  EXPECT_EQ(0, result.status) << result.out << result.err;
}

TEST_F(Verify, MissesAnIntermediateThatIsNotGiven) {
  const std::string leaf = directory_.write("leaf.pem", leaf_.pem());
  const ProgramRun result = run(verifyWithRoot({leaf}));
  EXPECT_EQ(1, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("  NO_TRUSTED\n"));
}

TEST_F(Verify, ShowsThePathWithTheLeafFirst) {
  const ProgramRun result = run(verifyWithRoot({chainFile_}));
  const auto leaf = result.out.find("subject   O=Example Ltd, CN=www.example.test");
  const auto inter = result.out.find("subject   CN=Test Intermediate");
  EXPECT_NE(std::string::npos, leaf) << result.out;
  EXPECT_NE(std::string::npos, inter) << result.out;
  EXPECT_LT(leaf, inter);
}

TEST_F(Verify, DoesNotNeedAHomeDirectory) {
  environment_["HOME"] = "/nonexistent";
  const ProgramRun result = run(verifyWithRoot({chainFile_}));
  EXPECT_EQ(0, result.status) << result.err;
}

TEST_F(Verify, DoesNotColourWhatIsNoTerminal) {
  environment_["TERM"] = "xterm-256color";
  const ProgramRun result = run(verifyWithRoot({chainFile_}));
  EXPECT_EQ(std::string::npos, result.out.find('\x1b'));
}

// The master side of a new terminal.
class Terminal {
 public:
  Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
    EXPECT_EQ(0, grantpt(master_));
    EXPECT_EQ(0, unlockpt(master_));
    // As long as somebody holds the other side, what was written there can be read.
    holder_ = open(path().c_str(), O_RDWR | O_NOCTTY);
  }
  ~Terminal() {
    close(holder_);
    close(master_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  std::string path() const { return ptsname(master_); }
  std::string firstOutput() const {
    char text[4096];
    const ssize_t length = read(master_, text, sizeof text);
    return {text, static_cast<std::size_t>(length > 0 ? length : 0)};
  }

 private:
  int master_;
  int holder_ = -1;
};

TEST_F(Verify, ColoursTheVerdictOnATerminal) {
  const Terminal terminal;
  environment_["TERM"] = "xterm-256color";
  EXPECT_EQ(0, finish(start(verifyWithRoot({chainFile_}), "", terminal.path())).status);
  EXPECT_THAT(terminal.firstOutput(), StartsWith("\x1b[1;32mTRUSTED\x1b[0m"));
}

TEST_F(Verify, DoesNotColourWhereNoColorIsSet) {
  const Terminal terminal;
  environment_["TERM"] = "xterm-256color";
  environment_["NO_COLOR"] = "1";
  EXPECT_EQ(0, finish(start(verifyWithRoot({chainFile_}), "", terminal.path())).status);
  EXPECT_THAT(terminal.firstOutput(), StartsWith("TRUSTED  "));
}

TEST_F(Verify, DrawsNothingFromAHostileCertificate) {
  const TestCertificate hostile = CertificateMaker("\x1b]0;owned\x07\nTRUSTED  bank.test\u202e")
                                      .asServer()
                                      .dns("www.example.test")
                                      .subjectKeyId({3})
                                      .authorityKeyId({2})
                                      .issuedBy(inter_)
                                      .make();
  const std::string file = directory_.write("hostile.pem", hostile.pem() + inter_.pem());
  const ProgramRun result = run(verifyWithRoot({"--domain", "www.example.test", file}));
  EXPECT_EQ(std::string::npos, result.out.find('\x1b'));
  EXPECT_EQ(std::string::npos, result.out.find("\nTRUSTED  bank"));
  EXPECT_THAT(result.out + result.err, HasSubstr("CN=\\x1b]0;owned"));
}

}  // namespace
