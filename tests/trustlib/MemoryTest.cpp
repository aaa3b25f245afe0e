// What happens when memory runs out. A program of its own, since it replaces operator new.

#include <list>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "trustlib/CertificateImpl.h"
#include "trustlib/CertificateUtilities.h"
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

using Names = std::list<std::string>;

// Whether the names cover one of the domains, found out while nothing can be allocated: an
// attempt would end the process.
bool matchWithoutMemory(const Names& domains, const Names& commonNames, const Names& altNames) {
  allowAllocations(0);
  const bool matches =
      CertificateUtilities::certificateDomainMatches(&domains, &commonNames, &altNames);
  allowAllocations(-1);
  return matches;
}

bool matchWithoutMemory(const std::string& domain, const Names& commonNames,
                        const Names& altNames) {
  allowAllocations(0);
  const bool matches =
      CertificateUtilities::certificateDomainMatches(&domain, &commonNames, &altNames);
  allowAllocations(-1);
  return matches;
}

std::string repeated(const std::string& text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i) {
    result += text;
  }
  return result;
}

Names manyNames(const std::string& prefix, const std::string& last) {
  Names names;
  for (int i = 0; i < 1000; ++i) {
    names.push_back(prefix + "*.host" + std::to_string(i) + ".long-enough-for-the-heap.example");
  }
  names.push_back(prefix + last);
  return names;
}

TEST(OutOfMemory, LongNameIsMatchedAllTheSame) {
  const std::string zone = repeated("Label.", 10000) + "example";
  EXPECT_TRUE(matchWithoutMemory("HOST." + zone, {}, {"DNS:host." + zone}));
}

TEST(OutOfMemory, LongWildcardNameIsMatchedAllTheSame) {
  const std::string zone = repeated("Label.", 10000) + "example";
  EXPECT_TRUE(matchWithoutMemory(repeated("HOST", 10000) + "." + zone, {}, {"DNS:host*." + zone}));
}

TEST(OutOfMemory, LongNameThatDiffersAtTheEndIsRefusedAllTheSame) {
  const std::string zone = repeated("label.", 10000);
  EXPECT_FALSE(matchWithoutMemory("host." + zone + "example", {}, {"DNS:*." + zone + "test"}));
}

TEST(OutOfMemory, LastOfManyAlternativeNamesIsMatchedAllTheSame) {
  EXPECT_TRUE(matchWithoutMemory("www.a-domain-with-a-long-name.example", {},
                                 manyNames("DNS:", "*.a-domain-with-a-long-name.example")));
}

TEST(OutOfMemory, LastOfManyCommonNamesIsMatchedAllTheSame) {
  EXPECT_TRUE(matchWithoutMemory("www.a-domain-with-a-long-name.example",
                                 manyNames("", "*.a-domain-with-a-long-name.example"),
                                 {"IP Address:10.0.0.1"}));
}

TEST(OutOfMemory, LastOfManyDomainsIsMatchedAllTheSame) {
  EXPECT_TRUE(matchWithoutMemory(manyNames("", "www.a-domain-with-a-long-name.example"), {},
                                 {"DNS:*.a-domain-with-a-long-name.example"}));
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
