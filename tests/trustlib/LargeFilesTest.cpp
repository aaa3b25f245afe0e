// Files and lengths that 32 bits do not hold. Nothing here takes that much room.

#include <unistd.h>

#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "platform/toolkit/toolkit.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"
#include "trustlib/util/FileUtilities.h"
#include "trustlib/util/Utilities.h"

namespace {

class FileOfManyGibibytes : public testing::Test {
 protected:
  // The first size is past what `unsigned int` holds, and is small when cut to it.
  FileOfManyGibibytes() { EXPECT_EQ(0, truncate(path.c_str(), (off_t{1} << 32) + 4)); }

  TemporaryDirectory directory;
  const std::string path = directory.write("file", "");
};

TEST_F(FileOfManyGibibytes, Exists) {
  EXPECT_TRUE(FileUtilities::pathExists(&path));
}

TEST_F(FileOfManyGibibytes, IsRefusedAndNotReadInPart) {
  unsigned char* data = nullptr;
  unsigned int length = 0;
  EXPECT_THROWS(FileUtilities::readFile(&path, &data, &length), TrustManagerException,
                "FileUtilities::readFile - failed to allocate buffer");
  EXPECT_EQ(nullptr, data);
}

TEST_F(FileOfManyGibibytes, IsNoDirectoryToGoThrough) {
  const std::string below = path + "/below";
  EXPECT_THROWS(FileUtilities::createCertificateExceptionStoreDir(&below), TrustManagerException,
                "FileUtilities::createDirectory - path is not a directory: " + path);
}

TEST(LargeLengths, GreatestInputThatHasABase64TextIsMeasured) {
  const unsigned char data = 0;
  unsigned int length = 0;
  EXPECT_EQ(0, tp_B64Encode(&data, 0xBFFFFFFD, nullptr, &length));
  EXPECT_EQ(0xFFFFFFFCU, length);
}

TEST(LargeLengths, InputWithATextPastFourGibibytesIsTooBig) {
  const unsigned char data = 0;
  unsigned int length = 7;
  EXPECT_EQ(TOOLKIT_TOO_BIG, tp_B64Encode(&data, 0xBFFFFFFE, nullptr, &length));
  EXPECT_EQ(TOOLKIT_TOO_BIG, tp_B64Encode(&data, 0xFFFFFFFF, nullptr, &length));
  EXPECT_EQ(7U, length);
}

TEST(LargeLengths, LargeNumbersAreWholeInMessages) {
  const TrustManagerException failure("%llu of %lld at %zu", 0xFFFFFFFFFFFFFFFFULL, -(1LL << 40),
                                      std::numeric_limits<std::size_t>::max());
  EXPECT_STREQ(("18446744073709551615 of -1099511627776 at " +
                std::to_string(std::numeric_limits<std::size_t>::max()))
                   .c_str(),
               failure.what());
}

}  // namespace
