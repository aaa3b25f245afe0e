#ifndef TESTS_SERVICES_CERTMGR_DIFFERENTIAL_RANDOM_H
#define TESTS_SERVICES_CERTMGR_DIFFERENTIAL_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

// Numbers that look random and are the same everywhere for the same seed, unlike those of the
// standard library's distributions. SplitMix64.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {
    std::uint64_t mixed = (state_ += 0x9e3779b97f4a7c15U);
    mixed = (mixed ^ (mixed >> 30U)) * 0xbf58476d1ce4e5b9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94d049bb133111ebU;
    return mixed ^ (mixed >> 31U);
  }
  // One of 0 ... count - 1.
  std::size_t below(std::size_t count) { return static_cast<std::size_t>(next() % count); }
  bool percent(unsigned chance) { return below(100) < chance; }

  template <typename T>
  const T& pick(const std::vector<T>& values) {
    return values[below(values.size())];
  }
  template <typename T>
  void shuffle(std::vector<T>& values, std::size_t from) {
    for (std::size_t i = values.size(); i > from + 1; --i) {
      std::swap(values[i - 1], values[from + below(i - from)]);
    }
  }

 private:
  std::uint64_t state_;
};

#endif
