#include "services/certmgr/stores/StoreCheck.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using Strings = std::vector<std::string>;

constexpr std::int64_t kNow = 1767225600;  // 2026-01-01T00:00:00Z

class StoreCheckTest : public testing::Test {
 protected:
  StoreCheckTest() : root_(CertificateMaker("Root").asCa().make()), store_(files_.path("store")) {
    fs::create_directory(store_);
    chmod(store_.c_str(), 0755);
  }

  // The name of the certificate's file in the store.
  std::string add(const TestCertificate& certificate) const {
    return harmless(addToHashedDirectory(store_, certificate));
  }
  std::string add(const CrlMaker& list) const {
    return harmless(addToHashedDirectory(store_, list));
  }
  std::string write(const std::string& name, const std::string& content) const {
    return harmless(files_.write("store/" + name, content));
  }
  void link(const std::string& name, const std::string& target) const {
    fs::create_symlink(target, store_ + "/" + name);
  }
  void rename(const std::string& from, const std::string& to) const {
    fs::rename(store_ + "/" + from, store_ + "/" + to);
  }

  StoreReport report() const { return checkStore(store_, kNow); }
  StoreFile fileOf(const std::string& name) const {
    for (const StoreFile& file : report().files) {
      if (file.name == name) return file;
    }
    throw std::runtime_error("the report has no " + name);
  }
  Strings problemsOf(const std::string& name) const { return fileOf(name).problems; }
  std::string rehash() const { return "run openssl rehash " + store_; }

  TemporaryDirectory files_;
  TestCertificate root_;
  std::string store_;

 private:
  // Whatever the umask is.
  static std::string harmless(const std::string& path) {
    chmod(path.c_str(), 0644);
    return fs::path(path).filename();
  }
};

TEST_F(StoreCheckTest, StoreThatIsInOrderHasNoProblem) {
  add(root_);
  add(CrlMaker(root_));
  EXPECT_EQ(0U, report().problemCount()) << report().text();
}

TEST_F(StoreCheckTest, EmptyStoreHasNoProblem) {
  EXPECT_EQ(store_ +
                " at 2026-01-01T00:00:00Z\n\n"
                "In use: 0 certificates, 0 revocation lists. Nothing is wrong.\n",
            report().text());
}

TEST_F(StoreCheckTest, CertificateIsTold) {
  EXPECT_THAT(
      fileOf(add(root_)).content,
      ElementsAre("certificate CN=Root", StartsWith("  SHA-256 "),
                  "  valid from 2020-01-01T00:00:00Z to 2099-12-31T23:59:59Z", "  key EC P-256"));
}

TEST_F(StoreCheckTest, ListIsTold) {
  const std::string name =
      add(CrlMaker(root_).revoke(CertificateMaker("a").serial({2}).make()).revoke(root_));
  EXPECT_THAT(
      fileOf(name).content,
      ElementsAre("revocation list of CN=Root",
                  "  in force from 2020-01-01T00:00:00Z to 2099-12-31T23:59:59Z", "  2 entries"));
}

TEST_F(StoreCheckTest, WhatIsInUseIsCounted) {
  add(root_);
  add(CertificateMaker("Other").asCa().make());
  add(CrlMaker(root_));
  EXPECT_THAT(report().text(), HasSubstr("In use: 2 certificates, 1 revocation list."));
}

TEST_F(StoreCheckTest, FilesComeInTheOrderOfTheirNames) {
  write("b.txt", "");
  write("a.txt", "");
  write("c.txt", "");
  EXPECT_THAT(report().files, ElementsAre(testing::Field(&StoreFile::name, "a.txt"),
                                          testing::Field(&StoreFile::name, "b.txt"),
                                          testing::Field(&StoreFile::name, "c.txt")));
}

TEST_F(StoreCheckTest, ExpiredCertificateIsAProblem) {
  const auto expired = CertificateMaker("Old").asCa().notAfter("20251231235959Z").make();
  EXPECT_THAT(problemsOf(add(expired)),
              ElementsAre("it expired at 2025-12-31T23:59:59Z: replace it, or remove it"));
}

