#include "trustlib/CertificateManager.h"

#include "trustlib/CertificateUtilities.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/pps/PpsConnection.h"
#include "trustlib/pps/PpsDecoder.h"
#include "trustlib/util/ObjectLifecycleManager.h"

namespace {

enum PpsService { certificateManagerService, dialogService };

const char* const ppsServicePaths[] = {"/pps/services/certmgr/control?wait",
                                       "/pps/services/dialog/control?wait"};

}  // namespace

CertificateManager::CertificateManager() TRUSTLIB_THROWS(TrustManagerException) {}

CertificateManager::~CertificateManager() = default;

CertificateDetails* CertificateManager::verifyCertificateTrust(
    const std::list<std::string>* certificatePaths, const std::string* trustStoreApplication,
    const std::string* trustStoreClass, int timeoutSeconds) TRUSTLIB_THROWS(TrustManagerException) {
  std::string request;
  createGetCertDetailsPpsRequest(certificatePaths, trustStoreApplication, trustStoreClass,
                                 &request);
  PpsConnection connection(ppsServicePaths[certificateManagerService]);
  connection.write(request.data(), static_cast<unsigned int>(request.length()));
  return parseGetCertDetailsPpsResponse(connection.read(timeoutSeconds));
}

// No value is escaped: that is the form the service has always been sent.
void CertificateManager::createGetCertDetailsPpsRequest(
    const std::list<std::string>* certificatePaths, const std::string* trustStoreApplication,
    const std::string* trustStoreClass, std::string* request) {
  if (certificatePaths == nullptr || certificatePaths->empty()) {
    throw TrustManagerException(
        "CertificateManager::createGetCertDetailsPpsRequest - empty certificate chain");
  }
  if (trustStoreApplication == nullptr) {
    throw TrustManagerException(
        "CertificateManager::createGetCertDetailsPpsRequest - trust store app name is NULL");
  }
  if (trustStoreClass == nullptr) {
    throw TrustManagerException(
        "CertificateManager::createGetCertDetailsPpsRequest - trust store class name is NULL");
  }
  request->append("msg::getcertdetails\nid::789\ndat:json:{");
  request->append("\"application\":\"").append(*trustStoreApplication).append("\"");
  request->append(",\"class\":\"").append(*trustStoreClass).append("\"");
  request->append(",\"certid\":\"").append(certificatePaths->front()).append("\",");
  auto path = certificatePaths->begin();
  if (++path != certificatePaths->end()) {
    request->append("\"intermediateCerts\":[\"");
    for (; path != certificatePaths->end(); ++path) {
      request->append(*path).append("\",\"");
    }
    request->resize(request->length() - 2);
    request->append("],");
  }
  request->append(
      "\"fields\":[\"validity\",\"subjectCommonName\",\"subjectAltNames\",\"serial\"]}\n");
}

CertificateDetails* CertificateManager::parseGetCertDetailsPpsResponse(char* response) {
  PpsDecoder decoder;
  decoder.initialize(nullptr);
  decoder.parsePpsStr(response);
  decoder.push(nullptr, true);

  std::string error;
  if (decoder.getString("err", &error, false)) {
    throw TrustManagerException(
        "CertificateManager::parseGetCertDetailsPpsResponse - PPS error: %s", error.c_str());
  }
  if (!decoder.push("dat", false)) {
    throw TrustManagerException(
        "CertificateManager::parseGetCertDetailsPpsResponse - unsupported PPS response");
  }
  const char* serial = nullptr;
  decoder.getString("serial", &serial, true);
  std::string normalised;
  CertificateUtilities::normalizeSerialNumber(serial, &normalised);

  ObjectLifecycleManager guard;
  CertificateDetails* details = new CertificateDetails(normalised.c_str());
  guard.addReturnObject(details);
  decoder.getStringArray("subjectCommonName", details->getCommonNames(), true);
  decoder.getStringArray("subjectAltNames", details->getSubjectAltNames(), false);

  std::string validity;
  decoder.getString("validity", &validity, true);
  details->setValid(validity == "VALID");
  if (!details->isValid()) {
    std::list<std::string> names;
    decoder.getStringArray("warnings", &names, true);
    for (const std::string& name : names) {
      details->addWarnings(CertificateWarnings::fromServiceName(name.c_str()));
    }
  }
  decoder.getStringArray("chain", details->getCertificateChain(), true);
  guard.successfulReturn();
  return details;
}
