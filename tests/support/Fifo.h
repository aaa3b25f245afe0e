#ifndef TESTS_SUPPORT_FIFO_H
#define TESTS_SUPPORT_FIFO_H

#include <string>

// A named pipe between the test and scripts, which open it by its path. Lines stay until they
// are read.
class Fifo {
 public:
  explicit Fifo(std::string path);
  ~Fifo();
  Fifo(const Fifo&) = delete;
  Fifo& operator=(const Fifo&) = delete;

  const std::string& path() const { return path_; }
  void writeLine(const std::string& line);
  // Waits for a line; throws std::runtime_error when none comes in a time that is long enough for
  // the slowest machine.
  std::string readLine();
  // Whether nothing is there to be read.
  bool isEmpty() const;

 private:
  std::string path_;
  int fd_ = -1;
};

#endif
