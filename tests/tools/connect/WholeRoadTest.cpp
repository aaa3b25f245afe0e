#include <memory>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/connect/ConnectFixture.h"
#include "tests/tools/connect/OpensslServer.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// Each against a real server.
class ConnectRoad : public ConnectTest {
 protected:
  ProgramRun connectToServerOf(const std::vector<TestCertificate>& chain,
                               const std::vector<std::string>& more = {}) {
    const OpensslServer server(directory_, chain);
    return connect(server.target(), more);
  }
};

TEST_F(ConnectRoad, AGoodChainIsTrusted) {
  const ProgramRun result = connectToServerOf(goodChain());
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, StartsWith("TRUSTED  www.example.test\n"));
  EXPECT_THAT(result.out, HasSubstr("passed every check"));
}

TEST_F(ConnectRoad, AnUnknownRootIsExplained) {
  const TestCertificate other = CertificateMaker("Other Root").asCa().make();
  const OpensslServer server(directory_, goodChain());
  const ProgramRun result = run({"connect", "--cafile", directory_.write("other.pem", other.pem()),
                                 "--domain", "www.example.test", server.target()});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(reasonsIn(result.out), ElementsAre("NO_TRUSTED"));
  EXPECT_THAT(result.out, HasSubstr("does not lead to an authority that this machine trusts"));
}

TEST_F(ConnectRoad, AWrongNameIsExplained) {
  const OpensslServer server(directory_, goodChain());
  const ProgramRun result =
      run({"connect", "--cafile", rootFile_, "--domain", "other.test", server.target()});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, StartsWith("NOT TRUSTED  other.test\n"));
  EXPECT_THAT(reasonsIn(result.out), ElementsAre("DOMAINNAME_MISMATCH"));
  EXPECT_THAT(result.out, HasSubstr("not for the domain"));
}

TEST_F(ConnectRoad, AnExpiredCertificateIsExplained) {
  const TestCertificate expired = leafMaker().notAfter("20210101000000Z").make();
  const ProgramRun result = connectToServerOf({expired, inter_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(reasonsIn(result.out), ElementsAre("CERT_EXPIRY"));
  EXPECT_THAT(result.out, HasSubstr("EXPIRED "));
}

TEST_F(ConnectRoad, ACertificateOfTheFutureIsExplained) {
  const TestCertificate future = leafMaker().notBefore("20900101000000Z").make();
  const ProgramRun result = connectToServerOf({future, inter_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(reasonsIn(result.out), ElementsAre("CERT_EXPIRY"));
  EXPECT_THAT(result.out, HasSubstr("NOT VALID YET"));
}

TEST_F(ConnectRoad, ARevokedCertificateIsExplained) {
  const std::string lists =
      directory_.write("crl.pem", CrlMaker(inter_).revoke(leaf_).pem() + CrlMaker(root_).pem());
  const ProgramRun result = connectToServerOf(goodChain(), {"--crlfile", lists});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(reasonsIn(result.out), ElementsAre("REVOKED"));
}

TEST_F(ConnectRoad, AnIssuerThatIsNoAuthorityIsExplained) {
  const TestCertificate notCa = CertificateMaker("Not An Authority")
                                    .basicConstraints("critical,CA:FALSE")
                                    .keyUsage("critical,keyCertSign")
                                    .subjectKeyId({2})
                                    .authorityKeyId({1})
                                    .issuedBy(root_)
                                    .make();
  const TestCertificate leaf = leafMaker().issuedBy(notCa).make();
  const ProgramRun result = connectToServerOf({leaf, notCa});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(reasonsIn(result.out), ElementsAre("BC_NOT_CA"));
  EXPECT_THAT(result.out, HasSubstr("issued by one that is no authority"));
}

TEST_F(ConnectRoad, AViolatedNameConstraintIsExplained) {
  const TestCertificate limited = CertificateMaker("Limited Authority")
                                      .asCa()
                                      .nameConstraints("critical,permitted;DNS:elsewhere.test")
                                      .subjectKeyId({2})
                                      .authorityKeyId({1})
                                      .issuedBy(root_)
                                      .make();
  const TestCertificate leaf = leafMaker().issuedBy(limited).make();
  const ProgramRun result = connectToServerOf({leaf, limited});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(reasonsIn(result.out), ElementsAre("NAME_CONSTRAINTS"));
}

TEST_F(ConnectRoad, AChainThatIsNotTrustedCanBePutToTheUser) {
  const TestCertificate expired = leafMaker().notAfter("20210101000000Z").make();
  const ProgramRun result = connectToServerOf(
      {expired, inter_}, {"--dialog", "policy:once", "--store", directory_.path("store")});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("You trust it this once"));
}

TEST_F(ConnectRoad, TheHostIsTheDomainWhereNoOtherIsNamed) {
  const TestCertificate local = leafMaker().dns("localhost").make();
  const OpensslServer server(directory_, {local, inter_});
  const ProgramRun result = run({"connect", "--cafile", rootFile_, "localhost:" + server.port()});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, StartsWith("TRUSTED  localhost\n"));
}

TEST_F(ConnectRoad, AnAddressInTheCertificateDoesNotCountAndIsPointedOut) {
  const TestCertificate addressed = leafMaker().ip("127.0.0.1").make();
  const OpensslServer server(directory_, {addressed, inter_});
  const ProgramRun result = run({"connect", "--cafile", rootFile_, server.target()});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(reasonsIn(result.out), ElementsAre("DOMAINNAME_MISMATCH"));
  EXPECT_THAT(result.out, HasSubstr("the certificate is made for this address"));
}

TEST_F(ConnectRoad, TheServerIsAskedByTheNameOfTheDomain) {
  const TestCertificate other = leafMaker().dns("unasked.test").make();
  const std::string cert2 = directory_.write("named.pem", leaf_.pem());
  const std::string key2 = directory_.write("named.key", leaf_.keyPem());
  const OpensslServer server(directory_, {other, inter_},
                             {"-servername", "www.example.test", "-cert2", cert2, "-key2", key2});
  const ProgramRun result = connect(server.target(), {"--json"});
  EXPECT_STREQ("0abc", parseLine(result.out)["serial"].GetString()) << result.err;
}

TEST_F(ConnectRoad, AnAddressIsNotNamedToTheServer) {
  const OpensslServer server(directory_, goodChain(),
                             {"-servername", "www.example.test", "-servername_fatal", "-cert2",
                              directory_.write("named.pem", leaf_.pem()), "-key2",
                              directory_.write("named.key", leaf_.keyPem())});
  EXPECT_EQ(1, run({"connect", "--cafile", rootFile_, server.target()}).status);
}

TEST_F(ConnectRoad, IPv6WorksInBracketsAndIsShown) {
  std::unique_ptr<OpensslServer> server;
  try {
    server = std::make_unique<OpensslServer>(directory_, goodChain(), std::vector<std::string>{},
                                             "[::1]");
  } catch (const std::runtime_error&) {
    GTEST_SKIP() << "this machine has no IPv6";
  }
  const ProgramRun result = connect(server->target());
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("    address   ::1 port " + server->port() + "\n"));
}

TEST_F(ConnectRoad, OldTlsWillDoForLookingAndIsShown) {
  const OpensslServer server(directory_, goodChain(),
                             {"-tls1", "-cipher", "ECDHE-ECDSA-AES128-SHA:@SECLEVEL=0"});
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("    protocol  TLSv1\n"));
  EXPECT_THAT(result.out, HasSubstr("    cipher    ECDHE-ECDSA-AES128-SHA\n"));
}

