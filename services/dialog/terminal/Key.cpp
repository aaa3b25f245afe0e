#include "services/dialog/terminal/Key.h"

namespace {

constexpr char32_t control(char letter) {
  return static_cast<char32_t>(letter - '@');
}

constexpr char32_t kEscape = control('[');

}  // namespace

Key keyForCharacter(char32_t character) {
  switch (character) {
    case U'k':
      return Key::lineUp;
    case U'j':
      return Key::lineDown;
    case U' ':
      return Key::pageDown;
    case U'o':
      return Key::once;
    case U'a':
      return Key::always;
    case U'y':
      return Key::accept;
    case U'b':
      return Key::back;
    case U'\r':
    case U'\n':
    case U'd':
    case U'n':
    case U'q':
    case kEscape:
    case control('C'):
    case control('D'):
    case control('\\'):
      return Key::decline;
    default:
      return Key::other;
  }
}
