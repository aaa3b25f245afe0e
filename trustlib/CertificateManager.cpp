#include "trustlib/CertificateManager.h"

#include "trustlib/CertificateUtilities.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/pps/PpsConnection.h"
#include "trustlib/pps/PpsDecoder.h"
#include "trustlib/util/ObjectLifecycleManager.h"
#include "trustlib/util/PpsTimeoutException.h"

namespace {

enum PpsService { certificateManagerService, dialogService };

const char* const ppsServicePaths[] = {"/pps/services/certmgr/control?wait",
                                       "/pps/services/dialog/control?wait"};

// Appends the texts as the elements of a JSON array behind an opening `["`. They are not escaped:
// that is the form the services have always been sent.
void appendArray(const std::list<std::string>& texts, std::string* request) {
  for (const std::string& text : texts) {
    request->append(text).append("\",\"");
  }
  request->resize(request->length() - 2);
  request->append("]");
}

// Stands in the answer's attributes.
void openAnswer(char* response, PpsDecoder* decoder) {
  decoder->initialize(nullptr);
  decoder->parsePpsStr(response);
  decoder->push(nullptr, true);
}

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
  if (certificatePaths->size() > 1) {
    request->append("\"intermediateCerts\":[\"");
    appendArray(std::list<std::string>(++certificatePaths->begin(), certificatePaths->end()),
                request);
    request->append(",");
  }
  request->append(
      "\"fields\":[\"validity\",\"subjectCommonName\",\"subjectAltNames\",\"serial\"]}\n");
}

CertificateDetails* CertificateManager::parseGetCertDetailsPpsResponse(char* response) {
  PpsDecoder decoder;
  openAnswer(response, &decoder);

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

int CertificateManager::displayCertificateVerificationDialog(
    const std::list<std::string>* certificatePaths, const std::string* domain,
    unsigned long long warnings, const std::string* groupId, int timeoutSeconds)
    TRUSTLIB_THROWS(TrustManagerException) {
  std::string request;
  createShowDialogPpsRequest(certificatePaths, domain, warnings, groupId, &request);
  PpsConnection connection(ppsServicePaths[dialogService]);
  connection.write(request.data(), static_cast<unsigned int>(request.length()));
  try {
    return parseShowDialogPpsResponse(connection.read(timeoutSeconds));
  } catch (const PpsTimeoutException&) {
    return unanswered;
  }
}

void CertificateManager::createShowDialogPpsRequest(const std::list<std::string>* certificatePaths,
                                                    const std::string* domain,
                                                    unsigned long long warnings,
                                                    const std::string* groupId,
                                                    std::string* request) {
  if (certificatePaths == nullptr) {
    throw TrustManagerException(
        "CertificateManager::createShowDialogPpsRequest - NULL certificate chain");
  }
  request->append(
      "msg::show\nid::321\ndat:json:{"
      "\"className\":\"orb.dialog::CertificateVerificationDialog\",\"desc_obj\":{");
  if (domain != nullptr) {
    request->append("\"domain\":\"").append(*domain).append("\",");
  }
  request->append("\"import\":false,");
  if (groupId != nullptr) {
    request->append("\"groupId\":\"").append(*groupId).append("\",");
  }
  std::list<std::string> names;
  CertificateWarnings::appendNames(warnings, &names);
  if (!names.empty()) {
    request->append("\"warnings\":[\"");
    appendArray(names, request);
    request->append(",");
  }
  // Without a path the quote and bracket go, as ever: the service refuses what is left.
  request->append("\"chain\":[\"");
  appendArray(*certificatePaths, request);
  request->append("}}\n");
}

int CertificateManager::parseShowDialogPpsResponse(char* response) {
  PpsDecoder decoder;
  openAnswer(response, &decoder);

  std::string error;
  if (decoder.getString("err", &error, false)) {
    throw TrustManagerException("CertificateManager: showtrustdialog returned error: %s",
                                error.c_str());
  }
  if (!decoder.push("dat", false)) {
    throw TrustManagerException("CertificateManager: unsupported showtrustdialog PPS response");
  }
  bool accepted = false;
  bool alwaysTrust = false;
  decoder.push("resp_obj", true);
  decoder.getBool("accepted", &accepted, true);
  decoder.getBool("alwaysTrust", &alwaysTrust, true);
  if (alwaysTrust) {
    return acceptedAlways;  // whatever "accepted" says
  }
  return accepted ? acceptedOnce : declined;
}
