// A lookup of a stored decision among ten and among a hundred thousand.

#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateExceptionJsonCodec.h"
#include "trustlib/FileCertificateExceptionStore.h"

namespace {

// A store of that many records: one real one, and the rest under made-up hashes, since the name
// alone leads to a record.
class FilledStore {
 public:
  explicit FilledStore(int records)
      : chain({CertificateMaker("host.test").asServer().make().derString(),
               CertificateMaker("root").asCa().make().derString()}),
        known(0x100, &domain, chain.list()),
        unknown(0x108, &domain, chain.list()) {
    store.addException(&known);
    unsigned char* bytes = nullptr;
    unsigned int length = 0;
    CertificateExceptionJsonCodec().encode(&known, &bytes, &length);
    for (int i = 1; i < records; ++i) {
      std::ofstream(fmt::format("{}/cx_{:040x}_0.json", path, i))
          .write(reinterpret_cast<const char*>(bytes), length);
    }
    free(bytes);
  }

  const std::string domain = "host.test";
  Chain chain;
  CertificateExceptionImpl known;
  CertificateExceptionImpl unknown;
  TemporaryDirectory directory;
  std::string path = directory.path("store");
  FileCertificateExceptionStore store{&path};
};

const FilledStore& storeOf(int records) {
  static std::map<int, std::unique_ptr<FilledStore>> stores;
  std::unique_ptr<FilledStore>& store = stores[records];
  if (store == nullptr) {
    store = std::make_unique<FilledStore>(records);
  }
  return *store;
}

void findDecision(benchmark::State& state) {
  const FilledStore& filled = storeOf(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    if (!filled.store.exceptionExists(&filled.known)) {
      state.SkipWithError("the record is not there");
    }
  }
}
BENCHMARK(findDecision)->Arg(10)->Arg(100000)->Unit(benchmark::kMicrosecond);

void missDecision(benchmark::State& state) {
  const FilledStore& filled = storeOf(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    if (filled.store.exceptionExists(&filled.unknown)) {
      state.SkipWithError("a record is there that nobody stored");
    }
  }
}
BENCHMARK(missDecision)->Arg(10)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
