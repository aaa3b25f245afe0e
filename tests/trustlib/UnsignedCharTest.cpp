// Where `char` has no sign, as on ARM: the code under test is built so for this program, wherever
// it runs.

#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "platform/toolkit/toolkit.h"
#include "trustlib/DefaultCertificateBlacklist.h"
#include "trustlib/util/StringUtilities.h"

namespace {

std::string everyByteFrom(int first) {
  std::string text;
  for (int byte = first; byte < 256; ++byte) {
    text.push_back(static_cast<char>(byte));
  }
  return text;
}

// The form of `value` as an attribute's JSON text.
std::string written(const std::string& value) {
  pps_encoder_t encoder;
  pps_encoder_initialize(&encoder, true);
  pps_encoder_start_object(&encoder, nullptr);
  pps_encoder_add_string(&encoder, "v", value.c_str());
  pps_encoder_end_object(&encoder);
  std::string text(pps_encoder_buffer(&encoder));
  pps_encoder_cleanup(&encoder);
  return text;
}

TEST(UnsignedChar, HashOfTheBlacklistTakesBytesAsSigned) {
  EXPECT_EQ(0xFFFFFFFFU, StringHasher()(std::string("\xFF")));
  EXPECT_EQ(0xFFFFFF80U * 31U + 1U, StringHasher()(std::string("\x01\x80")));
}

TEST(UnsignedChar, LowerCaseChangesTheAsciiLettersOnly) {
  const std::string before = everyByteFrom(0x80);
  std::string text = before;
  StringUtilities::tolower(text);
  EXPECT_EQ(before, text);
}

TEST(UnsignedChar, NoHighByteIsWhiteSpace) {
  const std::string before = everyByteFrom(0x80);
  std::string text = before;
  StringUtilities::trim(text);
  EXPECT_EQ(before, text);
}

TEST(UnsignedChar, HighBytesAreWrittenAsTheyAre) {
  EXPECT_EQ("{\"v\":\"\xC3\xBF\xE2\x82\xAC\"}", written("\xC3\xBF\xE2\x82\xAC"));
}

TEST(UnsignedChar, ControlBytesAreEscaped) {
  EXPECT_EQ("{\"v\":\"\\u0001\\u001f\\u007f\"}", written("\x01\x1f\x7f"));
}

TEST(UnsignedChar, HighBytesAreNoBase64) {
  const std::string text = "QUJ\xC3";
  unsigned int length = 0;
  EXPECT_EQ(TOOLKIT_BAD_BASE64, toolkit_base64_decode(text.data(), 4, nullptr, &length));
}

}  // namespace
