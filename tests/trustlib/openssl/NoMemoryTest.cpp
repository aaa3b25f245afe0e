// OpenSSL without memory. A program of its own, since it replaces OpenSSL's allocator.

#include <openssl/crypto.h>

#include <cstdlib>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/openssl/OpenSslUtilities.h"

namespace {

int allocationsLeft = -1;

bool mayAllocate() {
  if (allocationsLeft > 0) {
    --allocationsLeft;
  }
  return allocationsLeft != 0;
}

void* allocate(std::size_t size, const char*, int) {
  return mayAllocate() ? malloc(size) : nullptr;
}

void* reallocate(void* block, std::size_t size, const char*, int) {
  return mayAllocate() ? realloc(block, size) : nullptr;
}

void release(void* block, const char*, int) {
  free(block);
}

class OpenSslWithoutMemory : public testing::Test {
 protected:
  // What a building says that is allowed so many allocations; empty when it succeeds.
  std::string complaint(int allocations) {
    Chain result;
    std::string message;
    allocationsLeft = allocations;
    try {
      OpenSslUtilities::buildTrustChain(&directory.path(), chain.list(), result.list());
    } catch (const TrustManagerException& error) {
      message = error.what();
    }
    allocationsLeft = -1;
    EXPECT_TRUE(message.empty() || result.list()->empty()) << message;
    return message;
  }

  TemporaryDirectory directory;
  TestCertificate root = CertificateMaker("root").asCa().make();
  Chain chain{CertificateMaker("leaf").asServer().issuedBy(root).make().derString(),
              root.derString()};
};

TEST_F(OpenSslWithoutMemory, EveryFailureIsTheLibrarysOwnAndNothingLeaks) {
  addToHashedDirectory(directory.path(), root);
  complaint(-1);  // what OpenSSL sets up on first use stays
  std::set<std::string> messages;
  int allocations = 1;
  for (; allocations < 5000; ++allocations) {
    messages.insert(complaint(allocations));
  }
  EXPECT_EQ("", complaint(allocations)) << "this many are enough";
  for (const char* expected : {"OpenSslUtilities: failed to allocate STACK_OF(X509)*",
                               "OpenSslUtilities: failed to parse certificate",
                               "OpenSslUtilities: failed to allocate X509_STORE",
                               "OpenSslUtilities: failed to create trust store lookup",
                               "OpenSslUtilities: failed to add trust store directory",
                               "OpenSslUtilities: failed to allocate trust store context",
                               "OpenSslUtilities: failed to initialize trust store context",
                               "OpenSslUtilities: failed to verify trust chain  - out of memory"}) {
    EXPECT_EQ(1U, messages.count(expected)) << expected;
  }
  messages.erase("");
  for (const std::string& message : messages) {
    EXPECT_EQ(0U, message.find("OpenSslUtilities: ")) << message;
  }
}

}  // namespace

int main(int argc, char** argv) {
  // Only before OpenSSL's first allocation can its allocator be replaced.
  if (CRYPTO_set_mem_functions(allocate, reallocate, release) != 1) {
    return EXIT_FAILURE;
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
