#include "ws2_32/async_select.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "user32/windows.h"
#include "ws2_32/errors.h"
#include "ws2_32/notifications.h"

namespace platform::ws2_32 {
namespace {

constexpr LONG kAllEvents = ::ws2::kFdRead | ::ws2::kFdWrite | ::ws2::kFdOutOfBand |
                            ::ws2::kFdAccept | ::ws2::kFdConnect | ::ws2::kFdClose;
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
