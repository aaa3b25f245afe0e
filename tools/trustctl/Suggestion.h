#ifndef TOOLS_TRUSTCTL_SUGGESTION_H
#define TOOLS_TRUSTCTL_SUGGESTION_H

#include <string>
#include <string_view>
#include <vector>

// The candidate that `word` was most likely meant to be, letter case and the choice between
// "-" and "_" aside; empty when none is near. Pure.
std::string nearestWord(std::string_view word, const std::vector<std::string>& candidates);

// " (did you mean NAME?)", or nothing when no candidate is near.
std::string didYouMean(std::string_view word, const std::vector<std::string>& candidates);

// The form in which words are compared: lower case, with "_" for "-".
std::string comparableWord(std::string_view word);

#endif
