#include "services/certmgr/path/Evaluation.h"

Warnings Evaluation::warnings() const {
  Warnings all = 0;
  for (const Finding& finding : findings) all |= warningOf(finding.reason);
  return all;
}
