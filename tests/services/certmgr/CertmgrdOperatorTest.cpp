// What the real program tells whoever runs it, and how it makes answers fit.
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/certmgr/CertmgrdFixture.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(CertmgrdTest, NamesThatAWildcardCoversMakeRoomInALongAnswer) {
  start();
  CertificateMaker maker("x");
  for (int i = 0; i < 900; ++i) maker.dns(std::to_string(1000 + i) + ".long-name.example");
  maker.dns("*.long-name.example").email("a@long-name.example");
  EXPECT_THAT(ask(request({write("leaf.der", maker.make())})),
              HasSubstr(R"("subjectAltNames":["DNS:*.long-name.example"])"));
}

TEST_F(CertmgrdTest, CertificateOfMoreHostsThanAnAnswerHoldsIsAnErrorThatSaysSo) {
  start();
  CertificateMaker maker("x");
  for (int i = 0; i < 900; ++i) maker.dns(std::to_string(1000 + i) + ".long-name.example");
  EXPECT_EQ("err::the certificate names 900 hosts, more than an answer of 16383 bytes holds\n",
            ask(request({write("leaf.der", maker.make())})));
}

}  // namespace
