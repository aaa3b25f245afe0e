#include "trustlib/DefaultTrustDialog.h"

#include <pthread.h>
#include <time.h>

#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateManager.h"
#include "trustlib/util/MutexLocker.h"
#include "trustlib/util/TemporaryFiles.h"

namespace {

const int defaultMinimumDisplayTimeout = 10;

// One dialog of this process at a time.
pthread_mutex_t dialogMutex = PTHREAD_MUTEX_INITIALIZER;

// Waits for this dialog's turn and tells through `timeout` how long it may then take. False
// when the turn did not come in time, or the time allowed is below the least from the start.
bool awaitTurn(MutexLocker* locker, int invocationTimeout, int minimumDisplayTimeout,
               int* timeout) {
  *timeout = invocationTimeout;
  if (invocationTimeout < 0) {
    locker->lock();
    return true;
  }
  const time_t start = time(nullptr);
  if (locker->timedLock(invocationTimeout - minimumDisplayTimeout) != 0) {
    return false;
  }
  const auto elapsed = static_cast<unsigned int>(time(nullptr) - start);
  const double remaining = static_cast<double>(invocationTimeout) - elapsed;
  // Otherwise the full time stays, on purpose: not the rest, nor the least.
  if (remaining >= minimumDisplayTimeout) {
    *timeout = static_cast<int>(remaining);
  }
  return true;
}

}  // namespace

DefaultTrustDialog::DefaultTrustDialog(CertificateTrustInfo* trustInfo,
                                       CertificateExceptionStore* exceptionStore)
    TRUSTLIB_THROWS(TrustManagerException)
    : trustInfo(trustInfo),
      exceptionStore(exceptionStore),
      groupId(nullptr),
      invocationTimeout(-1),
      minimumDisplayTimeout(defaultMinimumDisplayTimeout) {}

DefaultTrustDialog::~DefaultTrustDialog() {
  delete groupId;
}

void DefaultTrustDialog::setDialogInvocationTimeout(int seconds)
    TRUSTLIB_THROWS(TrustManagerException) {
  invocationTimeout = seconds;
}

void DefaultTrustDialog::setDialogMinimumDisplayTimeout(int seconds)
    TRUSTLIB_THROWS(TrustManagerException) {
  if (seconds >= 0) {
    minimumDisplayTimeout = seconds;
  }
}

void DefaultTrustDialog::setGroupId(std::string* groupId) TRUSTLIB_THROWS(TrustManagerException) {
  delete this->groupId;
  this->groupId = groupId != nullptr ? new std::string(*groupId, 0, groupId->find('\0')) : nullptr;
}

bool DefaultTrustDialog::display() TRUSTLIB_THROWS(TrustManagerException) {
  const unsigned long long warnings = trustInfo->getWarnings();
  const std::string* domain = trustInfo->getDomainName();
  const std::list<Certificate*>* chain = trustInfo->getCertificateChain();

  // What stands here is released from below upwards: the record, the turn, the files.
  TemporaryFiles files;
  files.createTemporaryCertificateFiles(chain);
  CertificateManager manager;
  MutexLocker locker(&dialogMutex);
  int timeout = 0;
  if (!awaitTurn(&locker, invocationTimeout, minimumDisplayTimeout, &timeout)) {
    return false;
  }
  const CertificateExceptionImpl exception(warnings, domain, chain);
  if (exceptionStore != nullptr && exceptionStore->exceptionExists(&exception)) {
    return false;
  }
  const int answer = manager.displayCertificateVerificationDialog(
      files.getTemporaryFilePaths(), domain, warnings, groupId, timeout);
  if (answer == CertificateManager::acceptedAlways && exceptionStore != nullptr &&
      !chain->empty()) {
    exceptionStore->addException(&exception);
  }
  return answer == CertificateManager::acceptedOnce || answer == CertificateManager::acceptedAlways;
}
