// What judging a chain costs the certificate-manager service, as ratios to what OpenSSL alone
// takes for the same three certificates in the same run. Beside it GnuTLS with a warm trust list.

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include "services/certmgr/Evaluator.h"
#include "services/certmgr/stores/TrustStores.h"
#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

constexpr int kAnchors = 150;
constexpr int kLeaves = 2000;
constexpr std::int64_t kNow = 1767225600;  // 2026-01-01

// A root among real ones, an intermediate, and many leaves, whose keys are all of one kind.
class World {
 public:
  explicit World(const std::function<TestKey()>& makeKey)
      : root(CertificateMaker("Bench Root").asCa().key(makeKey()).make()),
        inter(CertificateMaker("Bench Inter").asCa().key(makeKey()).issuedBy(root).make()) {
    fillStore();
    const TestKey key = makeKey();
    for (int i = 0; i < kLeaves; ++i) {
      leaves.push_back(CertificateMaker(fmt::format("host{}.test", i))
                           .asServer()
                           .dns(fmt::format("host{}.test", i))
                           .serial({static_cast<unsigned char>(1 + i / 256),
                                    static_cast<unsigned char>(i % 256)})
                           .key(key)
                           .issuedBy(inter)
                           .make()
                           .derString());
    }
  }

  std::string storeDirectory() const { return directory_.path("bench/anchors"); }
  std::vector<std::string> chain(int leaf) const {
    return {leaves[static_cast<std::size_t>(leaf)], inter.derString()};
  }
  std::shared_ptr<const TrustStore> store() const {
    TrustSources sources;
    sources.root = directory_.path();
    return TrustStores(sources).get("bench", "anchors");
  }

  const TestCertificate root;
  const TestCertificate inter;
  std::vector<std::string> leaves;

 private:
  void fillStore() const {
    addToHashedDirectory(storeDirectory(), root);
    int anchors = 1;
    for (const auto& entry : std::filesystem::directory_iterator("/etc/ssl/certs")) {
      const std::string name = entry.path().filename().string();
      const bool isHashed = name.size() == 10 && name[8] == '.';
      if (!isHashed || anchors >= kAnchors) continue;
      std::filesystem::copy_file(entry.path(), storeDirectory() + "/" + name,
                                 std::filesystem::copy_options::skip_existing);
      ++anchors;
    }
    if (anchors < 100) throw std::runtime_error("/etc/ssl/certs holds too few real roots");
  }

  TemporaryDirectory directory_;
};

const World& rsaWorld() {
  static const World world([] { return TestKey::makeRsa(); });
  return world;
}

const World& curveWorld() {
  static const World world([] { return TestKey::makeEc(); });
  return world;
}

using Worlds = const World& (*)();

X509* parse(const std::string& der) {
  const auto* cursor = reinterpret_cast<const unsigned char*>(der.data());
  return d2i_X509(nullptr, &cursor, static_cast<long>(der.size()));
}

// "1a": parse what was sent, a fresh store over the hashed directory, verify once.
void bareOpenSsl(benchmark::State& state, Worlds worlds) {
  const World& world = worlds();
  const std::vector<std::string> chain = world.chain(0);
  const std::string directory = world.storeDirectory();
  for (auto _ : state) {
    X509* target = parse(chain[0]);
    STACK_OF(X509)* untrusted = sk_X509_new_null();
    sk_X509_push(untrusted, parse(chain[1]));
    X509_STORE* store = X509_STORE_new();
    X509_LOOKUP* lookup = X509_STORE_add_lookup(store, X509_LOOKUP_hash_dir());
    X509_LOOKUP_add_dir(lookup, directory.c_str(), X509_FILETYPE_PEM);
    X509_STORE_CTX* context = X509_STORE_CTX_new();
    X509_STORE_CTX_init(context, store, target, untrusted);
    if (X509_verify_cert(context) != 1) state.SkipWithError("the chain does not verify");
    X509_STORE_CTX_free(context);
    X509_STORE_free(store);
    sk_X509_pop_free(untrusted, X509_free);
    X509_free(target);
  }
}

