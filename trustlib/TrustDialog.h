#ifndef TRUSTLIB_TRUST_DIALOG_H
#define TRUSTLIB_TRUST_DIALOG_H

#include "trustlib/Object.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// Asks the user about a chain that is not trusted. Configure it, then display it, any number
// of times. One dialog object belongs to one thread at a time.
class TRUSTLIB_EXPORT TrustDialog : public Object {
 public:
  // The seconds that display() may take altogether, waiting for other dialogs of this process
  // included. Negative, the default: no limit.
  virtual void setDialogInvocationTimeout(int seconds) TRUSTLIB_THROWS(TrustManagerException) = 0;

  // The seconds that the user is given at least; 10 by default. A dialog that could not be
  // given so many of the time allowed is not shown. Unlike its sister, this setter ignores a
  // negative value: the one before stays.
  virtual void setDialogMinimumDisplayTimeout(int seconds)
      TRUSTLIB_THROWS(TrustManagerException) = 0;

  // Shows the dialog and waits for the user. True when the chain was accepted, for once or
  // for always; false when it was declined, when time ran out, and when nothing was shown.
  // Throws TrustManagerException when the dialog service cannot be reached or fails, and when
  // a decision cannot be stored.
  virtual bool display() TRUSTLIB_THROWS(TrustManagerException) = 0;
};

#endif
