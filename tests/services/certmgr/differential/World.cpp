#include "tests/services/certmgr/differential/World.h"

#include <openssl/x509.h>

#include "services/certmgr/path/Digest.h"
#include "tests/services/certmgr/differential/CertificateParts.h"

namespace {

constexpr unsigned kEdwardsKeys = 24;
constexpr unsigned kOtherKeys = 6;
constexpr std::size_t kSeedBytes = 32;

CertificateMaker root(const std::string& name, const TestKey& key) {
  CertificateMaker maker;
  maker.organization("Example").commonName(name).key(key).asCa();
  return maker.subjectKeyId(identifierOf(key)).digest(signsWithoutDigest(key) ? "" : "SHA256");
}

}  // namespace

KeyPool::KeyPool() : weak(TestKey::makeRsa(1024)) {
  for (unsigned i = 0; i < kEdwardsKeys; ++i) {
    edwards.push_back(TestKey::makeEd25519(Bytes(kSeedBytes, static_cast<unsigned char>(i + 1))));
  }
  for (unsigned i = 0; i < kOtherKeys; ++i) {
    curve.push_back(TestKey::makeEc());
    rsa.push_back(TestKey::makeRsa());
  }
}

// The keys from the end of the pools are the roots'.
World::World() {
  const auto edwards = [this](std::size_t fromEnd) {
    return keys.edwards[keys.edwards.size() - 1 - fromEnd];
  };
  const auto trust = [this](const char* name, unsigned weight, const CertificateMaker& maker) {
    anchors.push_back({name, maker.make(), weight});
    return anchors.back().certificate;
  };
  const TestCertificate main = trust("edwards", 50, root("Root E", edwards(0)));
  trust("curve", 12, root("Root C", keys.curve.back()));
  trust("rsa", 12, root("Root R", keys.rsa.back()));
  trust("expired", 4, root("Root X", edwards(1)).notAfter("20211231235959Z"));
  trust("version-1", 4, CertificateMaker("Root 1").key(edwards(2)).digest("").version1());
  trust("no-extensions", 4, CertificateMaker("Root N").key(edwards(3)).digest(""));
  trust("weak", 4, root("Root W", keys.weak));
  trust("same-name", 4, root("Root S", edwards(4)));
  trust("same-name", 4, root("Root S", edwards(9)));
  trust("path-length-0", 4, root("Root L", edwards(5)).asCa(0));
  trust("intermediate", 6, root("Trusted Inter", edwards(6)).issuedBy(main));
  strangers.push_back(root("Stranger", edwards(7)).make());
  strangers.push_back(root("Root E", edwards(8)).make());
}

Bytes identifierOf(const TestKey& key) {
  Bytes encoded(static_cast<std::size_t>(i2d_PUBKEY(key.get(), nullptr)));
  unsigned char* end = encoded.data();
  i2d_PUBKEY(key.get(), &end);
  const std::string digest =
      sha256Of({reinterpret_cast<const char*>(encoded.data()), encoded.size()});
  return {digest.begin(), digest.begin() + 20};
}
