#include "tools/trustctl/connect/OcspStaple.h"

#include <fmt/format.h>
#include <openssl/asn1.h>
#include <openssl/err.h>
#include <openssl/ocsp.h>

#include "services/common/CertificateView.h"
#include "services/common/OpenSslOwners.h"

namespace {

using ResponsePtr = OpenSslOwner<OCSP_RESPONSE, OCSP_RESPONSE_free>;
using BasicPtr = OpenSslOwner<OCSP_BASICRESP, OCSP_BASICRESP_free>;
using CertIdPtr = OpenSslOwner<OCSP_CERTID, OCSP_CERTID_free>;

StapledAnswer unusable(const std::string& problem) {
  StapledAnswer answer;
  answer.status = StapledAnswer::Status::unusable;
  answer.problem = problem;
  return answer;
}

// The one of the chain that issued the leaf; null when the server did not send it.
X509Ptr findIssuer(const std::vector<CertificateDer>& chain, X509* leaf) {
  for (const CertificateDer& der : chain) {
    X509Ptr candidate = parseCertificate(der);
    if (candidate != nullptr && X509_check_issued(candidate.get(), leaf) == X509_V_OK &&
        isSignedBy(leaf, candidate.get())) {
      return candidate;
    }
  }
  return nullptr;
}

// An answer names the certificate by its serial number and by hashes of its issuer, which can
// be compared only where the issuer is known.
bool isAbout(const OCSP_CERTID* id, const X509* leaf, const X509* issuer) {
  ASN1_OBJECT* digestName = nullptr;
  ASN1_INTEGER* serial = nullptr;
  // Only reads, but takes its argument without const.
  if (OCSP_id_get0_info(nullptr, &digestName, nullptr, &serial, const_cast<OCSP_CERTID*>(id)) !=
          1 ||
      ASN1_INTEGER_cmp(serial, X509_get0_serialNumber(leaf)) != 0) {
    return false;
  }
  if (issuer == nullptr) {
    return true;
  }
  const EVP_MD* digest = EVP_get_digestbyobj(digestName);
  if (digest == nullptr) {
    return false;
  }
  const CertIdPtr own(OCSP_cert_to_id(digest, leaf, issuer));
  return own != nullptr && OCSP_id_cmp(own.get(), id) == 0;
}

OCSP_SINGLERESP* findAnswerAbout(OCSP_BASICRESP* basic, const X509* leaf, const X509* issuer) {
  for (int i = 0; i < OCSP_resp_count(basic); ++i) {
    OCSP_SINGLERESP* single = OCSP_resp_get0(basic, i);
    if (isAbout(OCSP_SINGLERESP_get0_id(single), leaf, issuer)) {
      return single;
    }
  }
  return nullptr;
}

// Whether the issuer, or a responder that it certified for that, signed the answer. The issuer
// itself is taken for granted here, whatever the verdict on it; so are the dates, which are shown.
StapledAnswer::Signature checkSignature(OCSP_BASICRESP* basic, X509* issuer) {
  if (issuer == nullptr) {
    return StapledAnswer::Signature::unchecked;
  }
  const X509StorePtr store(X509_STORE_new());
  const X509StackPtr known(sk_X509_new_null());
  if (store == nullptr || known == nullptr || X509_STORE_add_cert(store.get(), issuer) != 1 ||
      X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_NO_CHECK_TIME) !=
          1 ||
      sk_X509_push(known.get(), issuer) == 0) {
    return StapledAnswer::Signature::unchecked;
  }
  X509_up_ref(issuer);  // the stack's own
  return OCSP_basic_verify(basic, known.get(), store.get(), OCSP_NOEXPLICIT) == 1
             ? StapledAnswer::Signature::valid
             : StapledAnswer::Signature::invalid;
}

StapledAnswer readSingle(OCSP_SINGLERESP* single) {
  StapledAnswer answer;
  ASN1_GENERALIZEDTIME* revoked = nullptr;
  ASN1_GENERALIZEDTIME* from = nullptr;
  ASN1_GENERALIZEDTIME* to = nullptr;
  switch (OCSP_single_get0_status(single, nullptr, &revoked, &from, &to)) {
    case V_OCSP_CERTSTATUS_GOOD:
      answer.status = StapledAnswer::Status::good;
      break;
    case V_OCSP_CERTSTATUS_REVOKED:
      answer.status = StapledAnswer::Status::revoked;
      answer.revokedAt = viewTime(revoked);
      break;
    default:
      answer.status = StapledAnswer::Status::unknown;
      break;
  }
  answer.thisUpdate = viewTime(from);
  answer.nextUpdate = viewTime(to);
  return answer;
}

StapledAnswer readAnswer(const std::vector<unsigned char>& bytes,
                         const std::vector<CertificateDer>& chain) {
  const unsigned char* end = bytes.data();
  const ResponsePtr response(d2i_OCSP_RESPONSE(nullptr, &end, static_cast<long>(bytes.size())));
  if (response == nullptr || end != bytes.data() + bytes.size()) {
    return unusable("it is no OCSP response");
  }
  const int status = OCSP_response_status(response.get());
  if (status != OCSP_RESPONSE_STATUS_SUCCESSFUL) {
    return unusable(fmt::format("the responder failed: {}", OCSP_response_status_str(status)));
  }
  const BasicPtr basic(OCSP_response_get1_basic(response.get()));
  if (basic == nullptr) {
    return unusable("it is of no kind that this program knows");
  }
  const X509Ptr leaf = parseCertificate(chain.front());
  const X509Ptr issuer = leaf == nullptr ? nullptr : findIssuer(chain, leaf.get());
  OCSP_SINGLERESP* single =
      leaf == nullptr ? nullptr : findAnswerAbout(basic.get(), leaf.get(), issuer.get());
  if (single == nullptr) {
    return unusable("it is not about the server's certificate");
  }
  StapledAnswer answer = readSingle(single);
  answer.signature = checkSignature(basic.get(), issuer.get());
  return answer;
}

}  // namespace

StapledAnswer readStaple(const std::vector<unsigned char>& bytes,
                         const std::vector<CertificateDer>& chain) {
  if (bytes.empty()) {
    return {};
  }
  StapledAnswer answer = readAnswer(bytes, chain);
  ERR_clear_error();
  return answer;
}
