#include "trustlib/CertificateExceptionJsonCodec.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "tests/trustlib/RecordHash.h"
#include "trustlib/CertificateExceptionImpl.h"

namespace {

const std::string domain("host.test");

std::string encoded(const CertificateException& exception) {
  CertificateExceptionJsonCodec codec;
  unsigned char* buffer = nullptr;
  unsigned int length = 0;
  codec.encode(&exception, &buffer, &length);
  std::string text(reinterpret_cast<char*>(buffer), length);
  free(buffer);
  return text;
}

std::unique_ptr<CertificateException> decoded(const std::string& text) {
  CertificateExceptionJsonCodec codec;
  CertificateException* exception = nullptr;
  codec.decode(reinterpret_cast<const unsigned char*>(text.data()),
               static_cast<unsigned int>(text.size()), &exception);
  return std::unique_ptr<CertificateException>(exception);
}

// A record that has no chain at all, which only another implementation can be.
class ChainlessException : public CertificateExceptionImpl {
 public:
  ChainlessException() : CertificateExceptionImpl(1, nullptr, nullptr) {}
  const std::list<Certificate*>* getCertificateChain() const override { return nullptr; }
};

TEST(ExceptionCodec, WritesItsFourMembersInOrder) {
  Chain chain{"leaf", "root"};
  EXPECT_EQ(
      R"({"version":1,"domain":"host.test","warnings":"4","chain":[{"der":"bGVhZg=="},{"der":"cm9vdA=="}]})",
      encoded(CertificateExceptionImpl(4, &domain, chain.list())));
}

TEST(ExceptionCodec, LeavesOutTheDomainOfARecordWithoutOne) {
  Chain chain{"leaf"};
  const CertificateExceptionImpl record(4, nullptr, chain.list());
  const std::string text = encoded(record);
  EXPECT_EQ(std::string::npos, text.find("domain"));
  const auto back = decoded(text);
  EXPECT_EQ(nullptr, back->getDomainName());
  EXPECT_TRUE(record.compare(back.get()));
}

TEST(ExceptionCodec, KeepsAnEmptyDomainApartFromNone) {
  Chain chain{"leaf"};
  const std::string empty;
  const auto back = decoded(encoded(CertificateExceptionImpl(4, &empty, chain.list())));
  ASSERT_NE(nullptr, back->getDomainName());
  EXPECT_EQ("", *back->getDomainName());
}

TEST(ExceptionCodec, WritesTheTopBitOfTheWarningsAsASign) {
  Chain chain{"leaf"};
  const CertificateExceptionImpl record(0x8000000000000001ULL, nullptr, chain.list());
  const std::string text = encoded(record);
  EXPECT_NE(std::string::npos, text.find(R"("warnings":"-9223372036854775807")"));
  EXPECT_EQ(0x8000000000000001ULL, decoded(text)->getWarnings());
}

TEST(ExceptionCodec, RoundTripGivesAnEqualRecordOfTheSameHash) {
  Chain chain{std::string("\x30\x00\xff", 3), std::string(5000, 'x')};
  const std::string hostile("a\"b\\c\x01\xff");
  const CertificateExceptionImpl record(0x2108, &hostile, chain.list());
  const auto back = decoded(encoded(record));
  EXPECT_TRUE(record.compare(back.get()));
  EXPECT_EQ(hashOf(record), hashOf(*back));
}

TEST(ExceptionCodec, RefusesToEncodeNothing) {
  CertificateExceptionJsonCodec codec;
  unsigned char* buffer = nullptr;
  unsigned int length = 0;
  EXPECT_THROWS(codec.encode(nullptr, &buffer, &length), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot encode NULL certificate exception");
}

TEST(ExceptionCodec, RefusesToEncodeARecordWithoutAChain) {
  EXPECT_THROWS(encoded(ChainlessException()), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot encode NULL certificate chain");
}

TEST(ExceptionCodec, RefusesToEncodeAnEmptyChain) {
  EXPECT_THROWS(encoded(CertificateExceptionImpl(1, &domain, nullptr)), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot encode empty certificate chain");
}

TEST(ExceptionCodec, RefusesToEncodeACertificateWithoutBytes) {
  Chain chain{"leaf", ""};
  EXPECT_THROWS(encoded(CertificateExceptionImpl(1, &domain, chain.list())), TrustManagerException,
                "CertificateExceptionJsonCodec: failed to base64 encode certificate exception");
}

TEST(ExceptionCodec, RefusesToDecodeAnEmptyBuffer) {
  EXPECT_THROWS(decoded(""), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot decode empty buffer");
}

TEST(ExceptionCodec, RefusesToDecodeANullBuffer) {
  CertificateExceptionJsonCodec codec;
  CertificateException* exception = nullptr;
  EXPECT_THROWS(codec.decode(nullptr, 7, &exception), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot decode empty buffer");
  EXPECT_EQ(nullptr, exception);
}

// Not one of the bytes may be looked at: there are no more than seven.
TEST(ExceptionCodec, RefusesToDecodeMoreThanTheDecoderCanCount) {
  CertificateExceptionJsonCodec codec;
  const unsigned char bytes[] = "{\"a\":1}";
  CertificateException* exception = nullptr;
  EXPECT_THROWS(codec.decode(bytes, 0x80000000U, &exception), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot decode 2147483648 bytes");
  EXPECT_EQ(nullptr, exception);
}

TEST(ExceptionCodec, RefusesAHigherVersion) {
  EXPECT_THROWS(decoded(R"({"version":2,"warnings":"4","chain":[{"der":"bGVhZg=="}]})"),
                TrustManagerException, "Unsupported version 2");
}

TEST(ExceptionCodec, ReadsLowerVersions) {
  EXPECT_EQ(4ULL,
            decoded(R"({"version":0,"warnings":"4","chain":[{"der":"bGVhZg=="}]})")->getWarnings());
  EXPECT_EQ(
      4ULL,
      decoded(R"({"version":-7,"warnings":"4","chain":[{"der":"bGVhZg=="}]})")->getWarnings());
}

TEST(ExceptionCodec, ReadsAnySpacingAndOrderAndPassesOverOtherMembers) {
  const auto record = decoded(
      " {\n\"reason\" : [1, {\"a\":2}] , \"chain\":[ {\"x\":1,\"der\":\"bGVhZg==\"} ],"
      "\"warnings\":\"8\",\t\"version\":1, \"domain\":\"host.test\"}\n");
  Chain chain{"leaf"};
  EXPECT_TRUE(CertificateExceptionImpl(8, &domain, chain.list()).compare(record.get()));
}

TEST(ExceptionCodec, RefusesWarningsAsANumber) {
  EXPECT_THROWS(decoded(R"({"version":1,"warnings":4,"chain":[{"der":"bGVhZg=="}]})"),
                TrustManagerException,
                "PpsDecoder: Failed to perform get string on warnings, error = 4");
}

TEST(ExceptionCodec, RefusesAnEmptyChainInAFile) {
  EXPECT_THROWS(decoded(R"({"version":1,"warnings":"4","chain":[]})"), TrustManagerException,
                "CertificateExceptionJsonCodec: cannot decode empty certificate chain");
}

TEST(ExceptionCodec, RefusesADerThatIsNoBase64) {
  EXPECT_THROWS(decoded(R"({"version":1,"warnings":"4","chain":[{"der":"bGVhZg="}]})"),
                TrustManagerException,
                "CertificateExceptionJsonCodec: failed to base64 decode certificate exception");
}

TEST(ExceptionCodec, RefusesTextThatIsNoJson) {
  EXPECT_THROWS(decoded("certificate"), TrustManagerException,
                "PpsDecoder::parseJsonStr - error = 6");
}

struct MissingMember {
  const char* text;
  const char* message;
};

class ExceptionFile : public testing::TestWithParam<MissingMember> {};

TEST_P(ExceptionFile, WithoutARequiredMemberIsRefused) {
  EXPECT_THROWS(decoded(GetParam().text), TrustManagerException, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ExceptionFile,
    testing::Values(MissingMember{R"({"warnings":"4","chain":[{"der":"bGVhZg=="}]})",
                                  "PpsDecoder: Failed to perform get int on version, error = 3"},
                    MissingMember{
                        R"({"version":1,"chain":[{"der":"bGVhZg=="}]})",
                        "PpsDecoder: Failed to perform get string on warnings, error = 3"},
                    MissingMember{R"({"version":1,"warnings":"4"})",
                                  "PpsDecoder: Failed to perform push on chain, error = 3"},
                    MissingMember{R"({"version":1,"warnings":"4","chain":[{"a":"bGVhZg=="}]})",
                                  "PpsDecoder: Failed to perform get string on der, error = 3"}));

TEST(ExceptionCodec, LeavesTheOutputAloneWhenAnElementFailsLate) {
  const std::string text(
      R"({"version":1,"warnings":"4","chain":[{"der":"bGVhZg=="},{"der":"?"}]})");
  CertificateExceptionJsonCodec codec;
  CertificateException* exception = nullptr;
  EXPECT_THROWS(codec.decode(reinterpret_cast<const unsigned char*>(text.data()),
                             static_cast<unsigned int>(text.size()), &exception),
                TrustManagerException,
                "CertificateExceptionJsonCodec: failed to base64 decode certificate exception");
  EXPECT_EQ(nullptr, exception);
}

}  // namespace
