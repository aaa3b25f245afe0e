#ifndef SERVICES_COMMON_WARNINGTEXTS_H
#define SERVICES_COMMON_WARNINGTEXTS_H

#include <list>
#include <string>
#include <vector>

#include "trustlib/CertificateWarnings.h"

// What a person needs to know about one warning. All texts are plain words in full
// sentences, without line breaks.
struct WarningText {
  CertificateWarnings::Flag flag;
  const char* summary;  // one sentence, shown with a verdict
  const char* meaning;  // what was found
  const char* attack;   // what an attacker could do with it
  const char* cause;    // how it happens without an attacker
  const char* next;     // the safe next step
};

// The warning's name on the wire and on screen.
const char* warningName(const WarningText& text);

// One text for each warning, in ascending bit order.
const std::vector<WarningText>& warningTexts();

// The texts of the warnings that are set, in ascending bit order. Unknown bits give nothing.
std::vector<const WarningText*> textsOf(unsigned long long warnings);

// The names of the warnings that are set, likewise.
std::list<std::string> namesOfWarnings(unsigned long long warnings);

#endif
