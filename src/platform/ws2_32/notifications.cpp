#include "ws2_32/notifications.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "ws2_32/errors.h"

namespace platform::ws2_32 {
namespace {

using user32::MessageQueue;

constexpr DWORD kEventMask = 0xFFFF;  // the event in the low half of lParam, the error above it
constexpr unsigned kErrorShift = 16;

bool IsStream(int descriptor) {
  int type = 0;
  socklen_t length = sizeof(type);
  return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_STREAM;
}

// Also after the connection was reset, and for a socket that the module did not connect.
bool WasConnected(Socket socket) {
  const ConnectPhase phase = StateOf(socket).phase;
  if (phase == ConnectPhase::kConnected || phase == ConnectPhase::kCompleted) return true;
  sockaddr_storage address;
  socklen_t length = sizeof(address);
  return getpeername(Descriptor(socket), reinterpret_cast<sockaddr*>(&address), &length) == 0;
}

}  // namespace

int Notifications::Start(bool connecting) {
  const std::lock_guard lock(mutex_);
  if (cancelled_) return 0;
  stream_ = IsStream(descriptor_);
  if (!stream_) enabled_ &= ~(::ws2::kFdConnect | ::ws2::kFdClose);
  connecting_ = stream_ && (connecting || StateOf(socket_).phase == ConnectPhase::kPending);
  connected_ = !connecting_ && (!stream_ || WasConnected(socket_));
  if (!connecting_) enabled_ &= ~::ws2::kFdConnect;
  // A window that was closed before the socket was in the registry has cancelled nothing.
  if (!window_->owner->IsOpen(*window_)) return ::ws2::kErrorInvalid;
  return Watch() ? 0 : ::ws2::kErrorNoBuffers;
}

bool Notifications::Cancel() {
  const std::lock_guard lock(mutex_);
  if (cancelled_) return false;
  cancelled_ = true;
  if (watched_ != 0) window_->owner->Watch(descriptor_, 0);
  bool unreported = connecting_;
  window_->owner->Drop(window_->handle, message_, socket_, [&](LPARAM lparam) {
    const auto event = static_cast<LONG>(static_cast<DWORD>(lparam) & kEventMask);
    unreported = unreported || event == ::ws2::kFdConnect;
  });
  return unreported;
}

void Notifications::AfterReceive(int socket_error) {
  const std::lock_guard lock(mutex_);
  if (cancelled_) return;
  if (socket_error == ::ws2::kErrorConnectionReset) close_error_ = socket_error;
  if (finished_) return;
  enabled_ |= events_ & (::ws2::kFdRead | ::ws2::kFdOutOfBand);
  ended_ = false;  // look again whether everything has been read
  Watch();
}

void Notifications::AfterBlockedSend() {
  const std::lock_guard lock(mutex_);
  if (cancelled_) return;
  enabled_ |= events_ & ::ws2::kFdWrite;
  Watch();
}

void Notifications::AfterConnect() {
  const std::lock_guard lock(mutex_);
  if (cancelled_ || !stream_) return;
  enabled_ = events_;
  connecting_ = true;
  connected_ = ended_ = broken_ = finished_ = false;
  close_error_ = 0;
  Watch();
}

void Notifications::Look() {
  const std::lock_guard lock(mutex_);
  Sight sight{};
  if (cancelled_ || !TakeSight(sight)) return;
  if (connected_) PostDue(sight);
  Watch();
}

// False while the socket is still connecting.
bool Notifications::TakeSight(Sight& sight) {
  pollfd entry{descriptor_, POLLIN | POLLOUT | POLLPRI | POLLRDHUP, 0};
  if (::poll(&entry, 1, 0) < 0) return false;
  const short revents = entry.revents;
  if (connecting_ && !FinishConnect(revents)) return false;
  if (!stream_) {
    sight = {
        (revents & (POLLIN | POLLERR)) != 0, (revents & POLLOUT) != 0, false, false, false, false};
    return true;
  }
  sight.ended = (revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
  sight.broken = (revents & (POLLHUP | POLLERR)) != 0;
  if ((revents & POLLERR) != 0) TakeError();
  // After poll: what is unread at the end stays so until it is received.
  int bytes = 0;
  sight.unread = ioctl(descriptor_, FIONREAD, &bytes) == 0 && bytes > 0;
  sight.readable = sight.unread || ((revents & POLLIN) != 0 && !sight.ended);
  sight.writable = (revents & POLLOUT) != 0 && !sight.broken;
  sight.urgent = (revents & POLLPRI) != 0;
  return true;
}

// False while the connect goes on; otherwise its end is posted.
bool Notifications::FinishConnect(short revents) {
  SocketState& state = StateOf(socket_);
  constexpr short kDone = POLLOUT | POLLERR | POLLHUP;
  if (state.phase == ConnectPhase::kPending) {
    if ((revents & kDone) == 0) return false;
    SettlePendingConnect(socket_, (revents & (POLLERR | POLLHUP)) != 0);
  }
  connecting_ = false;
  connected_ = state.phase != ConnectPhase::kFailed;
  const int error = state.error;
  if (connected_) {
    close_error_ = error;  // reset since
    PostOnce(::ws2::kFdConnect, 0);
  } else {
    PostOnce(::ws2::kFdConnect, error != 0 ? error : ::ws2::kErrorRefused);
  }
  return true;
}

// Reading the system's error clears it, so that it is kept for the next receive.
void Notifications::TakeError() {
  int error = 0;
  socklen_t length = sizeof(error);
  if (getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &length) != 0 || error == 0) return;
  close_error_ = SocketErrorOf(error);
  StateOf(socket_).error = close_error_;
}

void Notifications::PostDue(const Sight& sight) {
  ended_ = sight.ended;
  broken_ = sight.broken;
  finished_ = sight.ended && !sight.unread;
  if (sight.writable) PostOnce(::ws2::kFdWrite, 0);
  if (sight.urgent) PostOnce(::ws2::kFdOutOfBand, 0);
  if (sight.readable) PostOnce(::ws2::kFdRead, 0);
  if (finished_) {
    const bool reset = close_error_ == 0 || close_error_ == ::ws2::kErrorConnectionReset;
    PostOnce(::ws2::kFdClose, reset ? close_error_ : ::ws2::kErrorConnectionAborted);
  }
}

void Notifications::PostOnce(LONG event, int socket_error) {
  if (!IsEnabled(event)) return;
  const DWORD packed = static_cast<DWORD>(event) | static_cast<DWORD>(socket_error) << kErrorShift;
  window_->owner->Post(window_.get(), message_, socket_, static_cast<LPARAM>(packed),
                       MessageQueue::Quota::kWaived);
  enabled_ &= ~event;
}

// Never what has come already and cannot be posted, as the pump would find no rest.
std::uint32_t Notifications::EventsToWatch() const {
  if (connecting_) return EPOLLOUT;
  if (!connected_) return 0;
  std::uint32_t events = 0;
  if (!ended_) {
    if (IsEnabled(::ws2::kFdRead)) events |= EPOLLIN | EPOLLRDHUP;
    if (IsEnabled(::ws2::kFdClose)) events |= EPOLLRDHUP;
    if (IsEnabled(::ws2::kFdOutOfBand)) events |= EPOLLPRI;
  }
  if (!broken_ && IsEnabled(::ws2::kFdWrite)) events |= EPOLLOUT;
  return events;
}

bool Notifications::Watch() {
  const std::uint32_t events = EventsToWatch();
  if (events == watched_) return true;
  if (!window_->owner->Watch(descriptor_, events)) return false;
  watched_ = events;
  return true;
}

}  // namespace platform::ws2_32
