#include "services/certmgr/records/Counters.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <bit>
#include <cerrno>
#include <chrono>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace {

using Number = std::atomic<std::uint64_t>;

// A lock of one process would not keep another one out.
static_assert(Number::is_always_lock_free, "counters need 64-bit atomics of the processor");

// "certcnt" and the layout's version: the other process may be of another build.
constexpr std::uint64_t kMark = 0x63657274636e7401;

// The clock of all processes of a machine, that nobody can set.
std::int64_t steadySeconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error("cannot share counters: " + what);
}

[[noreturn]] void failBecause(int error) {
  fail(std::generic_category().message(error));
}

}  // namespace

struct Counters::Shared {
  std::uint64_t mark;
  std::int64_t startedAt;
  std::array<Number, nameCount> numbers;
  std::array<Number, CertificateWarnings::serviceNameCount> warnings;  // by bit
};

void Counters::Unmap::operator()(Shared* shared) const noexcept {
  ::munmap(shared, sizeof *shared);
}

Counters::Counters(OwnedFd fd, std::unique_ptr<Shared, Unmap> shared)
    : fd_(std::move(fd)), shared_(std::move(shared)) {}

Counters Counters::map(OwnedFd fd) {
  void* memory = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
  if (memory == MAP_FAILED) failBecause(errno);
  return {std::move(fd), std::unique_ptr<Shared, Unmap>(static_cast<Shared*>(memory))};
}

Counters Counters::create() {
  OwnedFd fd(::memfd_create("certmgr-counters", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!fd || ::ftruncate(fd.get(), sizeof(Shared)) != 0 ||
      ::fcntl(fd.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
    failBecause(errno);
  }
  Counters counters = map(std::move(fd));
  new (counters.shared_.get()) Shared{kMark, steadySeconds(), {}, {}};
  return counters;
}

Counters Counters::attach(int fd) {
  struct stat status = {};
  if (::fstat(fd, &status) != 0) failBecause(errno);
  // Sealed, so that nobody can cut the memory away from under who reads it.
  const int seals = ::fcntl(fd, F_GET_SEALS);
  if (status.st_size != static_cast<off_t>(sizeof(Shared)) || seals == -1 ||
      (seals & F_SEAL_SHRINK) == 0) {
    fail("the descriptor " + std::to_string(fd) + " leads to none");
  }
  Counters counters = map(OwnedFd(fd));
  if (counters.shared_->mark != kMark) {
    (void)counters.fd_.release();
    fail("those of another release");
  }
  return counters;
}

void Counters::add(Name name, std::uint64_t number) noexcept {
  shared_->numbers[name].fetch_add(number, std::memory_order_relaxed);
}

void Counters::addWarnings(Warnings warnings) noexcept {
  for (std::size_t bit = 0; bit < shared_->warnings.size(); ++bit) {
    if ((warnings >> bit & 1U) != 0) {
      shared_->warnings[bit].fetch_add(1, std::memory_order_relaxed);
    }
  }
}

std::uint64_t Counters::value(Name name) const noexcept {
  return shared_->numbers[name].load(std::memory_order_relaxed);
}

std::uint64_t Counters::warningCount(Warning::Flag flag) const noexcept {
  const auto bit = static_cast<std::size_t>(std::countr_zero(static_cast<Warnings>(flag)));
  return bit < shared_->warnings.size() ? shared_->warnings[bit].load(std::memory_order_relaxed)
                                        : 0;
}

std::uint64_t Counters::uptimeSeconds() const noexcept {
  return static_cast<std::uint64_t>(steadySeconds() - shared_->startedAt);
}
