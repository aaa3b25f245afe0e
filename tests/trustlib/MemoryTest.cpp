// What happens when memory runs out. A program of its own, since it replaces operator new.

#include <list>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "trustlib/CertificateImpl.h"
#include "trustlib/DefaultCertificateBlacklist.h"
#include "trustlib/util/StringUtilities.h"

namespace {

TEST(OutOfMemory, BlacklistLetsItThroughAndTheNextCallTriesAgain) {
  for (const int successes : {0, 1, 2, 500, 1000}) {
    allowAllocations(successes);
    bool failed = false;
    try {
      DefaultCertificateBlacklist::getInstance();
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    allowAllocations(-1);
    EXPECT_TRUE(failed) << successes;
  }
  EXPECT_NE(nullptr, DefaultCertificateBlacklist::getInstance());
}

TEST(OutOfMemory, EveryOtherOperationEndsTheProcess) {
  const CertificateImpl certificate(nullptr, 0);
  EXPECT_DEATH(
      {
        allowAllocations(0);
        certificate.clone();
      },
      "");
  std::string text;
  EXPECT_DEATH(
      {
        allowAllocations(0);
        const std::string separators(".");
        std::list<std::string> tokens;
        text.assign("a.b");
        StringUtilities::tokenize(&text, separators, tokens);
      },
      "");
}

}  // namespace
