#ifndef TESTS_TRUSTLIB_CHAINS_H
#define TESTS_TRUSTLIB_CHAINS_H

#include <initializer_list>
#include <list>
#include <string>
#include <vector>

#include "trustlib/CertificateImpl.h"
#include "trustlib/CertificateUtilities.h"

// A chain that owns its certificates, as a caller of the library would keep it.
class Chain {
 public:
  Chain() = default;
  Chain(std::initializer_list<std::string> ders) {
    for (const std::string& der : ders) {
      add(der);
    }
  }
  explicit Chain(const std::vector<std::vector<unsigned char>>& ders) {
    for (const std::vector<unsigned char>& der : ders) {
      add(der);
    }
  }
  ~Chain() { CertificateUtilities::clearCertificateChain(&certificates); }
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;

  void add(const std::string& der) {
    certificates.push_back(new CertificateImpl(reinterpret_cast<const unsigned char*>(der.data()),
                                               static_cast<unsigned int>(der.size())));
  }
  void add(const std::vector<unsigned char>& der) {
    certificates.push_back(new CertificateImpl(der.data(), static_cast<unsigned int>(der.size())));
  }

  std::list<Certificate*>* list() { return &certificates; }

 private:
  std::list<Certificate*> certificates;
};

// The bytes of every certificate, for comparing chains.
inline std::vector<std::string> bytesOf(const std::list<Certificate*>& chain) {
  std::vector<std::string> bytes;
  for (const Certificate* certificate : chain) {
    bytes.emplace_back(reinterpret_cast<const char*>(certificate->getDer()),
                       certificate->getDerLength());
  }
  return bytes;
}

#endif
