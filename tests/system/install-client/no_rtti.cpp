// A program without run-time type information, which hands certificates of a class of its own to
// the library and catches what comes back.
#include <iostream>
#include <list>
#include <memory>
#include <string>

#include "trustlib/TrustManagerFactory.h"

namespace {

class OwnCertificate : public Certificate {
 public:
  explicit OwnCertificate(bool copies) : copies_(copies) {}
  const unsigned char* getDer() const override { return bytes_; }
  unsigned int getDerLength() const override { return sizeof bytes_; }
  bool compare(const Certificate* other) const override { return other == this; }
  Certificate* clone() const override {
    if (!copies_) throw TrustManagerException("no copy of %s", "this one");
    return new OwnCertificate(*this);
  }

 private:
  unsigned char bytes_[4] = {1, 2, 3, 4};
  bool copies_;
};

void verify(bool copies) {
  const std::unique_ptr<TrustManager> manager(TrustManagerFactory::createTrustManager());
  OwnCertificate certificate(copies);
  std::list<Certificate*> chain(1, &certificate);
  std::string domain("host.test");
  try {
    manager->verify(&domain, &chain);
    std::cout << "a verdict\n";
  } catch (const TrustManagerException& error) {
    std::cout << error.what() << '\n';
  }
}

}  // namespace

int main() {
  verify(false);
  verify(true);
  return 0;
}
