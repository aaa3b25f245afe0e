#include "trustlib/openssl/OpenSslUtilities.h"

#include <iterator>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/err.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"

namespace {

using Ders = std::vector<std::string>;

class BuildTrustChain : public testing::Test {
 protected:
  BuildTrustChain()
      : root(CertificateMaker("root").asCa().make()),
        interByRoot(CertificateMaker("inter").asCa().issuedBy(root).make()),
        leafByInter(CertificateMaker("leaf").asServer().issuedBy(interByRoot).make()) {}

  void trust(const TestCertificate& certificate) {
    addToHashedDirectory(directory.path(), certificate);
  }

  Ders build(Chain& chain) {
    Chain result;
    OpenSslUtilities::buildTrustChain(&directory.path(), chain.list(), result.list());
    return bytesOf(*result.list());
  }

  TemporaryDirectory directory;
  TestCertificate root;
  TestCertificate interByRoot;
  TestCertificate leafByInter;
};

TEST_F(BuildTrustChain, EmptyChainIsRefusedAndNothingAppended) {
  Chain empty;
  Chain result{"old"};
  EXPECT_THROWS(OpenSslUtilities::buildTrustChain(&directory.path(), empty.list(), result.list()),
                TrustManagerException, "OpenSslUtilities: empty certificate chain");
  EXPECT_EQ(Ders{"old"}, bytesOf(*result.list()));
}

TEST_F(BuildTrustChain, TrustedChainEndsWithTheAnchorOfTheDirectory) {
  trust(root);
  Chain chain{leafByInter.derString(), interByRoot.derString()};
  EXPECT_EQ((Ders{leafByInter.derString(), interByRoot.derString(), root.derString()}),
            build(chain));
}

TEST_F(BuildTrustChain, UnknownRootGivesTheChainAsFarAsItGoes) {
  Chain chain{leafByInter.derString(), interByRoot.derString()};
  EXPECT_EQ((Ders{leafByInter.derString(), interByRoot.derString()}), build(chain));
}

TEST_F(BuildTrustChain, MissingDirectoryIsLikeAnEmptyOne) {
  const std::string missing = directory.path("missing");
  Chain chain{leafByInter.derString()};
  Chain result;
  OpenSslUtilities::buildTrustChain(&missing, chain.list(), result.list());
  EXPECT_EQ(Ders{leafByInter.derString()}, bytesOf(*result.list()));
}

TEST_F(BuildTrustChain, OrderOfTheIntermediatesDoesNotMatter) {
  trust(root);
  const TestCertificate lower = CertificateMaker("lower").asCa().issuedBy(interByRoot).make();
  const TestCertificate leaf = CertificateMaker("leaf").asServer().issuedBy(lower).make();
  Chain ordered{leaf.derString(), lower.derString(), interByRoot.derString()};
  Chain shuffled{leaf.derString(), interByRoot.derString(), lower.derString()};
  EXPECT_EQ(4U, build(ordered).size());
  EXPECT_EQ(build(ordered), build(shuffled));
}

TEST_F(BuildTrustChain, CertificatesThatOpenSslDidNotUseAreNotReturned) {
  trust(root);
  const TestCertificate stranger = CertificateMaker("stranger").asCa().make();
  Chain chain{leafByInter.derString(), stranger.derString(), interByRoot.derString()};
  EXPECT_EQ((Ders{leafByInter.derString(), interByRoot.derString(), root.derString()}),
            build(chain));
}

TEST_F(BuildTrustChain, SelfSignedCertificateStandsAloneTrustedOrNot) {
  Chain chain{root.derString()};
  EXPECT_EQ(Ders{root.derString()}, build(chain));
  trust(root);
  EXPECT_EQ(Ders{root.derString()}, build(chain));
}

TEST_F(BuildTrustChain, ExpiredCertificateIsNoFailure) {
  const TestCertificate expired =
      CertificateMaker("old").asServer().issuedBy(interByRoot).notAfter("20210101000000Z").make();
  Chain chain{expired.derString(), interByRoot.derString()};
  EXPECT_EQ(2U, build(chain).size());
}

TEST_F(BuildTrustChain, BadSignatureIsNoFailure) {
  trust(root);
  const TestCertificate forged = CertificateMaker("leaf")
                                     .asServer()
                                     .issuedBy(interByRoot)
                                     .signedWith(TestKey::makeEc())
                                     .make();
  Chain chain{forged.derString(), interByRoot.derString()};
  EXPECT_EQ(forged.derString(), build(chain).front());
}

TEST_F(BuildTrustChain, GarbageAnywhereInTheListIsRefused) {
  const std::string leaf = leafByInter.derString();
  for (const Ders& ders :
       {Ders{"garbage", leaf}, Ders{leaf, "garbage"}, Ders{leaf, ""}, Ders{leaf.substr(0, 50)}}) {
    Chain chain;
    for (const std::string& der : ders) {
      chain.add(der);
    }
    EXPECT_THROWS(build(chain), TrustManagerException,
                  "OpenSslUtilities: failed to parse certificate");
  }
}

TEST_F(BuildTrustChain, NothingIsAddedToTheErrorQueueOfTheCaller) {
  trust(root);
  const TestKey wrongKey = TestKey::makeEc();
  Chain forged{
      CertificateMaker("x").asServer().issuedBy(root).signedWith(wrongKey).make().derString()};
  Chain garbage{"garbage"};
  ERR_clear_error();
  BIO_free(BIO_new_file(directory.path("missing").c_str(), "r"));
  const unsigned long newest = ERR_peek_last_error();
  ASSERT_NE(0UL, newest);
  build(forged);
  EXPECT_THROW(build(garbage), TrustManagerException);
  // The directory lookup of OpenSSL 1.1.1 empties the queue by itself.
  const unsigned long after = ERR_peek_last_error();
  EXPECT_TRUE(after == newest || after == 0) << after;
}

TEST_F(BuildTrustChain, EmptyErrorQueueStaysEmpty) {
  Chain garbage{"garbage"};
  ERR_clear_error();
  EXPECT_THROW(build(garbage), TrustManagerException);
  EXPECT_EQ(0UL, ERR_peek_error());
}

TEST_F(BuildTrustChain, ResultIsAppendedAfterWhatIsThere) {
  Chain chain{leafByInter.derString()};
  Chain result{"first", "second"};
  OpenSslUtilities::buildTrustChain(&directory.path(), chain.list(), result.list());
  EXPECT_EQ((Ders{"first", "second", leafByInter.derString()}), bytesOf(*result.list()));
}

TEST_F(BuildTrustChain, ReturnedCertificatesAreNewObjects) {
  Chain chain{leafByInter.derString()};
  Chain result;
  OpenSslUtilities::buildTrustChain(&directory.path(), chain.list(), result.list());
  EXPECT_NE(chain.list()->front(), result.list()->front());
  EXPECT_TRUE(chain.list()->front()->compare(result.list()->front()));
}

TEST_F(BuildTrustChain, NullResultTakesNothingAndLosesNothing) {
  Chain chain{leafByInter.derString()};
  EXPECT_NO_THROW(OpenSslUtilities::buildTrustChain(&directory.path(), chain.list(), nullptr));
}

TEST_F(BuildTrustChain, NonSelfSignedCertificateOfTheDirectoryIsUsedAsAnIssuer) {
  trust(interByRoot);
  Chain chain{leafByInter.derString()};
  EXPECT_EQ((Ders{leafByInter.derString(), interByRoot.derString()}), build(chain));
}

}  // namespace
