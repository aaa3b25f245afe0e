#ifndef TESTS_SUPPORT_PSEUDOTERMINAL_H
#define TESTS_SUPPORT_PSEUDOTERMINAL_H

#include <sys/types.h>
#include <termios.h>
#include <unistd.h>

#include <string>

// A terminal that the test plays: it reads what is drawn and types what is read. Nobody's
// controlling terminal yet.
class PseudoTerminal {
 public:
  // Belongs to `owner`; only root can name another than himself. Throws std::system_error when
  // there is none to be had.
  explicit PseudoTerminal(uid_t owner = geteuid(), unsigned short rows = 24,
                          unsigned short columns = 80);
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  const std::string& path() const { return path_; }
  int master() const { return master_; }
  termios settings() const;
  void resize(unsigned short rows, unsigned short columns) const;
  // What has been drawn on it since the last call.
  std::string drawn() const;
  // Types a text.
  void type(const std::string& text) const;
  // How many bytes a program would read from it now without waiting, in whatever mode it is.
  int typedAhead() const;
  // As a user with Ctrl-S: whoever writes to it waits.
  void stopOutput() const;
  void hangUp();

 private:
  int master_ = -1;
  int slave_ = -1;  // open for good, so that nothing is reset between two users of it
  std::string path_;
};

// What of two settings must be equal for a shell to notice no difference.
bool operator==(const termios& left, const termios& right);

#endif
