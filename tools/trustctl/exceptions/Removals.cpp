#include "tools/trustctl/exceptions/Removals.h"

#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Page.h"

namespace {

constexpr int removedTogether = 256;

}  // namespace

Removals::~Removals() {
  try {
    finish();
  } catch (const CommandError& error) {
    printComplaint(error.what());
  }
}

void Removals::remove(const std::string& fileName, const std::string& line) {
  writer_->removeSoon(fileName);
  lines_ += line;
  if (++count_ == removedTogether) {
    finish();
  }
}

void Removals::finish() {
  if (count_ == 0) {
    return;
  }
  count_ = 0;
  writer_->makeLasting();
  print(lines_);
  lines_.clear();
}