TEST_F(StoreCheckTest, CertificateOfTheFutureIsAProblem) {
  const auto early = CertificateMaker("Early").asCa().notBefore("20260101000001Z").make();
  EXPECT_THAT(problemsOf(add(early)),
              ElementsAre("it is not valid before 2026-01-01T00:00:01Z: check this machine's "
                          "clock, or wait"));
}

TEST_F(StoreCheckTest, TimeThatIsNoneIsAProblem) {
  EXPECT_THAT(problemsOf(add(CertificateMaker("Odd").asCa().malformedNotAfter().make())),
              ElementsAre("its time of validity cannot be read: replace it"));
}

TEST_F(StoreCheckTest, CertificateWithoutBasicConstraintsIsNoAuthority) {
  EXPECT_THAT(problemsOf(add(CertificateMaker("Leaf").make())),
              ElementsAre(HasSubstr("(it has no basic constraints)")));
}

TEST_F(StoreCheckTest, CertificateThatSaysSoIsNoAuthority) {
  EXPECT_THAT(problemsOf(add(CertificateMaker("Leaf").asServer().make())),
              ElementsAre(HasSubstr("(its basic constraints say CA:FALSE)")));
}

TEST_F(StoreCheckTest, CertificateWhoseKeyUsageForbidsItIsNoAuthority) {
  EXPECT_THAT(problemsOf(add(CertificateMaker("CA").asCa().keyUsage("critical,cRLSign").make())),
              ElementsAre(HasSubstr("(its key usage does not allow it to sign certificates)")));
}

TEST_F(StoreCheckTest, WeakKeyIsAProblem) {
  EXPECT_THAT(problemsOf(add(CertificateMaker("W").asCa().key(TestKey::makeRsa(1024)).make())),
              ElementsAre("its key (RSA 1024) is no longer safe: replace it"));
}

TEST_F(StoreCheckTest, CriticalExtensionThatNobodyKnowsIsAProblem) {
  EXPECT_THAT(problemsOf(add(CertificateMaker("X").asCa().unknownExtension(true).make())),
              ElementsAre(AllOf(StartsWith("its critical extension "),
                                HasSubstr("no chain below it is valid"))));
}

TEST_F(StoreCheckTest, WeakSignatureOfATrustedCertificateIsOnlyNoted) {
  const StoreFile file = fileOf(add(CertificateMaker("Old").asCa().digest("SHA1").make()));
  EXPECT_THAT(file.problems, IsEmpty());
  EXPECT_THAT(file.notes, ElementsAre(StartsWith("its signature (ecdsa-with-SHA1) is no longer")));
}

TEST_F(StoreCheckTest, RootThatDidNotSignItselfIsAProblem) {
  EXPECT_THAT(problemsOf(add(CertificateMaker("Root").asCa().signedWith(TestKey::makeEc()).make())),
              ElementsAre("its signature is not by its own key: get the file anew"));
}

TEST_F(StoreCheckTest, IntermediateIsNotedAsTrustedForItself) {
  const StoreFile file = fileOf(add(CertificateMaker("Inter").asCa().issuedBy(root_).make()));
  EXPECT_THAT(file.problems, IsEmpty());
  EXPECT_THAT(file.notes, ElementsAre(StartsWith("it is trusted for itself")));
}

TEST_F(StoreCheckTest, FileWithoutAHashLinkIsAProblem) {
  write("root.pem", root_.pem());
  EXPECT_THAT(
      problemsOf("root.pem"),
      ElementsAre("no hash link leads to certificate CN=Root, so it is not used: " + rehash()));
}

TEST_F(StoreCheckTest, FileBehindAHashLinkIsNone) {
  const std::string name = add(root_);
  rename(name, "root.pem");
  link(name, "root.pem");
  EXPECT_EQ(0U, report().problemCount()) << report().text();
}

TEST_F(StoreCheckTest, CertificateBehindALinkIsToldOnce) {
  const std::string name = add(root_);
  rename(name, "zroot.pem");
  link(name, "zroot.pem");
  EXPECT_EQ("zroot.pem", fileOf(name).target);
  EXPECT_THAT(fileOf(name).content, ElementsAre("certificate CN=Root"));
  EXPECT_THAT(fileOf("zroot.pem").content, SizeIs(4));
}

