#ifndef TESTS_SERVICES_DIALOG_DIALOGASKER_H
#define TESTS_SERVICES_DIALOG_DIALOGASKER_H

#include <sys/types.h>

#include <string>

// A process in a session of its own that asks the dialog service once. The destructor ends it.
class DialogAsker {
 public:
  struct Options {
    std::string terminal;                  // its controlling terminal; none when empty
    uid_t user = static_cast<uid_t>(-1);   // whom it becomes first, where given
    gid_t group = static_cast<gid_t>(-1);  // which it enters first, in place of the user's number
    bool background = false;               // out of the foreground of its terminal
    std::string displacing;                // a pipe; with a line from it another job comes to the
                                           // foreground of its terminal
  };

  DialogAsker(const std::string& request, const Options& options);
  ~DialogAsker();
  DialogAsker(const DialogAsker&) = delete;
  DialogAsker& operator=(const DialogAsker&) = delete;

  pid_t process() const { return process_; }
  // Waits for the answer and returns it; empty when the service went without one.
  std::string answer();
  // Ends it at once, its question unanswered.
  void giveUp();

 private:
  pid_t process_ = -1;
  int answer_ = -1;
};

#endif
