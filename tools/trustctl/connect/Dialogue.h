#ifndef TOOLS_TRUSTCTL_CONNECT_DIALOGUE_H
#define TOOLS_TRUSTCTL_CONNECT_DIALOGUE_H

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "tools/trustctl/connect/Socket.h"

// What is said with a server before TLS begins. The server may send anything: each answer is
// bounded, and nothing of it may be left over when TLS begins. All operations throw CommandError
// (undecided) and Interrupted, as Socket does; main thread only.
class Dialogue {
 public:
  // `protocol` is its name in messages: "SMTP". Borrows the socket.
  Dialogue(Socket* socket, const char* protocol) : socket_(socket), protocol_(protocol) {}

  void send(std::string_view bytes);

  // The next line without its end, which is a line feed, with or without a carriage return.
  std::string readLine();

  // All up to and with the first of the marks that comes.
  std::string readThrough(std::initializer_list<std::string_view> marks);

  // Exactly so many bytes.
  std::string readBytes(std::size_t count);

  // What else has come by now, for a failure to quote.
  std::string takeRest() { return take(buffer_.size()); }

  // An answer of one or more lines that begin with three digits, as SMTP and FTP have it; in
  // all but the last a '-' follows. Returns the lines, each ended by a line feed.
  std::string readCodedReply();

  // Ends the dialogue. What came behind the last answer came in the clear, and somebody on the
  // way may have put it there for TLS to begin with: refuses to go on then.
  void requireNothingMore() const;

  // "mail.example (192.0.2.1) port 25 " and the words, with the server's own text behind them.
  [[noreturn]] void fail(const std::string& words, const std::string& said) const;

  // The same for a server that is not what it is taken for; says what to try.
  [[noreturn]] void failAsOtherProtocol(const std::string& said) const;

 private:
  std::string take(std::size_t count);
  void receiveMore();

  Socket* socket_;
  const char* protocol_;
  std::string buffer_;        // received and not yet read
  std::size_t received_ = 0;  // since the last that was sent
  bool hasBegun_ = false;     // something was received
};

#endif
