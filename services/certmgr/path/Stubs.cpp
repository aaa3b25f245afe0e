#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/NameConstraintCheck.h"
#include "services/certmgr/path/PolicyProcessing.h"
#include "services/certmgr/path/RevocationCheck.h"
void checkNameConstraints(const std::vector<CertificatePtr>&, Budget&, std::vector<Finding>&) {}
void checkPolicies(const std::vector<CertificatePtr>&, const PolicySettings&, Budget&,
                   std::vector<Finding>&) {}
void checkRevocation(const std::vector<CertificatePtr>&, const std::vector<CertificatePtr>&,
                     const TrustStore&, Moment&, Budget&, SignatureMemory&, std::vector<Finding>&) {
}
std::shared_ptr<const RevocationList> RevocationList::parse(std::string) {
  throw DerError("x");
}
