#ifndef SERVICES_DIALOG_TERMINAL_SCREEN_H
#define SERVICES_DIALOG_TERMINAL_SCREEN_H

#include <wchar.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "services/dialog/terminal/Key.h"
#include "services/dialog/terminal/Layout.h"
#include "services/dialog/terminal/Terminal.h"

struct screen;  // of ncurses

// The whole of a terminal, drawn on by rows, while it exists; keys come singly and unechoed, the
// interrupting ones too. The program's locale must be set before. One at a time in a process,
// for one thread.
class Screen {
 public:
  // Throws std::runtime_error when the terminal cannot be set up. `terminal` is borrowed and
  // must live longer.
  Screen(const Terminal& terminal, bool colour);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // The terminal has got another size; whatever stands on it is drawn anew.
  void resize(TerminalSize size);
  // Replaces what is shown. What passes the right or lower edge is left away.
  void draw(const std::vector<Row>& rows);
  // Drops all keys pressed until now.
  void discardKeys();
  // The next key; nothing when none is pressed in that time. Of letters that come closer together
  // than anybody types, as from a paste or a report of the mouse, none is a key that accepts.
  // Throws std::runtime_error when the terminal has gone.
  std::optional<Key> waitForKey(std::chrono::milliseconds time);

 private:
  struct FileCloser {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
  };
  using File = std::unique_ptr<std::FILE, FileCloser>;

  struct Input {
    bool isText;  // else a key of this terminal's own, or a control
    bool isCode;  // of ncurses
    wint_t value;
  };
  static std::optional<Input> readInput();
  std::optional<Key> readKey();
  bool textFollows();

  int fd_;
  File output_;
  File input_;
  screen* screen_ = nullptr;
  bool colour_ = false;
  std::optional<Input> ahead_;  // read, but not given out yet
  bool inStream_ = false;       // the text read last was followed by more at once
};

#endif
