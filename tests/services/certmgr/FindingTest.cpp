// The document's table of findings is the program's.
#include "services/certmgr/path/Finding.h"

#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "trustlib/CertificateWarnings.h"

namespace {

std::string nameOfFlag(Warnings warning) {
  for (int i = 0; i < CertificateWarnings::serviceNameCount; ++i) {
    const auto& name = CertificateWarnings::names()[i];
    if (name.flag == warning) return name.text;
  }
  return "";
}

TEST(FindingTable, IsInTheDocumentRowByRow) {
  std::ifstream in(TRUSTLIB_SOURCE_DIR "/docs/trust-certmgrd.md");
  const std::string document{std::istreambuf_iterator<char>(in), {}};
  std::string table;
  for (int i = 0; i <= static_cast<int>(Reason::otherKeyIdentifier); ++i) {
    const auto reason = static_cast<Reason>(i);
    table.append("| `").append(nameOf(reason)).append("` | `");
    table.append(nameOfFlag(warningOf(reason))).append("` | ");
    table.append(sentenceOf(reason)).append(" |\n");
  }
  EXPECT_NE(std::string::npos, document.find(table)) << table;
}

}  // namespace
