#include "services/certmgr/path/SignatureMemory.h"

#include <utility>

SignatureState SignatureMemory::check(const SignedBytes& bytes, const std::string& fingerprint,
                                      const PublicKey& key) {
  const std::string name = fingerprint + key.identity();
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const Known* known : {&latest_, &earlier_}) {
      const auto found = known->find(name);
      if (found != known->end()) return found->second;
    }
  }
  const SignatureState state = checkSignature(bytes, key);
  const std::lock_guard<std::mutex> lock(mutex_);
  if (latest_.size() >= capacity_) {
    earlier_ = std::move(latest_);
    latest_.clear();
  }
  if (capacity_ > 0) latest_.emplace(name, state);
  return state;
}