TEST_F(StoreCheckTest, BundleOfCertificatesThatAreInUseIsNoProblem) {
  const auto other = CertificateMaker("Other").asCa().make();
  add(root_);
  add(other);
  write("zbundle.crt", root_.pem() + other.pem());
  EXPECT_THAT(problemsOf("zbundle.crt"), IsEmpty());
}

TEST_F(StoreCheckTest, BundleWithoutHashLinksIsToBeTakenApart) {
  write("bundle.pem", root_.pem() + CertificateMaker("Other").asCa().make().pem());
  EXPECT_THAT(problemsOf("bundle.pem"),
              AllOf(SizeIs(2), Contains("no hash link leads to certificate CN=Other, so it is not "
                                        "used: put each into a file of its own (NAME.pem), then " +
                                        rehash())));
}

TEST_F(StoreCheckTest, FileThatRehashWouldPassByIsToBeRenamed) {
  write("root.txt", root_.pem());
  EXPECT_THAT(problemsOf("root.txt"),
              ElementsAre(HasSubstr("rename it to NAME.pem, then " + rehash())));
}

TEST_F(StoreCheckTest, NameThatDoesNotFitTheSubjectIsAProblem) {
  const std::string name = add(root_);
  rename(name, "01234567.0");
  EXPECT_THAT(problemsOf("01234567.0"),
              ElementsAre("its name does not fit: CN=Root is looked for as " + name.substr(0, 8) +
                          ": " + rehash()));
}

TEST_F(StoreCheckTest, ListUnderTheNameOfACertificateIsAProblem) {
  add(root_);
  const std::string name = add(CrlMaker(root_));  // HASH.r0
  const std::string hash = name.substr(0, 8);
  rename(name, hash + ".1");
  EXPECT_THAT(problemsOf(hash + ".1"),
              ElementsAre("revocation list of CN=Root is looked for under another name (" + hash +
                          ".r0): " + rehash()));
}

TEST_F(StoreCheckTest, GapInTheNumbersIsAProblem) {
  const std::string name = add(root_);
  const std::string hash = name.substr(0, 8);
  rename(name, hash + ".1");
  EXPECT_THAT(problemsOf(hash + ".1"), ElementsAre("there is no " + hash +
                                                   ".0, where a look-up stops before it comes "
                                                   "here: " +
                                                   rehash()));
}

TEST_F(StoreCheckTest, SameSubjectTwiceIsNoProblem) {
  add(root_);
  add(CertificateMaker("Root").asCa().make());
  EXPECT_EQ(0U, report().problemCount()) << report().text();
}

TEST_F(StoreCheckTest, SameCertificateTwiceIsAProblem) {
  const std::string first = add(root_);
  EXPECT_THAT(problemsOf(add(root_)),
              ElementsAre("it holds the same as " + first + ": remove one, then " + rehash()));
}

TEST_F(StoreCheckTest, DamagedBlockIsAProblem) {
  const std::string name = add(root_);
  write(name, root_.pem() + "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n");
  EXPECT_THAT(problemsOf(name),
              ElementsAre("a PEM block in it is damaged, and not used: get the file anew"));
}

TEST_F(StoreCheckTest, CertificateInDerFormIsAProblem) {
  write("root.cer", root_.derString());
  EXPECT_THAT(problemsOf("root.cer"), ElementsAre(StartsWith("it is a certificate in DER form")));
}

TEST_F(StoreCheckTest, HashedNameWithNothingInItIsAProblem) {
  write("01234567.0", "");
  EXPECT_THAT(problemsOf("01234567.0"),
              ElementsAre("it holds no certificate and no revocation list in PEM form"));
}

TEST_F(StoreCheckTest, FileOfAnotherKindIsOnlyNoted) {
  write("README", "read me\n");
  EXPECT_THAT(problemsOf("README"), IsEmpty());
  EXPECT_THAT(fileOf("README").notes, SizeIs(1));
}

TEST_F(StoreCheckTest, DirectoryIsOnlyNoted) {
  fs::create_directory(store_ + "/java");
  EXPECT_THAT(problemsOf("java"), IsEmpty());
  EXPECT_THAT(fileOf("java").notes, ElementsAre("a directory, which is not looked into"));
}

