#include <time.h>

#include <array>
#include <stdexcept>
#include <utility>

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include "tests/services/certmgr/differential/Judges.h"

namespace {

struct FreeCertificate {
  void operator()(gnutls_x509_crt_t certificate) const { gnutls_x509_crt_deinit(certificate); }
};
using CertificateOwner = std::unique_ptr<std::remove_pointer_t<gnutls_x509_crt_t>, FreeCertificate>;

// On a 32-bit system GnuTLS may have a shorter time_t than this program: what is returned comes out
// right all the same, what was stored would not.
time_t fixedTime(time_t* /*out*/) {
  return World::kNow;
}

void require(int code, const char* what) {
  if (code < 0) throw std::runtime_error(std::string(what) + ": " + gnutls_strerror(code));
}

// NULL where GnuTLS refuses to read it.
CertificateOwner import(const std::string& der) {
  gnutls_x509_crt_t raw = nullptr;
  require(gnutls_x509_crt_init(&raw), "certificate");
  CertificateOwner certificate(raw);
  std::string bytes = der;
  const gnutls_datum_t datum{reinterpret_cast<unsigned char*>(bytes.data()),
                             static_cast<unsigned>(bytes.size())};
  if (gnutls_x509_crt_import(raw, &datum, GNUTLS_X509_FMT_DER) < 0) return nullptr;
  return certificate;
}

constexpr std::array<std::pair<unsigned, const char*>, 13> kStatus{{
    {GNUTLS_CERT_REVOKED, "revoked"},
    {GNUTLS_CERT_SIGNER_NOT_FOUND, "signer-not-found"},
    {GNUTLS_CERT_SIGNER_NOT_CA, "signer-not-ca"},
    {GNUTLS_CERT_INSECURE_ALGORITHM, "insecure-algorithm"},
    {GNUTLS_CERT_NOT_ACTIVATED, "not-activated"},
    {GNUTLS_CERT_EXPIRED, "expired"},
    {GNUTLS_CERT_SIGNATURE_FAILURE, "signature-failure"},
    {GNUTLS_CERT_UNEXPECTED_OWNER, "unexpected-owner"},
    {GNUTLS_CERT_SIGNER_CONSTRAINTS_FAILURE, "signer-constraints-failure"},
    {GNUTLS_CERT_MISMATCH, "mismatch"},
    {GNUTLS_CERT_PURPOSE_MISMATCH, "purpose-mismatch"},
    {GNUTLS_CERT_UNKNOWN_CRIT_EXTENSIONS, "unknown-critical-extension"},
    {GNUTLS_CERT_REVOCATION_DATA_SUPERSEDED, "revocation-data-superseded"},
}};

std::set<std::string> namesOf(unsigned status) {
  std::set<std::string> names;
  for (const auto& [bit, name] : kStatus) {
    if ((status & bit) != 0) names.insert(name);
  }
  if (status != 0 && names.empty()) names.insert("invalid");
  return names;
}

}  // namespace

struct GnuTlsJudge::TrustList {
  TrustList() { require(gnutls_x509_trust_list_init(&handle, 0), "trust list"); }
  ~TrustList() { gnutls_x509_trust_list_deinit(handle, 1); }  // with its certificates
  TrustList(const TrustList&) = delete;
  TrustList& operator=(const TrustList&) = delete;

  gnutls_x509_trust_list_t handle = nullptr;
};

GnuTlsJudge::GnuTlsJudge(const World& world) : list_(std::make_unique<TrustList>()) {
  gnutls_global_set_time_function(fixedTime);
  for (const World::Root& root : world.anchors) {
    CertificateOwner certificate = import(root.certificate.derString());
    if (certificate == nullptr) throw std::runtime_error("no anchor: " + root.name);
    gnutls_x509_crt_t raw = certificate.get();
    require(gnutls_x509_trust_list_add_cas(list_->handle, &raw, 1, 0), "anchor");
    (void)certificate.release();  // the list's now
  }
}

GnuTlsJudge::~GnuTlsJudge() {
  gnutls_global_set_time_function(time);
}

Judgement GnuTlsJudge::judge(const std::vector<std::string>& chain) {
  std::vector<CertificateOwner> certificates;
  std::vector<gnutls_x509_crt_t> raw;
  for (const std::string& der : chain) {
    certificates.push_back(import(der));
    if (certificates.back() == nullptr) return {{"unreadable"}, "cannot be read"};
    raw.push_back(certificates.back().get());
  }
  std::string purpose = GNUTLS_KP_TLS_WWW_SERVER;
  gnutls_typed_vdata_st data{GNUTLS_DT_KEY_PURPOSE_OID,
                             reinterpret_cast<unsigned char*>(purpose.data()), 0};
  unsigned status = 0;
  const int code = gnutls_x509_trust_list_verify_crt2(
      list_->handle, raw.data(), static_cast<unsigned>(raw.size()), &data, 1,
      GNUTLS_PROFILE_TO_VFLAGS(GNUTLS_PROFILE_MEDIUM), &status, nullptr);
  if (code < 0) return {{"error"}, gnutls_strerror(code)};
  Judgement judgement{namesOf(status), {}};
  for (const std::string& name : judgement.findings) judgement.details += " " + name;
  return judgement;
}
