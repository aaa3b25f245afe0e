#include <array>
#include <cstdio>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::vector<std::string> linesOf(const std::string& command) {
  std::vector<std::string> lines;
  FILE* output = popen(command.c_str(), "r");  // NOLINT(cert-env33-c): our own command
  std::array<char, 4096> line{};
  while (fgets(line.data(), line.size(), output) != nullptr) {
    lines.emplace_back(line.data());
    lines.back().pop_back();
  }
  EXPECT_EQ(0, pclose(output)) << command;
  return lines;
}

// The names that the library defines for others, demangled.
std::vector<std::string> exported() {
  std::vector<std::string> names;
  for (const std::string& line : linesOf("nm --dynamic --defined-only --demangle " TEST_LIBTRUST)) {
    static const std::regex form("^[0-9a-f]+ [A-Za-z] (.*)$");
    std::smatch parts;
    if (std::regex_match(line, parts, form)) {
      names.push_back(parts[1]);
    }
  }
  return names;
}

const std::set<std::string> classes = {"Certificate",
                                       "CertificateBlacklist",
                                       "CertificateDetails",
                                       "CertificateException",
                                       "CertificateExceptionCodec",
                                       "CertificateExceptionImpl",
                                       "CertificateExceptionJsonCodec",
                                       "CertificateExceptionStore",
                                       "CertificateExceptionStoreFactory",
                                       "CertificateImpl",
                                       "CertificateManager",
                                       "CertificateTrustInfo",
                                       "CertificateTrustInfoImpl",
                                       "CertificateUtilities",
                                       "DefaultCertificateBlacklist",
                                       "DefaultTrustDialog",
                                       "DefaultTrustManager",
                                       "FileCertificateExceptionStore",
                                       "FileUtilities",
                                       "HashEngine",
                                       "MutexLocker",
                                       "Object",
                                       "ObjectLifecyleElement",
                                       "ObjectLifecycleManager",
                                       "OpenSslUtilities",
                                       "PpsConnection",
                                       "PpsDecoder",
                                       "PpsEncoder",
                                       "PpsTimeoutException",
                                       "ReadLock",
                                       "StringHasher",
                                       "StringUtilities",
                                       "TemporaryFiles",
                                       "TrustDialog",
                                       "TrustEngine",
                                       "TrustEngineImpl",
                                       "TrustManager",
                                       "TrustManagerException",
                                       "TrustManagerFactory",
                                       "Utilities",
                                       "WriteLock",
                                       "X509Stack",
                                       "X509Store",
                                       "X509StoreContext"};

std::string classOf(const std::string& name) {
  static const std::regex member("^(?:(?:vtable|typeinfo|typeinfo name) for )?(\\w+)(?:::.*)?$");
  std::smatch parts;
  return std::regex_match(name, parts, member) ? parts[1].str() : name;
}

TEST(ExportedSymbols, AreTheLibrarysClassesAndThreeFunctionsOnly) {
  std::set<std::string> functions;
  for (const std::string& name : exported()) {
    if (classes.count(classOf(name)) == 0) {
      functions.insert(name);
    }
  }
  EXPECT_EQ((std::set<std::string>{"tp_B64Decode", "tp_B64Encode", "tp_StrLen"}), functions);
}

TEST(ExportedSymbols, EveryClassShowsItself) {
  std::set<std::string> shown;
  for (const std::string& name : exported()) {
    shown.insert(classOf(name));
  }
  for (const std::string& name : classes) {
    EXPECT_EQ(1U, shown.count(name)) << name;
  }
}

TEST(ExportedSymbols, LibraryIsNamedForItsFirstInterface) {
  const std::vector<std::string> lines =
      linesOf("readelf --dynamic " TEST_LIBTRUST " | grep SONAME");
  ASSERT_EQ(1U, lines.size());
  EXPECT_NE(std::string::npos, lines.front().find("[libtrust.so.1]"));
}

}  // namespace
