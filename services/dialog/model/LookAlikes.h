#ifndef SERVICES_DIALOG_MODEL_LOOKALIKES_H
#define SERVICES_DIALOG_MODEL_LOOKALIKES_H

#include <string>
#include <string_view>

struct USpoofChecker;

// Finds words that a reader takes for other ones. Every word must be valid UTF-8 or is taken
// for nothing. Belongs to one thread at a time.
class LookAlikes {
 public:
  LookAlikes();
  ~LookAlikes();
  LookAlikes(const LookAlikes&) = delete;
  LookAlikes& operator=(const LookAlikes&) = delete;

  // Letters or digits of scripts that do not go together. Latin beside the scripts of one East
  // Asian language do.
  bool mixesScripts(const std::string& word) const;
  // Characters that cannot be seen, or that draw over others.
  bool hides(const std::string& word) const;
  // The ASCII word that it looks like; empty when it looks like none or is ASCII itself.
  std::string twinOf(const std::string& word) const;

 private:
  int check(const std::string& word) const;
  std::string skeletonOf(const std::string& character) const;

  USpoofChecker* checker_;  // owned; null when there is no data to check with
};

bool isAscii(std::string_view text);

#endif
