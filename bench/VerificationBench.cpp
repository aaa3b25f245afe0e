// One verification over the whole road beside what OpenSSL alone takes for the same chain.

#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <chrono>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>

#include "tests/system/Road.h"

namespace {

// A road with as many anchors as a system has, so that nothing is cheap for lack of data.
class BenchRoad : public Road {
 public:
  BenchRoad() {
    for (int i = 1; i < anchorCount; ++i) {
      addToHashedDirectory(store(), CertificateMaker("root" + std::to_string(i)).asCa().make());
    }
    // The service reloads a store that changed a moment ago with every request.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    start();
  }

  std::string store() const { return world.root() + "/stores/common/user_trusted"; }

  const std::string host = "host.test";

 private:
  static const int anchorCount = 150;
};

const BenchRoad& benchRoad() {
  static const BenchRoad road;
  return road;
}

X509* parse(const TestCertificate& certificate) {
  const unsigned char* cursor = certificate.der().data();
  return d2i_X509(nullptr, &cursor, static_cast<long>(certificate.der().size()));
}

// The floor: parse the two certificates that were sent, make a store over the hashed
// directory, verify once.
void bareOpenSsl(benchmark::State& state) {
  const BenchRoad& road = benchRoad();
  const TestCertificate leaf = road.leafFor(road.host);
  for (auto _ : state) {
    X509* target = parse(leaf);
    STACK_OF(X509)* untrusted = sk_X509_new_null();
    sk_X509_push(untrusted, parse(road.interByRoot));
    X509_STORE* store = X509_STORE_new();
    X509_LOOKUP* lookup = X509_STORE_add_lookup(store, X509_LOOKUP_hash_dir());
    X509_LOOKUP_add_dir(lookup, road.store().c_str(), X509_FILETYPE_PEM);
    X509_STORE_CTX* context = X509_STORE_CTX_new();
    X509_STORE_CTX_init(context, store, target, untrusted);
    if (X509_verify_cert(context) != 1) {
      state.SkipWithError("the chain does not verify");
    }
    X509_STORE_CTX_free(context);
    X509_STORE_free(store);
    sk_X509_pop_free(untrusted, X509_free);
    X509_free(target);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(bareOpenSsl)->UseRealTime();

// Library, socket, service and back, with the service's store warm.
void wholeRoad(benchmark::State& state) {
  const BenchRoad& road = benchRoad();
  const TestCertificate leaf = road.leafFor(road.host);
  for (auto _ : state) {
    if (!road.verify(leaf, road.host)->isValid()) {
      state.SkipWithError("the chain is not trusted");
    }
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(wholeRoad)->UseRealTime();
BENCHMARK(wholeRoad)->UseRealTime()->Threads(2);

}  // namespace

BENCHMARK_MAIN();
