#ifndef SERVICES_DIALOG_MODEL_DOMAINREADING_H
#define SERVICES_DIALOG_MODEL_DOMAINREADING_H

#include <string>
#include <string_view>
#include <vector>

#include "services/dialog/model/DialogModel.h"

// What a person might overlook in a domain name.
struct DomainReading {
  bool address = false;       // a numeric address, no name
  bool tooLong = false;       // longer than any name can be
  bool hiding = false;        // characters that cannot be seen, or that move others
  bool undecodable = false;   // letters in a coding (xn--) that stand for no proper name
  bool mixedScripts = false;  // one label in letters of scripts that do not go together
  bool rightToLeft = false;   // letters that a screen may draw in another order
  std::string letters;        // of a coded name: what it stands for, as UTF-8; not escaped
  std::string coded;          // of a name with letters outside ASCII: its coded form
  std::string twin;           // an ASCII name that it can be mistaken for
};

// Reads any bytes; never fails. A name too long to be one is not looked into.
DomainReading readDomain(std::string_view domain);

// The lines that say it, for below the domain itself; none for an ordinary name.
std::vector<DialogLine> describeReading(const DomainReading& reading);

#endif
