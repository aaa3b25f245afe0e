#include <cstdint>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/asn1.h>

#include "services/dialog/model/DialogModelBuilder.h"
#include "services/dialog/model/DialogModelCodec.h"
#include "tests/services/dialog/model/ModelReading.h"

namespace {

using namespace std::string_view_literals;
using testing::HasSubstr;
using testing::Not;

// What every text of a model must keep out, tried in one go.
constexpr std::string_view kPoison =
    "  a\x1b[2J\x1b]0;t\x07\r\nTRUSTED\t\x7f\0\u009b31m\u202e\u2066\u2069\u200b\u200d\u200f\ufeff"
    "\u00ad\u0301\u2028\u3164\U000e0041\\x41 xn--bnk-6cd.example  "sv;
// And where a text need not be one.
constexpr std::string_view kBadBytes = "\xff\xc0\xaf\xed\xa0\x80\xe4\xb8"sv;

bool isForbidden(char32_t c) {
  return c < 0x20 || (c >= 0x7f && c <= 0xa0) || c == 0xad || c == 0x61c ||
         (c >= 0x300 && c <= 0x36f) || (c >= 0x200b && c <= 0x200f) ||
         (c >= 0x2028 && c <= 0x202e) || (c >= 0x2060 && c <= 0x206f) || c == 0x3164 ||
         (c >= 0xd800 && c <= 0xf8ff) || c == 0xfeff || (c >= 0xfff0 && c <= 0xffff) ||
         c >= 0xe0000;
}

// The offset of the first byte that is no fit text; npos when all is. A reader of UTF-8 of its
// own, so that no mistake is shared with what it checks.
std::size_t firstUnfit(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const auto lead = static_cast<std::uint8_t>(text[at]);
    std::size_t more = 0;
    char32_t code = lead;
    char32_t smallest = 0;
    if (lead >= 0xf0) {
      more = 3;
      code = lead & 0x07U;
      smallest = 0x10000;
    } else if (lead >= 0xe0) {
      more = 2;
      code = lead & 0x0fU;
      smallest = 0x800;
    } else if (lead >= 0x80) {
      more = 1;
      code = lead & 0x1fU;
      smallest = 0x80;
      if (lead < 0xc0) return at;
    }
    if (more >= text.size() - at) return at;
    for (std::size_t i = 1; i <= more; ++i) {
      const auto next = static_cast<std::uint8_t>(text[at + i]);
      if ((next & 0xc0U) != 0x80U) return at;
      code = (code << 6U) | (next & 0x3fU);
    }
    if (code < smallest || isForbidden(code)) return at;
    at += 1 + more;
  }
  return std::string_view::npos;
}

// Raw, since the types say nothing true of the bytes.
CertificateMaker hostileMaker() {
  const std::string bytes = std::string(kPoison).append(kBadBytes);
  return CertificateMaker()
      .rawCommonName(kPoison, V_ASN1_UTF8STRING)
      .rawCommonName(bytes, V_ASN1_BIT_STRING)
      .rawCommonName(bytes, V_ASN1_T61STRING);
}

DialogInput hostileInput() {
  const std::string poison = std::string(kPoison).append(kBadBytes);
  const TestCertificate root = hostileMaker().asCa().serial(Bytes(3000, 0xab)).make();
  CertificateMaker maker = hostileMaker();
  for (int i = 0; i < 30; ++i) maker.dns(poison).uri(poison).email(poison);
  const TestCertificate leaf = maker.issuedBy(root).make();
  DialogInput input = inputOf({leaf, root}, ~0ULL);
  input.domain = poison;
  input.asker = {poison, 1, poison};
  input.now = 0;
  addEarlier(&input, {hostileMaker().make()}, 0);
  return input;
}

TEST(HostileInput, NoTextDrawsOutsideItsPlace) {
  for (const DialogLine& line : allLines(buildDialogModel(hostileInput()))) {
    EXPECT_EQ(std::string_view::npos, firstUnfit(line.text)) << line.text;
    EXPECT_EQ(std::string_view::npos, firstUnfit(line.label)) << line.label;
  }
}

TEST(HostileInput, TheCheckItselfFindsEachKindOfPoison) {
  for (const std::string_view bad :
       {"\x1b"sv, "\0"sv, "\n"sv, "\u202e"sv, "\u200b"sv, "\u009b"sv, "\xff"sv, "\xc0\xaf"sv,
        "\xed\xa0\x80"sv, "\xe4\xb8"sv, "\ufeff"sv, "\U000e0041"sv}) {
    EXPECT_EQ(1U, firstUnfit("a" + std::string(bad)));
  }
  EXPECT_EQ(std::string_view::npos, firstUnfit("Gr\u00fc\u00dfe \u4e2d"));
}

TEST(HostileInput, WordsFromOutsideAreAlwaysMarkedAsForeign) {
  for (const DialogLine& line : allLines(buildDialogModel(hostileInput()))) {
    if (line.foreign) continue;
    EXPECT_THAT(line.text, Not(HasSubstr("TRUSTED"))) << line.label;
    EXPECT_THAT(line.label, Not(HasSubstr("TRUSTED")));
  }
}

TEST(HostileInput, EveryTextIsBounded) {
  DialogInput input = hostileInput();
  input.domain = std::string(1U << 20U, '\x1b');
  input.asker.program = std::string(1U << 20U, 'a');
  for (const DialogLine& line : allLines(buildDialogModel(input))) {
    EXPECT_LE(line.text.size(), 4U * 600U);  // bytes of that many columns
  }
}

TEST(HostileInput, ANameOfAMegabyteIsCut) {
  const TestCertificate leaf = CertificateMaker("x").dns(std::string(1U << 20U, 'a')).make();
  const DialogModel model = buildDialogModel(inputOf({leaf}, 1));
  const auto names = valuesOf(sectionsOf(model, "certificate").at(0), "name");
  ASSERT_EQ(1U, names.size());
  EXPECT_LE(names[0].size(), 600U);
  EXPECT_THAT(names[0], HasSubstr("more bytes]"));
}

TEST(HostileInput, TenThousandNamesMakeNoHugeModel) {
  CertificateMaker maker("x");
  for (int i = 0; i < 10000; ++i) maker.dns("xn--bnk-6cd" + std::to_string(i) + ".example");
  const DialogModel model = buildDialogModel(inputOf({maker.make()}, ~0ULL));
  EXPECT_LT(encodeDialogModel(model).size(), 64U * 1024U);
}

TEST(HostileInput, AFaceCanReadTheModel) {
  const std::string json = encodeDialogModel(buildDialogModel(hostileInput()));
  EXPECT_EQ(json, encodeDialogModel(decodeDialogModel(json)));
}

TEST(HostileInput, ANulDoesNotHideTheRestOfAName) {
  const TestCertificate leaf = CertificateMaker("x").dns("a.example\0.evil.example"sv).make();
  const DialogModel model = buildDialogModel(inputOf({leaf}, 1));
  const auto section = sectionsOf(model, "certificate").at(0);
  EXPECT_THAT(valuesOf(section, "name"), testing::ElementsAre("a.example\\x00.evil.example"));
  EXPECT_THAT(valuesOf(section, "fitting name"), testing::IsEmpty());
}

}  // namespace
