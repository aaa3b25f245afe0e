// Stands in for libFuzzer where there is none: gives every file of a folder to the fuzzer once.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER-OF-SEEDS\n", argv[0]);
    return 2;
  }
  std::set<std::filesystem::path> seeds;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) seeds.insert(entry.path());
  for (const std::filesystem::path& seed : seeds) {
    std::printf("%s\n", seed.filename().c_str());
    std::fflush(stdout);  // the last line then tells whose property did not hold
    std::ifstream file(seed, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  if (seeds.empty()) {
    std::fprintf(stderr, "no seeds in %s\n", argv[1]);
    return 1;
  }
  return 0;
}
