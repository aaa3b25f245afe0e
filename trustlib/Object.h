#ifndef TRUSTLIB_OBJECT_H
#define TRUSTLIB_OBJECT_H

#include "trustlib/Export.h"

// Root of everything that the library hands to a caller and of everything that the
// cleanup guard may delete: whatever it is, deleting it through an Object* is right.
class TRUSTLIB_EXPORT Object {
 public:
  virtual ~Object();
};

#endif