TEST_F(ConnectRoad, TheAgreedApplicationProtocolIsShown) {
  const OpensslServer server(directory_, goodChain(), {"-alpn", "h2,http/1.1"});
  const ProgramRun result = connect(server.target(), {"--alpn", "imap", "--alpn", "http/1.1"});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("    ALPN      http/1.1\n"));
}

TEST_F(ConnectRoad, AServerThatKnowsNoApplicationProtocolsIsShownAsSuch) {
  const OpensslServer server(directory_, goodChain());
  EXPECT_THAT(connect(server.target(), {"--alpn", "h2"}).out,
              HasSubstr("    ALPN      none agreed on\n"));
}

TEST_F(ConnectRoad, AServerThatAsksForACertificateIsJudgedWithoutOne) {
  const OpensslServer server(directory_, goodChain(), {"-verify", "1"});
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("    client    the server asked for a certificate of yours"));
}

// Before TLS 1.3 the handshake itself fails then, after the chain has come.
TEST_F(ConnectRoad, AServerThatNeedsACertificateIsJudgedAllTheSame) {
  const OpensslServer server(directory_, goodChain(), {"-Verify", "1", "-tls1_2"});
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("    client    the server wants a certificate of yours"));
}

TEST_F(ConnectRoad, AServerThatDoesNotKnowTheNameSaysSoByItsAlert) {
  const OpensslServer server(directory_, goodChain(),
                             {"-servername", "else.test", "-servername_fatal", "-cert2",
                              directory_.write("named.pem", leaf_.pem()), "-key2",
                              directory_.write("named.key", leaf_.keyPem())});
  const ProgramRun result = connect(server.target());
  EXPECT_EQ(3, result.status);
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_TRUE(isComplaint(result.err,
                          "alert unrecognized_name (112): it does not know the server name; it "
                          "was told the server name 'www.example.test'"));
}

}  // namespace