TEST_F(StoreCheckTest, DanglingLinkIsAProblem) {
  link("01234567.0", "gone.pem");
  EXPECT_THAT(problemsOf("01234567.0"),
              Contains("the link leads nowhere: remove it, then " + rehash()));
}

TEST_F(StoreCheckTest, PipeIsAProblemAndHoldsNothingUp) {
  ASSERT_EQ(0, mkfifo((store_ + "/01234567.0").c_str(), 0600));
  EXPECT_THAT(problemsOf("01234567.0"),
              ElementsAre("it is not a plain file and is not read: remove it"));
}

TEST_F(StoreCheckTest, FileThatOthersMayWriteIsAProblem) {
  const std::string name = add(root_);
  chmod((store_ + "/" + name).c_str(), 0664);
  EXPECT_THAT(problemsOf(name), ElementsAre("others than its owner may write to it: run chmod "
                                            "go-w " +
                                            store_ + "/" + name));
}

TEST_F(StoreCheckTest, DirectoryThatOthersMayWriteIsAProblem) {
  chmod(store_.c_str(), 0777);
  EXPECT_THAT(report().problems, ElementsAre(HasSubstr("run chmod go-w " + store_)));
}

TEST_F(StoreCheckTest, StaleListIsAProblem) {
  add(root_);
  EXPECT_THAT(problemsOf(add(CrlMaker(root_).nextUpdate("20251231235959Z"))),
              ElementsAre("it is stale since 2025-12-31T23:59:59Z and proves nothing: fetch a new "
                          "one"));
}

TEST_F(StoreCheckTest, ListOfTheFutureIsAProblem) {
  add(root_);
  EXPECT_THAT(problemsOf(add(CrlMaker(root_).lastUpdate("20270101000000Z"))),
              ElementsAre(StartsWith("it is not in force before 2027-01-01T00:00:00Z")));
}

TEST_F(StoreCheckTest, ListWithoutItsIssuerIsAProblem) {
  EXPECT_THAT(problemsOf(add(CrlMaker(root_))),
              ElementsAre(StartsWith("no certificate of this store is its issuer")));
}

TEST_F(StoreCheckTest, ListThatItsIssuerDidNotSignIsAProblem) {
  add(root_);
  EXPECT_THAT(problemsOf(add(CrlMaker(root_).signedWith(TestKey::makeEc()))),
              ElementsAre(StartsWith("its signature is not by its issuer")));
}

TEST_F(StoreCheckTest, NamesAreMadePrintable) {
  write("a\x1b[31m.txt", "");
  EXPECT_THAT(report().text(), HasSubstr("a\\x1b[31m.txt\n"));
}

TEST_F(StoreCheckTest, ReportIsTheSameEachTime) {
  add(root_);
  write("a.pem", CertificateMaker("A").make().pem());
  EXPECT_EQ(report().text(), report().text());
}

TEST_F(StoreCheckTest, WholeReport) {
  const std::string name = add(root_);
  rename(name, "root.pem");
  chmod((store_ + "/root.pem").c_str(), 0646);
  link(name, "root.pem");
  const std::string text = report().text();
  const std::string sha = text.substr(text.find("SHA-256 ") + 8, 64);
  EXPECT_EQ(store_ + " at 2026-01-01T00:00:00Z\n\n" + name + " -> root.pem\n" +
                "  certificate CN=Root\n\nroot.pem\n  certificate CN=Root\n    SHA-256 " + sha +
                "\n    valid from 2020-01-01T00:00:00Z to 2099-12-31T23:59:59Z\n"
                "    key EC P-256\n  problem: others than its owner may write to it: run chmod "
                "go-w " +
                store_ +
                "/root.pem\n\nIn use: 1 certificate, 0 revocation lists. 1 "
                "problem.\n",
            text);
}

TEST_F(StoreCheckTest, DirectoryThatIsMissingCannotBeLookedAt) {
  EXPECT_THROWS((void)checkStore(store_ + "/gone", kNow), std::runtime_error,
                "cannot read the directory " + store_ + "/gone: No such file or directory");
}

}  // namespace
