#include "services/dialog/terminal/ShowableModel.h"

#include <langinfo.h>
#include <wchar.h>

#include <cstdint>
#include <locale>
#include <stdexcept>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "services/common/PrintableText.h"

namespace {

using Utf8 = std::codecvt<char32_t, char8_t, std::mbstate_t>;  // whatever the locale

std::u32string decodeUtf8(const std::string& text) {
  const std::u8string bytes(text.begin(), text.end());
  std::u32string characters(bytes.size(), U'\0');
  std::mbstate_t state{};
  const char8_t* read = nullptr;
  char32_t* written = nullptr;
  const auto result = std::use_facet<Utf8>(std::locale::classic())
                          .in(state, bytes.data(), bytes.data() + bytes.size(), read,
                              characters.data(), characters.data() + characters.size(), written);
  if (result != std::codecvt_base::ok) throw std::runtime_error("the dialog holds broken UTF-8");
  characters.resize(static_cast<std::size_t>(written - characters.data()));
  return characters;
}

std::string encodeUtf8(char32_t character) {
  char8_t bytes[4];
  std::mbstate_t state{};
  const char32_t* read = nullptr;
  char8_t* written = nullptr;
  std::use_facet<Utf8>(std::locale::classic())
      .out(state, &character, &character + 1, read, bytes, bytes + sizeof bytes, written);
  return {bytes, written};
}

// Backslashes and spaces are what escaping itself and the program's own words add.
bool isEscaped(const std::string& text) {
  std::string rest = text;
  std::erase(rest, '\\');
  std::erase(rest, ' ');
  return escapeText(rest) == rest;
}

void makeShowable(std::string& text, const std::function<bool(char32_t)>& canShow) {
  if (!isEscaped(text)) throw std::runtime_error("the dialog holds a text unfit for a screen");
  std::string shown;
  for (const char32_t character : decodeUtf8(text)) {
    if (character < 0x80 || canShow(character)) {
      shown += encodeUtf8(character);
    } else {
      shown += fmt::format("\\u{{{:x}}}", static_cast<std::uint32_t>(character));
    }
  }
  text = shown;
}

bool breaksAsTwoColumns(char32_t character) {
  constexpr std::size_t kColumns = 40;
  std::string oneTooMany;
  for (std::size_t i = 0; i < kColumns / 2 + 1; ++i) oneTooMany += encodeUtf8(character);
  return fitLines(oneTooMany, kColumns, 2).size() == 2;
}

}  // namespace

DialogModel makeShowable(DialogModel model, const std::function<bool(char32_t)>& canShow) {
  if (model.options.empty() || model.options.front().choice != DialogChoice::decline) {
    throw std::runtime_error("the dialog offers no way to decline");
  }
  const auto show = [&](std::string& text) { makeShowable(text, canShow); };
  const auto showLines = [&](std::vector<DialogLine>& lines) {
    for (DialogLine& line : lines) {
      show(line.label);
      show(line.text);
    }
  };
  show(model.title);
  for (DialogSection& section : model.sections) {
    show(section.heading);
    showLines(section.lines);
  }
  for (DialogOption& option : model.options) show(option.label);
  show(model.confirmation.heading);
  showLines(model.confirmation.lines);
  show(model.confirmation.acceptLabel);
  show(model.confirmation.backLabel);
  return model;
}

bool canShowInLocale(char32_t character) {
  if (!isUtf8Locale()) return false;
  const int columns = wcwidth(static_cast<wchar_t>(character));
  // Wider on the screen than where lines are broken, it would push its line out of its field.
  return columns == 1 || (columns == 2 && breaksAsTwoColumns(character));
}

bool isUtf8Locale() {
  return std::string_view(nl_langinfo(CODESET)) == "UTF-8";
}
