#include "support/raw_server.h"

#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace test {
namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";

// Runs the exchange; false when the connection has ended with it.
bool Answer(Connection& connection, const RawServer::Exchange& exchange) {
  using How = RawServer::How;
  bool alive = true;
  switch (exchange.how) {
    case How::kBytewise:
      alive = connection.SendBytewise(exchange.reply);
      break;
    case How::kDrip:
      alive = connection.SendInPieces(exchange.reply, exchange.piece, exchange.pause);
      break;
    default:
      alive = connection.Send(exchange.reply);
      break;
  }
  if (!alive) return false;
  if (exchange.how == How::kReset) {
    connection.Reset();
    return false;
  }
  if (exchange.how == How::kStall) {
    connection.WaitForClose(std::chrono::milliseconds::max());
    return false;
  }
  return !exchange.close_after && exchange.how != How::kClose;
}

RawServer::Handler HandlerOf(RawServer::Script script) {
  return [script = std::move(script)](Connection& connection) {
    if (connection.index() >= script.size()) return;
    for (const RawServer::Exchange& exchange : script[connection.index()]) {
      if (!exchange.before_request && !connection.ReadRequest()) return;
      if (!Answer(connection, exchange)) return;
    }
    connection.ReadRequest();
  };
}

}  // namespace

// ---- Connection ---------------------------------------------------------------------------------

Connection::Connection(RawServer& server, UniqueFd socket, std::size_t index)
    : server_(server), index_(index), socket_(std::move(socket)) {}

bool Connection::Receive() {
  if (!socket_.valid()) return false;
  constexpr std::size_t kBlock = 64 * 1024;
  const std::size_t before = received_.size();
  received_.resize(before + kBlock);
  ssize_t count = 0;
  do {
    count = recv(socket_.get(), received_.data() + before, kBlock, 0);
  } while (count < 0 && errno == EINTR);
  received_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  return count > 0;
}

std::optional<std::string> Connection::ReadHead() {
  std::size_t searched = 0;
  std::size_t end = std::string::npos;
  while ((end = received_.find(kHeadEnd, searched)) == std::string::npos) {
    searched = received_.size() - std::min(received_.size(), kHeadEnd.size() - 1);
    if (!Receive()) return std::nullopt;
  }
  return ReadBytes(end + kHeadEnd.size());
}

std::optional<std::string> Connection::ReadBytes(std::size_t count) {
  while (received_.size() < count) {
    if (!Receive()) return std::nullopt;
  }
  std::string bytes = received_.substr(0, count);
  received_.erase(0, count);
  return bytes;
}

std::optional<std::string> Connection::ReadRequest() {
  std::optional<std::string> request = ReadHead();
  if (request) {
    const std::string length = HeaderOf(*request, "Content-Length").value_or("0");
    const std::optional<std::string> body =
        ReadBytes(static_cast<std::size_t>(std::strtoull(length.c_str(), nullptr, 10)));
    if (body) {
      request->append(*body);
      server_.RecordRequest(index_, *request);
      return request;
    }
  }
  std::string fragment = request.value_or("") + std::exchange(received_, {});
  if (!fragment.empty()) server_.RecordFragment(std::move(fragment));
  return std::nullopt;
}

bool Connection::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return socket_.valid();
}

bool Connection::SendBytewise(std::string_view bytes) {
  return SendInPieces(bytes, 1, std::chrono::milliseconds(0));
}

bool Connection::SendInPieces(std::string_view bytes, std::size_t piece,
                              std::chrono::milliseconds pause) {
  const int at_once = 1;
  setsockopt(socket_.get(), IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof(at_once));
  piece = std::max<std::size_t>(piece, 1);
  while (!bytes.empty()) {
    if (!Send(bytes.substr(0, piece))) return false;
    bytes.remove_prefix(std::min(piece, bytes.size()));
    if (pause.count() > 0 && !bytes.empty() && !server_.Pause(pause)) return false;
  }
  return true;
}

void Connection::Close() {
  // Unread input would turn the orderly end into a reset.
  char dropped[4096];
  while (socket_.valid() && recv(socket_.get(), dropped, sizeof(dropped), MSG_DONTWAIT) > 0) {
  }
  const std::lock_guard guard(socket_lock_);
  socket_.Reset();
}

void Connection::FinishSending() { shutdown(socket_.get(), SHUT_WR); }

void Connection::Reset() {
  // A reset drops what has not been sent yet, and what is sent but not acknowledged may be lost.
  WaitUntil([this] {
    int unacknowledged = 0;
    return ioctl(socket_.get(), SIOCOUTQ, &unacknowledged) != 0 || unacknowledged == 0 ||
           !server_.Pause(std::chrono::milliseconds(0));
  });
  const linger at_once{1, 0};
  setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof(at_once));
  const std::lock_guard guard(socket_lock_);
  socket_.Reset();
}

bool Connection::WaitForClose(std::chrono::milliseconds timeout) {
  using Clock = std::chrono::steady_clock;
  const bool forever = timeout == std::chrono::milliseconds::max();
  const Clock::time_point deadline = forever ? Clock::time_point::max() : Clock::now() + timeout;
  while (socket_.valid()) {
    int wait = -1;
    if (!forever) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
      wait = static_cast<int>(std::max<std::int64_t>(left.count(), 0));
    }
    pollfd readable{socket_.get(), POLLIN, 0};
    const int ready = poll(&readable, 1, wait);
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) return false;
    received_.clear();
    if (!Receive()) return true;
  }
  return true;
}

