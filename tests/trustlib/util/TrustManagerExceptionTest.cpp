#include "trustlib/util/TrustManagerException.h"

#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Throws.h"
#include "trustlib/util/PpsTimeoutException.h"

namespace {

TEST(TrustManagerException, WithoutArgumentsHasAnEmptyMessage) {
  EXPECT_STREQ("", TrustManagerException().what());
}

TEST(TrustManagerException, NullFormatGivesTheTextNull) {
  const TrustManagerException exception(nullptr);
  EXPECT_STREQ("NULL", exception.what());
}

TEST(TrustManagerException, MessageIsFormattedAsPrintfDoes) {
  EXPECT_STREQ("42", TrustManagerException("%d", 42).what());
  EXPECT_STREQ("Who::what - on thing: why",
               TrustManagerException("Who::what - on %s: %s", "thing", "why").what());
}

TEST(TrustManagerException, MessageBeyondTheFirstBufferIsComplete) {
  for (const std::size_t length : {1022U, 1023U, 1024U, 1025U, 100000U}) {
    const std::string text(length, 'x');
    EXPECT_EQ(text, TrustManagerException("%s", text.c_str()).what()) << length;
  }
}

TEST(TrustManagerException, SetMessageReplacesTheWholeOfIt) {
  TrustManagerException exception("%s", "long first message");
  exception.setMessage("%d");
  EXPECT_STREQ("%d", exception.what());
}

TEST(TrustManagerException, CopyKeepsTheMessage) {
  auto original = std::make_unique<TrustManagerException>("%s", "kept");
  const TrustManagerException copy(*original);
  original.reset();
  EXPECT_STREQ("kept", copy.what());
}

TEST(PpsTimeoutException, IsTheLibrarysErrorWithAFormattedMessage) {
  const PpsTimeoutException exception("after %d s", 3);
  const TrustManagerException& base = exception;
  EXPECT_STREQ("after 3 s", base.what());
}

TEST(PpsTimeoutException, LongMessageIsComplete) {
  const std::string text(5000, 'y');
  EXPECT_EQ(text, PpsTimeoutException("%s", text.c_str()).what());
}

}  // namespace
