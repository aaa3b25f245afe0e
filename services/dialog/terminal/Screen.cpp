#include "services/dialog/terminal/Screen.h"

#include <fcntl.h>
#include <poll.h>
#include <wchar.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

#include <curses.h>

namespace {

constexpr int kEscape = 27;
// Over a slow line, the bytes of one key come apart; as long as this they are one key.
constexpr int kEscapeMilliseconds = 100;
// Nobody types as fast; a key that is held down repeats more slowly, too.
constexpr int kPasteMilliseconds = 15;

enum ColourPair : short { kDefault, kGood, kDoubt, kDanger, kForeign };

ColourPair colourOf(const Span& span) {
  if (span.role == SpanRole::bar) return kForeign;
  if (span.tone == DialogTone::good) return kGood;
  if (span.tone == DialogTone::doubt) return kDoubt;
  if (span.tone == DialogTone::danger) return kDanger;
  return span.role == SpanRole::foreign ? kForeign : kDefault;
}

attr_t attributesOf(const Span& span, bool colour) {
  switch (span.role) {
    case SpanRole::title:
      return A_REVERSE | A_BOLD;
    case SpanRole::heading:
      return span.tone == DialogTone::danger && !colour ? A_BOLD | A_REVERSE : A_BOLD;
    case SpanRole::key:
      return A_BOLD;
    case SpanRole::waiting:
      return A_DIM;
    default:
      break;
  }
  if (colour) return A_NORMAL;
  if (span.tone == DialogTone::danger) return A_BOLD;
  return span.tone == DialogTone::doubt ? A_UNDERLINE : A_NORMAL;
}

std::wstring widen(const std::string& text) {
  std::wstring wide(text.size(), L'\0');
  const std::size_t length = mbstowcs(wide.data(), text.c_str(), wide.size());
  wide.resize(length == static_cast<std::size_t>(-1) ? 0 : length);
  return wide;
}

void startColours() {
  start_color();
  // Who chose a background has chosen it for this, too.
  const short background = use_default_colors() == OK ? -1 : COLOR_BLACK;
  init_pair(kGood, COLOR_GREEN, background);
  init_pair(kDoubt, COLOR_YELLOW, background);
  init_pair(kDanger, COLOR_RED, background);
  init_pair(kForeign, COLOR_CYAN, background);
}

Key keyForCode(wint_t code) {
  switch (code) {
    case KEY_UP:
      return Key::lineUp;
    case KEY_DOWN:
      return Key::lineDown;
    case KEY_PPAGE:
      return Key::pageUp;
    case KEY_NPAGE:
      return Key::pageDown;
    case KEY_HOME:
      return Key::top;
    case KEY_END:
      return Key::bottom;
    case KEY_ENTER:
      return Key::decline;
    default:
      return Key::other;
  }
}

// Takes keys up to the first that ends a sequence, or what there is of it.
template <class IsLast>
void skipThrough(IsLast isLast) {
  wint_t next = 0;
  while (get_wch(&next) == OK && !isLast(next)) {
  }
}

// An Escape has come that starts no key of this terminal. Where more follows at once, it is one
// of another terminal, or an answer that nobody asked for: its letters are no keys.
Key keyAfterEscape() {
  wint_t next = 0;
  const int kind = get_wch(&next);
  if (kind == ERR || (kind == OK && next == kEscape)) return keyForCharacter(kEscape);
  if (kind != OK) return Key::other;
  switch (next) {
    case L'[':
      skipThrough([](wint_t c) { return c >= L'@' && c <= L'~'; });
      break;
    case L'O':
      skipThrough([](wint_t) { return true; });
      break;
    case L']':
    case L'P':
    case L'X':
    case L'^':
    case L'_':
      skipThrough([](wint_t c) { return c == L'\a' || c == L'\\'; });
      break;
    default:
      break;
  }
  return Key::other;
}

bool isText(wint_t character) {
  return character == L'\t' || character == L'\n' || character == L'\r' ||
         (character >= L' ' && character != 0x7f);
}

bool accepts(Key key) {
  return key == Key::once || key == Key::always || key == Key::accept;
}

}  // namespace