void judge(benchmark::State& state, Evaluator& evaluator, const std::vector<std::string>& chain,
           const std::shared_ptr<const TrustStore>& store) {
  if (!evaluator.evaluate(chain, store, kNow).evaluation->isValid()) {
    state.SkipWithError("the chain is not valid");
  }
}

void nothingKnownButAnchors(benchmark::State& state, Worlds worlds) {
  const World& world = worlds();
  const auto store = world.store();
  const std::vector<std::string> chain = world.chain(0);
  for (auto _ : state) {
    Evaluator evaluator;
    judge(state, evaluator, chain, store);
  }
}

void newLeafUnderAKnownPath(benchmark::State& state, Worlds worlds) {
  const World& world = worlds();
  const auto store = world.store();
  Evaluator evaluator;
  judge(state, evaluator, world.chain(0), store);
  std::vector<std::vector<std::string>> chains;
  for (int i = 1; i < kLeaves; ++i) chains.push_back(world.chain(i));
  auto next = chains.begin();
  for (auto _ : state) {
    judge(state, evaluator, *next, store);
    ++next;
  }
}

void theSameChainAgain(benchmark::State& state, Worlds worlds) {
  const World& world = worlds();
  const auto store = world.store();
  const std::vector<std::string> chain = world.chain(0);
  Evaluator evaluator;
  judge(state, evaluator, chain, store);
  for (auto _ : state) judge(state, evaluator, chain, store);
}

// Chains made to cost: what one costs at most, nothing being known.
void judgeHostile(benchmark::State& state, const std::vector<std::string>& chain,
                  const TestCertificate& root) {
  const auto store = std::make_shared<TrustStore>();
  store->add(Anchor{ParsedCertificate::parse(root.derString()), {}});
  for (auto _ : state) {
    Evaluator evaluator;
    if (evaluator.evaluate(chain, store, kNow).evaluation->isValid()) {
      state.SkipWithError("the chain is valid");
    }
  }
}

// Fifty intermediates of one name, and nobody says by which of them a certificate was issued.
void meshOfOneName(benchmark::State& state) {
  TestCertificate last = CertificateMaker("Mesh").asCa().make();
  std::vector<std::string> chain;
  for (int i = 0; i < 50; ++i) {
    last = CertificateMaker("Mesh").asCa().issuedBy(last).make();
    chain.push_back(last.derString());
  }
  chain.insert(chain.begin(), CertificateMaker("leaf").issuedBy(last).make().derString());
  judgeHostile(state, chain, rsaWorld().root);
}
BENCHMARK(meshOfOneName)->Unit(benchmark::kMillisecond);

// Eight authorities, each cross-signed by all others: very many paths, and none leads out.
void meshOfCrossSignatures(benchmark::State& state) {
  std::vector<TestCertificate> roots;
  for (int i = 0; i < 8; ++i) {
    roots.push_back(CertificateMaker(fmt::format("Mesh {}", i)).asCa().make());
  }
  std::vector<std::string> chain{CertificateMaker("leaf").issuedBy(roots[0]).make().derString()};
  for (std::size_t i = 0; i < roots.size(); ++i) {
    for (std::size_t j = 0; j < roots.size(); ++j) {
      if (i == j) continue;
      chain.push_back(CertificateMaker(fmt::format("Mesh {}", i))
                          .asCa()
                          .key(roots[i].key())
                          .issuedBy(roots[j])
                          .make()
                          .derString());
    }
  }
  judgeHostile(state, chain, rsaWorld().root);
}
BENCHMARK(meshOfCrossSignatures)->Unit(benchmark::kMillisecond);

