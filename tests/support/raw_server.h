// A server in the test's own process that does exactly what a test tells it to, faults included.
#ifndef SUPPORT_RAW_SERVER_H_
#define SUPPORT_RAW_SERVER_H_

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/loopback.h"
#include "support/messages.h"
#include "support/unique_fd.h"
#include "support/wait_until.h"

namespace test {

class RawServer;

// The server's end of one connection. Used by its handler's thread only.
class Connection {
 public:
  Connection(RawServer& server, UniqueFd socket, std::size_t index);

  // Which connection of the server this is, from 0.
  std::size_t index() const { return index_; }

  // Reads a request: up to the blank line, and the body that its Content-Length announces. Nothing
  // when the client closes first; what it had sent then counts as a fragment.
  std::optional<std::string> ReadRequest();

  // Reads up to the blank line, without recording it as a request.
  std::optional<std::string> ReadHead();

  // Reads exactly this many bytes, without recording them.
  std::optional<std::string> ReadBytes(std::size_t count);

  // All of these: false when the client has gone (or the server is being stopped).
  bool Send(std::string_view bytes);
  bool SendBytewise(std::string_view bytes);  // one send for each byte, none held back
  bool SendInPieces(std::string_view bytes, std::size_t piece, std::chrono::milliseconds pause);

  // Ends the connection in the orderly way, both directions or only the server's.
  void Close();
  void FinishSending();

  // Ends the connection by a reset, after what was sent has arrived.
  void Reset();

  // Reads and drops everything until the client closes. False when the time is over first.
  bool WaitForClose(std::chrono::milliseconds timeout = kPatience);

 private:
  friend class RawServer;

  bool Receive();
  void Interrupt();

  RawServer& server_;
  const std::size_t index_;
  std::mutex socket_lock_;  // for closing against interrupting
  UniqueFd socket_;
  std::string received_;  // not yet taken by the handler
};

class RawServer {
 public:
  using Handler = std::function<void(Connection&)>;

  enum class How {
    kWhole,     // in one send
    kBytewise,  // each byte in a send of its own
    kDrip,      // pieces with pauses in between
    kReset,     // in one send, then a reset
    kClose,     // in one send, then the orderly end
    kStall,     // in one send, then silence until the client closes
  };

  // What the server does with one request.
  struct Exchange {
    std::string reply;
    How how = How::kWhole;
    bool close_after = false;
    bool before_request = false;         // without waiting for a request
    std::size_t piece = 1;               // bytes at a time when dripping
    std::chrono::milliseconds pause{5};  // between pieces
  };

  // The exchanges of each connection, in the order in which connections come. A connection whose
  // exchanges are used up ends with its next request, which is recorded. Further connections end at
  // once.
  using Script = std::vector<std::vector<Exchange>>;

  // The handler runs for each connection in a thread of its own; the connection is closed when it
  // returns.
  explicit RawServer(Handler handler, Family family = Family::kIpv4);
  explicit RawServer(Script script, Family family = Family::kIpv4);
  // Ends all connections and waits for the handlers.
  ~RawServer();
  RawServer(const RawServer&) = delete;
  RawServer& operator=(const RawServer&) = delete;

  std::uint16_t port() const { return port_; }
  std::string url(std::string_view path) const;

  // Complete requests in the order in which their last byte came; of all connections or of one.
  std::vector<std::string> requests() const;
  std::vector<std::string> requests(std::size_t connection) const;
  // Beginnings of requests that the client did not finish.
  std::vector<std::string> fragments() const;
  // How many connections have been accepted.
  std::size_t connections() const;

  // Wait until there have been so many; false when the time is over first.
  bool WaitForRequests(std::size_t count, std::chrono::milliseconds timeout = kPatience) const;
  bool WaitForConnections(std::size_t count, std::chrono::milliseconds timeout = kPatience) const;
  // Connections that have ended: the client closed, or the handler did.
  bool WaitForEnds(std::size_t count, std::chrono::milliseconds timeout = kPatience) const;

  // From now on connections are refused; those that exist go on.
  void StopListening();

  // Waits in a handler; false when the server is being stopped meanwhile.
  bool Pause(std::chrono::milliseconds duration) const;

 private:
  friend class Connection;

  struct Recorded {
    std::size_t connection;
    std::string bytes;
  };

  void Accept();
  void Serve(Connection& connection);
  void RecordRequest(std::size_t connection, std::string bytes);
  void RecordFragment(std::string bytes);
  bool WaitFor(const std::function<bool()>& condition, std::chrono::milliseconds timeout) const;

  const Handler handler_;
  const Family family_;
  UniqueFd listener_;
  std::uint16_t port_ = 0;

  mutable std::mutex lock_;  // for all that follows
  mutable std::condition_variable changed_;
  bool stopping_ = false;
  std::vector<Recorded> requests_;
  std::vector<std::string> fragments_;
  std::size_t ended_ = 0;
  std::vector<std::unique_ptr<Connection>> connections_;
  std::vector<std::thread> handlers_;

  std::once_flag listening_stopped_;
  std::thread acceptor_;
};

// A script with one connection that answers each request with the next of these replies.
RawServer::Script OneConnection(const std::vector<std::string>& replies);

// A script that answers one request on each connection and closes it.
RawServer::Script ConnectionForEach(const std::vector<std::string>& replies);

}  // namespace test

#endif  // SUPPORT_RAW_SERVER_H_
