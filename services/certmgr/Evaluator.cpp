#include "services/certmgr/Evaluator.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include <openssl/err.h>
#include <openssl/x509_vfy.h>

#include "services/certmgr/Findings.h"
#include "services/certmgr/Revocation.h"
#include "services/common/CertificateFiles.h"

namespace {

// 112 bits: RSA of 2048 bits and SHA-256, as public certificate authorities do.
constexpr int kSecurityLevel = 2;

struct Collected {
  Warnings warnings = 0;
  bool issuerMissing = false;
};

// OpenSSL's own way of going on after a finding: note it, and answer 1.
int collect(int ok, X509_STORE_CTX* context) {
  if (ok == 1) return 1;
  auto* collected = static_cast<Collected*>(X509_STORE_CTX_get_app_data(context));
  const int error = X509_STORE_CTX_get_error(context);
  collected->warnings |= findingOf(error, X509_STORE_CTX_get_current_cert(context),
                                   X509_STORE_CTX_get_error_depth(context));
  if (error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT ||
      error == X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY ||
      error == X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE) {
    collected->issuerMissing = true;
  }
  return 1;
}

X509StackPtr stackOf(const std::vector<X509*>& certificates) {
  X509StackPtr stack(sk_X509_new_null());
  for (X509* certificate : certificates) {
    X509Ptr shared = shareCertificate(certificate);
    if (stack == nullptr || sk_X509_push(stack.get(), shared.get()) == 0) {
      throw std::runtime_error("out of memory");
    }
    (void)shared.release();  // the stack owns it now
  }
  return stack;
}

// Among several that fit, OpenSSL takes the first: give it always the same first.
std::vector<X509*> inFixedOrder(const std::vector<X509*>& certificates) {
  std::map<std::string, X509*> byFingerprint;
  for (X509* certificate : certificates) {
    byFingerprint.emplace(fingerprintOf(certificate), certificate);
  }
  std::vector<X509*> ordered;
  ordered.reserve(byFingerprint.size());
  for (const auto& [fingerprint, certificate] : byFingerprint) ordered.push_back(certificate);
  return ordered;
}

std::vector<X509Ptr> anchorsNamed(X509_STORE_CTX* context, const X509_NAME* name) {
  // OpenSSL 1.1.1 takes the name without const here, and changes nothing.
  const X509StackPtr found(X509_STORE_CTX_get1_certs(context, const_cast<X509_NAME*>(name)));
  std::vector<X509Ptr> anchors;
  for (int i = 0; found != nullptr && i < sk_X509_num(found.get()); ++i) {
    anchors.push_back(shareCertificate(sk_X509_value(found.get(), i)));
  }
  return anchors;
}

// Why a certificate that bears the name of the missing issuer is not the issuer;
// 0 when it bears another name.
Warnings whyNotIssuer(X509* candidate, X509* certificate) {
  if (X509_NAME_cmp(X509_get_subject_name(candidate), X509_get_issuer_name(certificate)) != 0) {
    return 0;
  }
  const int error = X509_check_issued(candidate, certificate);
  return error == X509_V_OK ? 0 : findingOf(error, candidate, 1);
}

// The road ends at `last`. When a certificate of the right name was turned down, say
// why: an anchor in place of NO_TRUSTED, one that was only sent beside it.
Warnings findBrokenIssuer(X509_STORE_CTX* context, X509* last,
                          const std::vector<X509*>& intermediates, Warnings warnings) {
  Warnings anchor = 0;
  for (const X509Ptr& candidate : anchorsNamed(context, X509_get_issuer_name(last))) {
    anchor |= whyNotIssuer(candidate.get(), last);
  }
  if (anchor != 0) return (warnings & ~Warning::NO_TRUSTED) | anchor;
  for (X509* candidate : intermediates) warnings |= whyNotIssuer(candidate, last);
  return warnings;
}

bool isRevokedBy(X509* certificate, X509* issuer, const TrustStore& store, std::time_t now) {
  return std::any_of(store.revocationLists().begin(), store.revocationLists().end(),
                     [&](const X509CrlPtr& list) {
                       return isProvenRevoked(certificate, issuer, list.get(), now);
                     });
}

Warnings findRevoked(X509_STORE_CTX* context, const std::vector<X509Ptr>& chain,
                     const TrustStore& store, std::time_t now) {
  if (store.revocationLists().empty()) return 0;
  for (std::size_t i = 0; i + 1 < chain.size(); ++i) {
    if (isRevokedBy(chain[i].get(), chain[i + 1].get(), store, now)) return Warning::REVOKED;
  }
  // The issuer of the last one is not on the road, but may be an anchor too.
  X509* last = chain.back().get();
  for (const X509Ptr& issuer : anchorsNamed(context, X509_get_issuer_name(last))) {
    EVP_PKEY* key = X509_get0_pubkey(issuer.get());
    if (key != nullptr && X509_verify(last, key) == 1 &&
        isRevokedBy(last, issuer.get(), store, now)) {
      return Warning::REVOKED;
    }
  }
  return 0;
}

void prepare(X509_STORE_CTX* context, Collected* collected, std::optional<std::time_t> when) {
  X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context);
  X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_TRUSTED_FIRST);
  X509_VERIFY_PARAM_set_purpose(parameters, X509_PURPOSE_SSL_SERVER);
  X509_VERIFY_PARAM_set_trust(parameters, X509_TRUST_SSL_SERVER);
  X509_VERIFY_PARAM_set_auth_level(parameters, kSecurityLevel);
  if (when) X509_VERIFY_PARAM_set_time(parameters, *when);
  X509_STORE_CTX_set_app_data(context, collected);
  X509_STORE_CTX_set_verify_cb(context, collect);
}

}  // namespace

