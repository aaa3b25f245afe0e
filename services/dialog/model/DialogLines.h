#ifndef SERVICES_DIALOG_MODEL_DIALOGLINES_H
#define SERVICES_DIALOG_MODEL_DIALOGLINES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/dialog/model/DialogModel.h"

// The only ways to make a line. What comes from outside goes through the quoted ones, so that
// it is escaped, cut and marked as foreign whatever it is. All are pure.

// The program's own words.
DialogLine sentence(std::string words, DialogTone tone = DialogTone::plain);
DialogLine field(std::string label, std::string words, DialogTone tone = DialogTone::plain);

// Bytes from outside; "(empty)" in the program's words where there are none.
DialogLine quoted(std::string label, std::string_view bytes, DialogTone tone = DialogTone::plain);
// The same for what escapeText has gone over already.
DialogLine quotedEscaped(std::string label, std::string_view escaped,
                         DialogTone tone = DialogTone::plain);

// Lower-case hex as people compare it best: "AB12 CD34 ...".
std::string groupedHex(std::string_view hex);

// formatTime, or words where there is no time.
std::string timeWords(const std::optional<std::int64_t>& time);

// The gravest tone of the lines.
DialogTone gravestTone(const std::vector<DialogLine>& lines);

// "certificate 1" for index 0.
std::string certificateNumber(std::size_t index);

#endif
