#ifndef SERVICES_DIALOG_FACEENVIRONMENT_H
#define SERVICES_DIALOG_FACEENVIRONMENT_H

#include <string>
#include <vector>

#include "services/dialog/Face.h"

// What a face needs to know of the place where it is shown.
struct FaceEnvironment {
  std::vector<std::string> variables;  // "NAME=VALUE", the whole environment
  bool colour = true;                  // NO_COLOR is set neither for the asker nor here
};

// The kind of terminal and the language are those of the asking process where its environment
// can be read with the user's own rights, else this program's. Values that are not short and
// plain are left out.
FaceEnvironment environmentFor(const Audience& audience);

#endif