Screen::Screen(const Terminal& terminal, bool colour)
    : fd_(terminal.fd()),
      output_(fdopen(fcntl(fd_, F_DUPFD_CLOEXEC, 0), "w")),
      input_(fdopen(fcntl(fd_, F_DUPFD_CLOEXEC, 0), "r")) {
  if (!output_ || !input_) throw std::runtime_error("no descriptors are left");
  // LINES and COLUMNS may be those of another terminal; not all kinds have a usual size.
  use_env(FALSE);
  use_tioctl(TRUE);
  screen_ = newterm(nullptr, output_.get(), input_.get());
  if (screen_ == nullptr) throw std::runtime_error("the terminal cannot be set up");
  set_escdelay(kEscapeMilliseconds);
  typeahead(-1);  // a key that waits would put off the drawing, unseen
  raw();
  noecho();
  nonl();
  keypad(stdscr, TRUE);
  nodelay(stdscr, TRUE);
  curs_set(0);
  colour_ = colour && has_colors();
  if (colour_) startColours();
  resize(terminal.size());
}

Screen::~Screen() {
  endwin();
  delscreen(screen_);
}

void Screen::resize(TerminalSize size) {
  resizeterm(static_cast<int>(size.rows), static_cast<int>(size.columns));
  clearok(stdscr, TRUE);
}

void Screen::draw(const std::vector<Row>& rows) {
  erase();
  for (std::size_t y = 0; y < rows.size() && static_cast<int>(y) < LINES; ++y) {
    move(static_cast<int>(y), 0);
    int room = COLS;
    for (const Span& span : rows[y]) {
      const std::wstring text = widen(span.text);
      std::size_t fitting = 0;
      while (fitting < text.size() && wcwidth(text[fitting]) <= room) {
        room -= wcwidth(text[fitting++]);
      }
      const short pair = colour_ ? colourOf(span) : kDefault;
      attr_set(attributesOf(span, colour_), pair, nullptr);
      addnwstr(text.c_str(), static_cast<int>(fitting));
      if (span.role == SpanRole::title && room > 0) chgat(-1, A_REVERSE | A_BOLD, pair, nullptr);
    }
  }
  refresh();
}

void Screen::discardKeys() {
  flushinp();
  ahead_.reset();
  inStream_ = false;
}

std::optional<Key> Screen::waitForKey(std::chrono::milliseconds time) {
  // Some may have been read along with the last one.
  if (const std::optional<Key> key = readKey()) return key;
  pollfd readable = {fd_, POLLIN, 0};
  if (poll(&readable, 1, static_cast<int>(time.count())) <= 0) return {};
  if ((readable.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
    throw std::runtime_error("the terminal has gone");
  }
  return readKey();
}

std::optional<Screen::Input> Screen::readInput() {
  wint_t value = 0;
  const int kind = get_wch(&value);
  if (kind == ERR) return {};
  const bool isCode = kind == KEY_CODE_YES;
  return Input{!isCode && isText(value), isCode, value};
}

std::optional<Key> Screen::readKey() {
  const std::optional<Input> input = ahead_ ? std::exchange(ahead_, {}) : readInput();
  if (!input) return {};
  if (input->isCode) return keyForCode(input->value);
  if (input->value == kEscape) return keyAfterEscape();
  const Key key = keyForCharacter(static_cast<char32_t>(input->value));
  if (!input->isText) return key;
  const bool before = inStream_;
  inStream_ = textFollows();
  return (before || inStream_) && accepts(key) ? Key::other : key;
}

// Looks whether more text comes along with the text that was read last.
bool Screen::textFollows() {
  ahead_ = readInput();
  if (!ahead_) {
    pollfd readable = {fd_, POLLIN, 0};
    if (poll(&readable, 1, kPasteMilliseconds) == 1) ahead_ = readInput();
  }
  return ahead_ && ahead_->isText;
}
