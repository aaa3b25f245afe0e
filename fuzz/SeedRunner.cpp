// Stands in for libFuzzer where there is none: gives every file of a folder to the fuzzer once.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " FOLDER-OF-SEEDS\n";
    return 2;
  }
  std::set<std::filesystem::path> seeds;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) seeds.insert(entry.path());
  for (const std::filesystem::path& seed : seeds) {
    // The last line tells whose property did not hold.
    std::cout << seed.filename().string() << std::endl;
    std::ifstream file(seed, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  if (seeds.empty()) {
    std::cerr << "no seeds in " << argv[1] << "\n";
    return 1;
  }
  return 0;
}
