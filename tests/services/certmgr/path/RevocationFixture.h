#ifndef TESTS_SERVICES_CERTMGR_PATH_REVOCATIONFIXTURE_H
#define TESTS_SERVICES_CERTMGR_PATH_REVOCATIONFIXTURE_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Digest.h"
#include "services/certmgr/path/RevocationCheck.h"
#include "tests/services/certmgr/path/ListMaker.h"
#include "tests/services/certmgr/path/MadeCertificate.h"

inline constexpr std::int64_t kNow = 1767225600;  // 2026-01-01T00:00:00Z
inline constexpr const char* kLeafRevoked =
    "0 revoked: serial 07 on the list of CN=Inter, 2021-01-01T00:00:00Z\n";

inline CertificatePtr parsed(const TestCertificate& certificate) {
  return ParsedCertificate::parse(certificate.derString());
}

inline std::string context(unsigned number, std::string_view content) {
  return derElement(DerReader::context(number, true), content);
}

inline std::string uri(std::string_view text) {
  return derElement(DerReader::context(6), text);
}

inline std::string directory(const TestCertificate& certificate) {
  return context(4, subjectOf(certificate));
}

// A DistributionPointName of full names, in its [0].
inline std::string pointName(const std::string& names) {
  return context(0, context(0, names));
}

// One whose name is below the issuer's: CN=`commonName`.
inline std::string relativePointName(std::string_view commonName) {
  constexpr unsigned char kUtf8String = 0x0c;
  return context(
      0, context(1, derElement(DerReader::kSequence, derElement(DerReader::kOid, kCommonName) +
                                                         derElement(kUtf8String, commonName))));
}

inline std::string flag(unsigned number) {
  return derElement(DerReader::context(number), "\xff");
}

// leaf 07 <- Inter <- Root, an anchor
class RevocationCheck : public testing::Test {
 protected:
  RevocationCheck() { trust(root); }

  void trust(const TestCertificate& certificate, Anchor::Use use = Anchor::Use::unrestricted) {
    store.add(Anchor{parsed(certificate), use});
  }

  static CertificateMaker leafBy(const TestCertificate& issuer) {
    CertificateMaker maker("leaf.example");
    return maker.asServer().serial({7}).issuedBy(issuer);
  }

  // The leaf, with a distribution point of that content.
  TestCertificate leafAt(const std::string& point) const {
    const std::string points =
        derElement(DerReader::kSequence, derElement(DerReader::kSequence, point));
    return leafBy(inter).extension("crlDistributionPoints", "DER:" + hexOf(points)).make();
  }

  std::string check(const TestCertificate& certificate,
                    const std::vector<TestCertificate>& others = {}) {
    return checkPath({certificate, inter, root}, others);
  }

  std::string checkPath(const std::vector<TestCertificate>& path,
                        const std::vector<TestCertificate>& others,
                        std::int64_t units = Budget::kDefault) {
    std::vector<CertificatePtr> members(path.size());
    std::transform(path.begin(), path.end(), members.begin(), parsed);
    std::vector<CertificatePtr> along(others.size());
    std::transform(others.begin(), others.end(), along.begin(), parsed);
    Budget budget(units);
    SignatureMemory signatures(100);
    std::vector<Finding> findings;
    checkRevocation(members, along, store, moment, budget, signatures, findings);
    std::string text;
    for (const Finding& finding : findings) {
      text += std::to_string(finding.member) + " " + std::string(nameOf(finding.reason)) + ": " +
              finding.evidence + "\n";
    }
    return text;
  }

  TrustStore store;
  Moment moment{kNow};
  const TestCertificate root = CertificateMaker("Root").asCa().make();
  const TestCertificate inter = CertificateMaker("Inter").asCa().serial({3}).issuedBy(root).make();
  const TestCertificate leaf = leafBy(inter).make();
};

#endif
