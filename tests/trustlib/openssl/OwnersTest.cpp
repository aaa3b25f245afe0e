#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <memory>

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"
#include "trustlib/openssl/X509Stack.h"
#include "trustlib/openssl/X509Store.h"
#include "trustlib/openssl/X509StoreContext.h"

namespace {

x509_st* copyOf(const TestCertificate& certificate) {
  return X509_dup(certificate.get());
}

TEST(X509Stack, OwnsWhatIsPushed) {
  X509Stack stack;
  x509_st* certificate = copyOf(CertificateMaker("leaf").make());
  stack.push(certificate);
  EXPECT_EQ(1, stack.size());
  EXPECT_EQ(certificate, stack.get(0));
  EXPECT_EQ(nullptr, stack.get(1));
}

TEST(X509Stack, BorrowedStackIsLeftAlone) {
  X509Stack owner;
  owner.push(copyOf(CertificateMaker("leaf").make()));
  { const X509Stack borrower(owner.getStruct(), true); }
  EXPECT_EQ(1, owner.size());
}

TEST(X509Stack, AdoptedStackIsFreed) {
  stack_st_X509* raw = sk_X509_new_null();
  sk_X509_push(raw, copyOf(CertificateMaker("leaf").make()));
  const X509Stack owner(raw, false);  // the leak checkers are the judges
}

TEST(X509Stack, NullStackIsRefused) {
  EXPECT_THROWS(X509Stack(nullptr, true), TrustManagerException,
                "OpenSslUtilities: failed to allocate STACK_OF(X509)*");
  EXPECT_THROWS(X509Stack(nullptr, false), TrustManagerException,
                "OpenSslUtilities: failed to allocate STACK_OF(X509)*");
}

TEST(X509Store, MissingDirectoryIsNoFailure) {
  X509Store store;
  EXPECT_NO_THROW(store.addLookupDirectory("/no/such/place", X509_FILETYPE_PEM));
}

TEST(X509Store, EmptyDirectoryNameIsRefused) {
  X509Store store;
  EXPECT_THROWS(store.addLookupDirectory("", X509_FILETYPE_PEM), TrustManagerException,
                "OpenSslUtilities: failed to add trust store directory");
}

class StoreContext : public testing::Test {
 protected:
  void init(const TestCertificate& certificate) {
    input.push(copyOf(certificate));
    context.init(&store, input.get(0), &input);
  }

  X509Stack input;
  X509Store store;
  X509StoreContext context;
};

TEST_F(StoreContext, ChainCannotBeHadBeforeAnyVerification) {
  EXPECT_THROWS(context.getCertificateChain(), TrustManagerException,
                "OpenSslUtilities: failed to retrieve trust chain from context");
}

TEST_F(StoreContext, UnknownRootIsZeroWithAnErrorAndAChain) {
  init(CertificateMaker("leaf").make());
  EXPECT_EQ(0, context.verify());
  int code = 0;
  const char* text = nullptr;
  EXPECT_EQ(X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, context.getError(&code, &text));
  EXPECT_EQ(X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT, code);
  EXPECT_STREQ(X509_verify_cert_error_string(code), text);
  const std::unique_ptr<X509Stack> chain(context.getCertificateChain());
  EXPECT_EQ(1, chain->size());
}

TEST_F(StoreContext, WithoutAnErrorTheTextIsUntouched) {
  const TemporaryDirectory directory;
  const TestCertificate root = CertificateMaker("root").asCa().make();
  addToHashedDirectory(directory.path(), root);
  store.addLookupDirectory(directory.path().c_str(), X509_FILETYPE_PEM);
  init(root);
  EXPECT_EQ(1, context.verify());
  const char* text = "untouched";
  EXPECT_EQ(0, context.getError(nullptr, &text));
  EXPECT_STREQ("untouched", text);
}

TEST_F(StoreContext, ErrorMayBeReadWithoutCodeAndText) {
  init(CertificateMaker("leaf").make());
  context.verify();
  EXPECT_NE(0, context.getError(nullptr, nullptr));
}

}  // namespace