Evaluation evaluateChain(X509* leaf, const std::vector<X509*>& intermediates,
                         const TrustStore& store, std::optional<std::time_t> when) {
  ERR_clear_error();
  // A leaf that is an anchor is the whole road; what was sent with it does not matter.
  X509* anchoredLeaf = store.find(leaf);
  const std::vector<X509*> usable =
      anchoredLeaf != nullptr ? std::vector<X509*>() : inFixedOrder(intermediates);
  const X509StackPtr untrusted = stackOf(usable);
  const X509StackPtr leafAlone = anchoredLeaf != nullptr ? stackOf({anchoredLeaf}) : X509StackPtr();

  Collected collected;
  const X509StoreCtxPtr context(X509_STORE_CTX_new());
  if (context == nullptr ||
      X509_STORE_CTX_init(context.get(), store.get(), leaf, untrusted.get()) != 1) {
    ERR_clear_error();
    throw std::runtime_error("OpenSSL cannot start a verification");
  }
  if (leafAlone != nullptr) X509_STORE_CTX_set0_trusted_stack(context.get(), leafAlone.get());
  prepare(context.get(), &collected, when);
  const bool completed = X509_verify_cert(context.get()) == 1;

  Evaluation result;
  result.warnings = collected.warnings;
  STACK_OF(X509)* built = X509_STORE_CTX_get0_chain(context.get());
  for (int i = 0; built != nullptr && i < sk_X509_num(built); ++i) {
    result.chain.push_back(shareCertificate(sk_X509_value(built, i)));
  }
  if (result.chain.empty()) result.chain.push_back(shareCertificate(leaf));

  const auto untrustedCount =
      std::min(result.chain.size(),
               static_cast<std::size_t>(X509_STORE_CTX_get_num_untrusted(context.get())));
  for (std::size_t i = 0; i < untrustedCount; ++i) {
    X509* certificate = result.chain[i].get();
    result.warnings |= findInExtensions(certificate);
    if (i > 0) result.warnings |= findInCaCertificate(certificate);
  }
  if (collected.issuerMissing) {
    result.warnings =
        findBrokenIssuer(context.get(), result.chain.back().get(), usable, result.warnings);
  }
  result.warnings |=
      findRevoked(context.get(), result.chain, store, when ? *when : std::time(nullptr));
  // Valid takes both: nothing found, and a verification that came to its end.
  if (!completed && result.warnings == 0) result.warnings = Warning::NO_TRUSTED;
  ERR_clear_error();
  return result;
}