void manyNamesAgainstManyConstraints(benchmark::State& state) {
  const TestCertificate root = CertificateMaker("Root").asCa().make();
  std::string constraints = "critical";
  for (int i = 0; i < 1000; ++i) constraints += fmt::format(",excluded;DNS:x{}.test", i);
  const TestCertificate inter =
      CertificateMaker("Inter").asCa().nameConstraints(constraints).issuedBy(root).make();
  CertificateMaker leaf("leaf");
  for (int i = 0; i < 10'000; ++i) leaf.dns(fmt::format("n{}", i));
  leaf.dns("in.x999.test").asServer().issuedBy(inter);
  judgeHostile(state, {leaf.make().derString(), inter.derString()}, root);
}
BENCHMARK(manyNamesAgainstManyConstraints)->Unit(benchmark::kMillisecond);

gnutls_datum_t datum(const std::string& bytes) {
  return {reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())),
          static_cast<unsigned>(bytes.size())};
}

// Import what was sent and verify it against a list that holds the anchors already.
void gnutlsWithAWarmList(benchmark::State& state, Worlds worlds) {
  const World& world = worlds();
  gnutls_x509_trust_list_t list = nullptr;
  gnutls_x509_trust_list_init(&list, 0);
  gnutls_x509_trust_list_add_trust_dir(list, world.storeDirectory().c_str(), nullptr,
                                       GNUTLS_X509_FMT_PEM, 0, 0);
  const std::vector<std::string> chain = world.chain(0);
  for (auto _ : state) {
    gnutls_x509_crt_t certificates[2];
    for (int i = 0; i < 2; ++i) {
      gnutls_x509_crt_init(&certificates[i]);
      const gnutls_datum_t der = datum(chain[static_cast<std::size_t>(i)]);
      gnutls_x509_crt_import(certificates[i], &der, GNUTLS_X509_FMT_DER);
    }
    unsigned status = 0;
    if (gnutls_x509_trust_list_verify_crt2(list, certificates, 2, nullptr, 0, 0, &status,
                                           nullptr) != 0 ||
        status != 0) {
      state.SkipWithError("the chain does not verify");
    }
    for (gnutls_x509_crt_t certificate : certificates) gnutls_x509_crt_deinit(certificate);
  }
  gnutls_x509_trust_list_deinit(list, 1);
}

// Collects the medians, or what there is of them, and prints the ratios at the end.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      const bool isMedian = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      const std::string name = run.run_name.function_name;
      if (isMedian || medians_.count(name) == 0) medians_[name] = run.GetAdjustedCPUTime();
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    fmt::print("\nratio to OpenSSL alone (1a)      RSA-2048  ECDSA P-256\n");
    for (const char* what : {"nothingKnownButAnchors", "newLeafUnderAKnownPath",
                             "theSameChainAgain", "gnutlsWithAWarmList"}) {
      fmt::print("{:32} {:8.3f} {:12.3f}\n", what, ratio(what, "rsa"), ratio(what, "curve"));
    }
  }

 private:
  double ratio(const std::string& what, const std::string& keys) {
    return medians_[what + "/" + keys] / medians_["bareOpenSsl/" + keys];
  }

  std::map<std::string, double> medians_;
};

void add(const char* what, void (*run)(benchmark::State&, Worlds), int iterations = 0) {
  for (const auto& [keys, worlds] :
       {std::pair<const char*, Worlds>("rsa", rsaWorld), {"curve", curveWorld}}) {
    auto* added =
        benchmark::RegisterBenchmark(fmt::format("{}/{}", what, keys).c_str(), run, worlds)
            ->Unit(benchmark::kMicrosecond);
    if (iterations > 0) added->Iterations(iterations);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  add("bareOpenSsl", bareOpenSsl);
  add("nothingKnownButAnchors", nothingKnownButAnchors);
  add("newLeafUnderAKnownPath", newLeafUnderAKnownPath, kLeaves - 1);
  add("theSameChainAgain", theSameChainAgain);
  add("gnutlsWithAWarmList", gnutlsWithAWarmList);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
