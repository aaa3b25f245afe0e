#include "services/dialog/model/NameReading.h"

#include <algorithm>
#include <string>

#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/LookAlikes.h"

namespace {

// Looking at every word of an endless name must not delay the dialog; no more than this is shown.
constexpr std::size_t kMaxBytes = 2400;

bool belongsToWord(char c) {
  return static_cast<unsigned char>(c) >= 0x80 || (c >= '0' && c <= '9') ||
         (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The words with letters outside ASCII.
std::vector<std::string> foreignWordsOf(std::string_view text) {
  std::vector<std::string> words;
  std::string word;
  const auto end = [&] {
    if (!isAscii(word)) words.push_back(word);
    word.clear();
  };
  for (const char c : text) {
    if (belongsToWord(c)) {
      word += c;
    } else {
      end();
    }
  }
  end();
  return words;
}

}  // namespace

std::vector<DialogLine> describeName(std::string_view escaped) {
  const std::vector<std::string> words = foreignWordsOf(escaped.substr(0, kMaxBytes));
  if (words.empty()) return {};
  const LookAlikes lookAlikes;
  std::vector<DialogLine> lines;
  if (std::any_of(words.begin(), words.end(),
                  [&](const std::string& word) { return lookAlikes.mixesScripts(word); })) {
    lines.push_back(
        sentence("A word of it mixes letters of different scripts, as names made to "
                 "deceive do.",
                 DialogTone::danger));
  } else if (std::all_of(words.begin(), words.end(), [&](const std::string& word) {
               return !lookAlikes.twinOf(word).empty();
             })) {
    lines.push_back(
        sentence("Letters of it are not the Latin ones that they look like.", DialogTone::doubt));
  }
  return lines;
}
