#ifndef TESTS_SUPPORT_PSEUDOTERMINAL_H
#define TESTS_SUPPORT_PSEUDOTERMINAL_H

#include <sys/types.h>
#include <termios.h>

#include <string>

// A terminal that the test sees from both sides. Nobody's controlling terminal yet.
class PseudoTerminal {
 public:
  // Belongs to `owner`; only root can name another than himself.
  explicit PseudoTerminal(uid_t owner);
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  const std::string& path() const { return path_; }
  termios mode() const;
  // What has been drawn on it since the last call.
  std::string drawn();
  // Types a text.
  void type(const std::string& text);
  // How many bytes a program would read from it now without waiting, in whatever mode it is.
  int typedAhead() const;

 private:
  int master_ = -1;
  int slave_ = -1;  // open for good, so that nothing is reset between two users of it
  std::string path_;
};

#endif
