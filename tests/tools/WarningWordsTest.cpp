#include "tools/trustctl/WarningWords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::Field;
using testing::Pointee;

TEST(WarningWords, AreFoundByNameInAnyCase) {
  EXPECT_THAT(findWarningText("Cert-Expiry"),
              Pointee(Field(&WarningText::flag, CertificateWarnings::CERT_EXPIRY)));
  EXPECT_EQ(nullptr, findWarningText("CERT_EXPIRY2"));
  EXPECT_EQ(nullptr, findWarningText(""));
}

}  // namespace