void Connection::Interrupt() {
  const std::lock_guard guard(socket_lock_);
  if (socket_.valid()) shutdown(socket_.get(), SHUT_RDWR);
}

// ---- RawServer ----------------------------------------------------------------------------------

RawServer::RawServer(Handler handler, Family family)
    : handler_(std::move(handler)), family_(family), listener_(BindLoopback(family)) {
  if (listen(listener_.get(), SOMAXCONN) != 0) {
    throw std::system_error(errno, std::generic_category(), "listen");
  }
  port_ = PortOf(listener_);
  acceptor_ = std::thread([this] { Accept(); });
}

RawServer::RawServer(Script script, Family family)
    : RawServer(HandlerOf(std::move(script)), family) {}

RawServer::~RawServer() {
  {
    const std::lock_guard guard(lock_);
    stopping_ = true;
    changed_.notify_all();
  }
  StopListening();  // after which no connection or thread is added
  for (const auto& connection : connections_) connection->Interrupt();
  for (std::thread& handler : handlers_) handler.join();
}

std::string RawServer::url(std::string_view path) const {
  std::string text = family_ == Family::kIpv6 ? "http://[::1]:" : "http://127.0.0.1:";
  return text.append(std::to_string(port_)).append(path);
}

void RawServer::StopListening() {
  std::call_once(listening_stopped_, [this] {
    shutdown(listener_.get(), SHUT_RDWR);  // ends the accept call, too
    acceptor_.join();
    listener_.Reset();
  });
}

void RawServer::Accept() {
  for (;;) {
    UniqueFd socket(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!socket.valid() && (errno == EINTR || errno == ECONNABORTED)) continue;
    if (!socket.valid()) return;
    const std::lock_guard guard(lock_);
    connections_.push_back(
        std::make_unique<Connection>(*this, std::move(socket), connections_.size()));
    Connection& connection = *connections_.back();
    handlers_.emplace_back([this, &connection] { Serve(connection); });
    changed_.notify_all();
  }
}

void RawServer::Serve(Connection& connection) {
  try {
    handler_(connection);
  } catch (const std::exception& e) {
    ADD_FAILURE() << "the handler of a connection threw: " << e.what();
  }
  connection.Close();
  const std::lock_guard guard(lock_);
  ++ended_;
  changed_.notify_all();
}

void RawServer::RecordRequest(std::size_t connection, std::string bytes) {
  const std::lock_guard guard(lock_);
  requests_.push_back({connection, std::move(bytes)});
  changed_.notify_all();
}

void RawServer::RecordFragment(std::string bytes) {
  const std::lock_guard guard(lock_);
  fragments_.push_back(std::move(bytes));
}

std::vector<std::string> RawServer::requests() const {
  const std::lock_guard guard(lock_);
  std::vector<std::string> all;
  for (const Recorded& request : requests_) all.push_back(request.bytes);
  return all;
}

std::vector<std::string> RawServer::requests(std::size_t connection) const {
  const std::lock_guard guard(lock_);
  std::vector<std::string> found;
  for (const Recorded& request : requests_) {
    if (request.connection == connection) found.push_back(request.bytes);
  }
  return found;
}

std::vector<std::string> RawServer::fragments() const {
  const std::lock_guard guard(lock_);
  return fragments_;
}

std::size_t RawServer::connections() const {
  const std::lock_guard guard(lock_);
  return connections_.size();
}

bool RawServer::WaitFor(const std::function<bool()>& condition,
                        std::chrono::milliseconds timeout) const {
  std::unique_lock guard(lock_);
  // The system clock, because the thread sanitizer of gcc 12 does not know pthread_cond_clockwait.
  return changed_.wait_until(guard, std::chrono::system_clock::now() + timeout, condition);
}

bool RawServer::WaitForRequests(std::size_t count, std::chrono::milliseconds timeout) const {
  return WaitFor([&] { return requests_.size() >= count; }, timeout);
}

bool RawServer::WaitForConnections(std::size_t count, std::chrono::milliseconds timeout) const {
  return WaitFor([&] { return connections_.size() >= count; }, timeout);
}

bool RawServer::WaitForEnds(std::size_t count, std::chrono::milliseconds timeout) const {
  return WaitFor([&] { return ended_ >= count; }, timeout);
}

bool RawServer::Pause(std::chrono::milliseconds duration) const {
  return !WaitFor([&] { return stopping_; }, duration);
}

// ---- Scripts ------------------------------------------------------------------------------------

RawServer::Script OneConnection(const std::vector<std::string>& replies) {
  RawServer::Script script(1);
  for (const std::string& reply : replies) script[0].push_back({.reply = reply});
  return script;
}

RawServer::Script ConnectionForEach(const std::vector<std::string>& replies) {
  RawServer::Script script;
  for (const std::string& reply : replies) {
    script.push_back({{.reply = reply, .how = RawServer::How::kClose}});
  }
  return script;
}

}  // namespace test
