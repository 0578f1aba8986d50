#include "ws2_32/async_select.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "user32/windows.h"
#include "ws2_32/errors.h"

namespace platform::ws2_32 {
namespace {

using user32::MessageQueue;
using user32::Window;

constexpr LONG kAllEvents = ::ws2::kFdRead | ::ws2::kFdWrite | ::ws2::kFdOutOfBand |
                            ::ws2::kFdAccept | ::ws2::kFdConnect | ::ws2::kFdClose;
constexpr DWORD kEventMask = 0xFFFF;  // the event in the low half of lParam, the error above it
constexpr unsigned kErrorShift = 16;

bool IsStream(int descriptor) {
  int type = 0;
  socklen_t length = sizeof(type);
  return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_STREAM;
}

bool HasPeer(int descriptor) {
  sockaddr_storage address;
  socklen_t length = sizeof(address);
  return getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0;
}

// The notifications of one socket: which of them are enabled and what the pump watches for.
class Notifications {
 public:
  Notifications(Socket socket, std::shared_ptr<Window> window, UINT message, LONG events)
      : socket_(socket),
        descriptor_(Descriptor(socket)),
        window_(std::move(window)),
        message_(message),
        events_(events),
        enabled_(events) {}

  const Window& window() const { return *window_; }

  // Begins; the end of a connect is yet to be reported when the socket connects or `connecting`.
  // A socket error, or 0.
  int Start(bool connecting);
  // Ends, and drops what is still in the queue: whether the end of a connect was yet to be
  // reported.
  bool Cancel();

  void AfterReceive(int socket_error);
  void AfterBlockedSend();
  void AfterConnect();
  void Look();

 private:
  // What poll() and the count of unread bytes tell.
  struct Sight {
    bool readable, writable, urgent, ended, broken, unread;
  };

  bool TakeSight(Sight& sight);
  bool FinishConnect(short revents);
  void TakeError();
  void PostDue(const Sight& sight);
  void PostOnce(LONG event, int socket_error);
  bool IsEnabled(LONG event) const { return (enabled_ & event) != 0; }
  std::uint32_t EventsToWatch() const;
  bool Watch();

  const Socket socket_;
  const int descriptor_;
  const std::shared_ptr<Window> window_;
  const UINT message_;
  const LONG events_;

  std::mutex mutex_;  // guards the rest
  LONG enabled_;
  bool cancelled_ = false;
  bool connecting_ = false;
  bool connected_ = false;
  bool stream_ = true;
  bool ended_ = false;     // nothing more comes; what came may be unread
  bool broken_ = false;    // nothing more can be sent either
  bool finished_ = false;  // ended, and everything was read
  int close_error_ = 0;
  std::uint32_t watched_ = 0;  // events of epoll
};

struct Registry {
  std::mutex mutex;
  std::unordered_map<Socket, std::shared_ptr<Notifications>> sockets;
};

// Never destroyed: threads end during the static destruction of others.
Registry& TheRegistry() {
  static Registry& registry = *new Registry;
  return registry;
}

std::shared_ptr<Notifications> Find(Socket socket) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  const auto found = registry.sockets.find(socket);
  return found != registry.sockets.end() ? found->second : nullptr;
}

// Puts notifications (or none) into the place of the socket's, which are returned.
std::shared_ptr<Notifications> Exchange(Socket socket, std::shared_ptr<Notifications> entry) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  StateOf(socket).notifies.store(entry != nullptr, std::memory_order_relaxed);
  if (entry) {
    std::swap(registry.sockets[socket], entry);
    return entry;
  }
  const auto found = registry.sockets.find(socket);
  if (found == registry.sockets.end()) return nullptr;
  entry = std::move(found->second);
  registry.sockets.erase(found);
  return entry;
}

// Takes a socket's notifications out unless others have taken their place.
void Withdraw(Socket socket, const Notifications* entry) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  const auto found = registry.sockets.find(socket);
  if (found == registry.sockets.end() || found->second.get() != entry) return;
  StateOf(socket).notifies.store(false, std::memory_order_relaxed);
  registry.sockets.erase(found);
}

int Notifications::Start(bool connecting) {
  const std::lock_guard lock(mutex_);
  if (cancelled_) return 0;
  stream_ = IsStream(descriptor_);
  if (!stream_) enabled_ &= ~(::ws2::kFdConnect | ::ws2::kFdClose);
  connecting_ = stream_ && (connecting || StateOf(socket_).phase == ConnectPhase::kPending);
  connected_ = !connecting_ && (!stream_ || HasPeer(descriptor_));
  if (!connecting_) enabled_ &= ~::ws2::kFdConnect;
  // Before the window is closed, its queue is not, and afterwards nobody would cancel.
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

// 0, or a socket error.
int Begin(Socket socket, HWND handle, UINT message, LONG events) {
  const auto window = user32::FindWindow(handle);
  if (!window || (events & ~kAllEvents) != 0) return ::ws2::kErrorInvalid;
  if (!window->owner->MakeDescriptor()) return ::ws2::kErrorNoBuffers;
  const int descriptor = Descriptor(socket);
  const int flags = fcntl(descriptor, F_GETFL);
  if (flags < 0 || fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) != 0) {
    return SocketErrorOf(errno);
  }
  const auto entry = std::make_shared<Notifications>(socket, window, message, events);
  const auto before = Exchange(socket, entry);
  const int error = entry->Start(before && before->Cancel());
  if (error != 0) {
    entry->Cancel();
    Withdraw(socket, entry.get());
  }
  return error;
}

}  // namespace

int AsyncSelect(Socket socket, HWND window, UINT message, LONG events) noexcept {
  int type = 0;
  socklen_t length = sizeof(type);
  if (getsockopt(Descriptor(socket), SOL_SOCKET, SO_TYPE, &type, &length) != 0) {
    return FailWithErrno();
  }
  if (events == 0) {
    CancelNotifications(socket);
    return 0;
  }
  try {
    const int error = Begin(socket, window, message, events);
    return error == 0 ? 0 : FailWith(error);
  } catch (const std::bad_alloc&) {
    return FailWith(::ws2::kErrorNoBuffers);
  }
}

void ReceiveWasCalled(Socket socket, int socket_error) noexcept {
  if (const auto entry = Find(socket)) entry->AfterReceive(socket_error);
}

void SendWouldBlock(Socket socket) noexcept {
  if (const auto entry = Find(socket)) entry->AfterBlockedSend();
}

void ConnectHasBegun(Socket socket) noexcept {
  if (const auto entry = Find(socket)) entry->AfterConnect();
}

void CancelNotifications(Socket socket) noexcept {
  if (const auto entry = Exchange(socket, nullptr)) entry->Cancel();
}

void GatherNotifications(int descriptor) noexcept {
  try {
    if (const auto entry = Find(static_cast<Socket>(descriptor))) entry->Look();
  } catch (const std::bad_alloc&) {
    // The message stays due: the descriptor is still ready when the pump looks again.
  }
}

void CancelNotificationsOf(HWND window) noexcept {
  std::vector<std::shared_ptr<Notifications>> ended;
  {
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    for (auto it = registry.sockets.begin(); it != registry.sockets.end();) {
      if (it->second->window().handle != window) {
        ++it;
        continue;
      }
      StateOf(it->first).notifies.store(false, std::memory_order_relaxed);
      ended.push_back(std::move(it->second));
      it = registry.sockets.erase(it);
    }
  }
  for (const auto& entry : ended) entry->Cancel();
}

}  // namespace platform::ws2_32
