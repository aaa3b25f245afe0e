#ifndef TRUSTLIB_DEFAULT_TRUST_DIALOG_H
#define TRUSTLIB_DEFAULT_TRUST_DIALOG_H

#include <string>

#include "trustlib/CertificateExceptionStore.h"
#include "trustlib/CertificateTrustInfo.h"
#include "trustlib/TrustDialog.h"

// Asks through the platform's dialog service, and stores a decision to trust always. The
// dialogs of one process take turns: see display().
class TRUSTLIB_EXPORT DefaultTrustDialog : public TrustDialog {
 public:
  // Over that verdict. Both are borrowed and must outlive the dialog. Without a store no
  // earlier decision is looked up, and none is stored.
  DefaultTrustDialog(CertificateTrustInfo* trustInfo, CertificateExceptionStore* exceptionStore)
      TRUSTLIB_THROWS(TrustManagerException);
  ~DefaultTrustDialog() override;

  DefaultTrustDialog(const DefaultTrustDialog&) = delete;
  DefaultTrustDialog& operator=(const DefaultTrustDialog&) = delete;

  void setDialogInvocationTimeout(int seconds) TRUSTLIB_THROWS(TrustManagerException) override;
  void setDialogMinimumDisplayTimeout(int seconds) TRUSTLIB_THROWS(TrustManagerException) override;

  // The group of windows that the dialog belongs to, for the dialog service. A copy is kept,
  // up to the first NUL; NULL is for none.
  void setGroupId(std::string* groupId) TRUSTLIB_THROWS(TrustManagerException);

  // Two answers may surprise. False when the store holds an equal decision by now: it was made
  // while this dialog waited for its turn, and a new verification will find it. And where less
  // than the least display time is left after that wait, the dialog gets the whole time
  // allowed once more, not the rest of it.
  bool display() TRUSTLIB_THROWS(TrustManagerException) override;

 private:
  CertificateTrustInfo* trustInfo;
  CertificateExceptionStore* exceptionStore;
  std::string* groupId;  // owned, or NULL
  int invocationTimeout;
  int minimumDisplayTimeout;
};

#endif
