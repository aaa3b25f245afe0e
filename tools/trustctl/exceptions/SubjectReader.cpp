#include "tools/trustctl/exceptions/SubjectReader.h"

#include <openssl/asn1.h>
#include <openssl/err.h>

#include "services/common/CertificateView.h"
#include "services/common/OpenSslOwners.h"

namespace {

// A place in DER: what is left of the value that it stands in.
struct Place {
  const unsigned char* at;
  long left;
};

struct Element {
  Place value;
  int tag;
  int tagClass;
};

// Reads the head of the element at the place, and moves the place behind the element.
std::optional<Element> take(Place* place) {
  constexpr int failed = 0x80;
  constexpr int indefinite = 1;
  const unsigned char* at = place->at;
  long length = 0;
  Element element{};
  const int result = ASN1_get_object(&at, &length, &element.tag, &element.tagClass, place->left);
  if ((result & (failed | indefinite)) != 0) {
    ERR_clear_error();
    return {};
  }
  element.value = {at, length};
  place->left -= (at - place->at) + length;
  place->at = at + length;
  return element;
}

std::optional<Place> enterSequence(Place* place) {
  const auto element = take(place);
  if (!element || element->tag != V_ASN1_SEQUENCE || element->tagClass != V_ASN1_UNIVERSAL) {
    return {};
  }
  return element->value;
}

// Where the subject stands: behind version (which may be missing), serial number, algorithm,
// issuer and validity.
std::optional<Place> findSubject(const CertificateDer& der) {
  Place whole{der.data(), static_cast<long>(der.size())};
  auto certificate = enterSequence(&whole);
  auto body = certificate ? enterSequence(&*certificate) : std::nullopt;
  if (!body) {
    return {};
  }
  auto element = take(&*body);
  if (element && element->tagClass == V_ASN1_CONTEXT_SPECIFIC && element->tag == 0) {
    element = take(&*body);
  }
  for (int before = 0; element && before < 3; ++before) {
    element = take(&*body);
  }
  return element ? body : std::nullopt;
}

}  // namespace

std::optional<std::string> readSubject(const CertificateDer& der) {
  const auto place = findSubject(der);
  if (!place) {
    return {};
  }
  const unsigned char* at = place->at;
  const OpenSslOwner<X509_NAME, X509_NAME_free> name(d2i_X509_NAME(nullptr, &at, place->left));
  if (name == nullptr) {
    ERR_clear_error();
    return {};
  }
  return viewName(name.get());
}
