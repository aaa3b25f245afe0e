// All 64 bits of a set of warnings, also those that no 32-bit number and no double can hold, on
// the way of a decision to its file and back.

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateDetails.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateExceptionJsonCodec.h"
#include "trustlib/CertificateTrustInfoImpl.h"
#include "trustlib/FileCertificateExceptionStore.h"
#include "trustlib/util/FileUtilities.h"

namespace {

// The set that the only file of a store holds.
unsigned long long warningsIn(const std::string& store) {
  const std::string path = std::filesystem::directory_iterator(store)->path();
  unsigned char* bytes = nullptr;
  unsigned int length = 0;
  FileUtilities::readFile(&path, &bytes, &length);
  const std::unique_ptr<unsigned char, decltype(&free)> owner(bytes, &free);
  CertificateException* decoded = nullptr;
  CertificateExceptionJsonCodec().decode(bytes, length, &decoded);
  return std::unique_ptr<CertificateException>(decoded)->getWarnings();
}

class WarningBits : public testing::TestWithParam<unsigned long long> {};

TEST_P(WarningBits, AreInTheFileOfADecision) {
  const TemporaryDirectory directory;
  const std::string path = directory.path("store");
  Chain chain{"leaf"};
  const CertificateExceptionImpl decision(GetParam(), nullptr, chain.list());
  FileCertificateExceptionStore(&path).addException(&decision);
  EXPECT_EQ(GetParam(), warningsIn(path));
}

TEST_P(WarningBits, AreInAVerdict) {
  const CertificateTrustInfoImpl verdict(false, GetParam(), nullptr, nullptr, false);
  EXPECT_EQ(GetParam(), verdict.getWarnings());
}

TEST_P(WarningBits, AreAddedToTheDetailsOfAService) {
  CertificateDetails details("01");
  details.addWarnings(1);
  details.addWarnings(GetParam());
  EXPECT_EQ(GetParam() | 1, details.getWarnings());
}

INSTANTIATE_TEST_SUITE_P(EveryOne, WarningBits, [] {
  std::vector<unsigned long long> sets;
  for (int bit = 0; bit < 64; ++bit) {
    sets.push_back(1ULL << bit);
  }
  return testing::ValuesIn(sets);
}());

// What a double rounds, and what is negative when read as signed.
INSTANTIATE_TEST_SUITE_P(Several, WarningBits,
                         testing::Values((1ULL << 53) + 1, 0x8000000000000001ULL,
                                         0x00000001FFFFFFFFULL, 0xFFFFFFFFFFFFFFFFULL));

}  // namespace
