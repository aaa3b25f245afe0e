#include "services/certmgr/stores/StoreReport.h"

#include "services/common/TimeText.h"

namespace {

std::string counted(std::size_t number, const std::string& noun) {
  return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

void append(std::string& text, const char* start, const std::vector<std::string>& lines) {
  for (const std::string& line : lines) text.append(start).append(line).append("\n");
}

}  // namespace

std::size_t StoreReport::problemCount() const {
  std::size_t count = problems.size();
  for (const StoreFile& file : files) count += file.problems.size();
  return count;
}

std::string StoreReport::text() const {
  std::string text = directory + " at " + formatTime(now) + "\n";
  append(text, "  problem: ", problems);
  for (const StoreFile& file : files) {
    text += "\n" + file.name + (file.target.empty() ? "" : " -> " + file.target) + "\n";
    append(text, "  ", file.content);
    append(text, "  problem: ", file.problems);
    append(text, "  note: ", file.notes);
  }
  const std::size_t wrong = problemCount();
  return text + "\nIn use: " + counted(certificates, "certificate") + ", " +
         counted(lists, "revocation list") + ". " +
         (wrong == 0 ? "Nothing is wrong." : counted(wrong, "problem") + ".") + "\n";
}
