// Chains as public servers send them must stay valid. Only where TRUSTLIB_REAL_CHAINS
// names a directory of them: HOST.pem, HOST.root.pem and index.json with their times.
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "services/certmgr/Evaluator.h"
#include "services/certmgr/stores/PemFile.h"
#include "services/certmgr/stores/TrustStores.h"
#include "services/common/TimeText.h"

namespace {

std::string readText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

struct RealChain {
  std::string host;
  std::string time;
};

std::vector<RealChain> readIndex(const std::string& directory) {
  const std::string index = readText(directory + "/index.json");
  static const std::regex kEntry(R"re("host":\s*"([^"]+)",\s*"validation_time":\s*"([^"]+)")re");
  std::vector<RealChain> chains;
  for (std::sregex_iterator at(index.begin(), index.end(), kEntry), end; at != end; ++at) {
    chains.push_back({(*at)[1], (*at)[2]});
  }
  return chains;
}

// The warnings of the chains with the anchors that `sourcesFor` a chain's files names.
template <class SourcesFor>
void expectAllValid(SourcesFor sourcesFor) {
  const char* directory = getenv("TRUSTLIB_REAL_CHAINS");
  if (directory == nullptr) GTEST_SKIP() << "TRUSTLIB_REAL_CHAINS names no directory of chains";
  const std::vector<RealChain> chains = readIndex(directory);
  ASSERT_FALSE(chains.empty());
  for (const RealChain& chain : chains) {
    SCOPED_TRACE(chain.host);
    const std::string base = std::string(directory) + "/" + chain.host;
    TrustStores stores(sourcesFor(base));
    std::vector<std::string> sent;
    for (const Anchor& certificate : readPem(readText(base + ".pem")).anchors) {
      sent.push_back(certificate.certificate->der);
    }
    ASSERT_FALSE(sent.empty());
    const Verdict verdict =
        Evaluator().evaluate(sent, stores.get("a", "b"), *parseTime(chain.time));
    EXPECT_EQ(0U, verdict.evaluation->warnings());
  }
}

TEST(RealChains, AreValidAtTheirTimeWithTheirRoots) {
  expectAllValid([](const std::string& base) {
    TrustSources sources;
    sources.root = "/nonexistent";
    sources.files = {base + ".root.pem"};
    return sources;
  });
}

TEST(RealChains, AreValidAtTheirTimeWithTheAnchorsOfTheSystem) {
  expectAllValid([](const std::string&) {
    TrustSources sources;
    sources.root = "/nonexistent";
    sources.hashedDirectories = {"/etc/ssl/certs"};
    return sources;
  });
}

}  // namespace
