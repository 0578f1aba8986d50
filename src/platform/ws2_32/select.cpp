// select() over poll(): the sets are lists, and a failed connect shows in the exception set only.
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

#include "platform/checkpoint.h"
#include "ws2_32/errors.h"
#include "ws2_32/functions.h"
#include "ws2_32/socket_state.h"

namespace platform::ws2_32 {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kSlice{100};  // how long a suspended thread runs on at most
constexpr int kSetCount = 3;

class PollList {
 public:
  void Add(const FdSet* set, short events) {
    if (set == nullptr) return;
    for (UINT i = 0; i < set->count; ++i) {
      entries_[count_++] = {static_cast<int>(set->sockets[i]), events, 0};
    }
  }

  bool empty() const { return count_ == 0; }
  const pollfd& operator[](std::size_t i) const { return entries_[i]; }
  int Poll(int milliseconds) { return ::poll(entries_.data(), count_, milliseconds); }
  bool HasBadDescriptor() const {
    return std::any_of(entries_.begin(), entries_.begin() + count_,
                       [](const pollfd& entry) { return (entry.revents & POLLNVAL) != 0; });
  }

 private:
  std::array<pollfd, kSetCount* ::ws2::kSetSize> entries_;
  nfds_t count_ = 0;
};

// Whether the background connect of a socket has failed; remembers the reason.
bool ConnectFailed(Socket socket) {
  SocketState& state = StateOf(socket);
  if (!state.connecting) return state.error != 0;
  int error = 0;
  socklen_t length = sizeof(error);
  getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_ERROR, &error, &length);
  state.connecting = false;
  if (error == 0) return false;
  state.error = SocketErrorOf(error);
  return true;
}

bool Failed(Socket socket, short revents) {
  return (revents & (POLLERR | POLLHUP)) != 0 && ConnectFailed(socket);
}

enum class Purpose { kRead, kWrite, kExcept };

bool IsReady(Socket socket, short revents, Purpose purpose) {
  if (Failed(socket, revents)) return purpose == Purpose::kExcept;
  switch (purpose) {
    case Purpose::kRead:
      return (revents & (POLLIN | POLLHUP | POLLERR)) != 0;
    case Purpose::kWrite:
      if ((revents & (POLLOUT | POLLERR)) == 0) return false;
      StateOf(socket).connecting = false;
      return true;
    case Purpose::kExcept:
      return (revents & POLLPRI) != 0;
  }
  return false;
}

// Keeps the ready sockets of a set; their number.
int Keep(FdSet* set, const PollList& list, std::size_t& next, Purpose purpose) {
  if (set == nullptr) return 0;
  UINT kept = 0;
  for (UINT i = 0; i < set->count; ++i) {
    const Socket socket = set->sockets[i];
    if (IsReady(socket, list[next++].revents, purpose)) set->sockets[kept++] = socket;
  }
  set->count = kept;
  return static_cast<int>(kept);
}

int KeepReady(FdSet* read, FdSet* write, FdSet* except, const PollList& list) {
  std::size_t next = 0;
  int count = Keep(read, list, next, Purpose::kRead);
  count += Keep(write, list, next, Purpose::kWrite);
  return count + Keep(except, list, next, Purpose::kExcept);
}

void Clear(FdSet* set) {
  if (set != nullptr) set->count = 0;
}

// Polls in slices; the number of descriptors with events, 0 when the time is over, -1 on failure.
int PollFor(PollList& list, bool limited, Clock::duration time) {
  const Clock::time_point end = limited ? Clock::now() + time : Clock::time_point::max();
  auto slice = limited ? std::min<Clock::duration>(time, kSlice) : Clock::duration(kSlice);
  while (true) {
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(slice).count();
    const int count = list.Poll(static_cast<int>(milliseconds));
    if (count > 0 || (count < 0 && errno != EINTR)) return count;
    if (limited && Clock::now() >= end) return 0;
    Checkpoint();
    if (limited)
      slice = std::clamp<Clock::duration>(end - Clock::now(), Clock::duration(0), kSlice);
  }
}

}  // namespace

int Select(int /*ignored*/, FdSet* read, FdSet* write, FdSet* except,
           const TimeVal* timeout) noexcept {
  Checkpoint();
  PollList list;
  for (const FdSet* set : {read, write, except}) {
    if (set != nullptr && set->count > ::ws2::kSetSize) return FailWith(::ws2::kErrorInvalid);
  }
  list.Add(read, POLLIN);
  list.Add(write, POLLOUT);
  list.Add(except, POLLPRI);
  if (list.empty()) return FailWith(::ws2::kErrorInvalid);
  Clock::duration time{};
  if (timeout != nullptr) {
    if (timeout->seconds < 0 || timeout->microseconds < 0) return FailWith(::ws2::kErrorInvalid);
    time =
        std::chrono::seconds(timeout->seconds) + std::chrono::microseconds(timeout->microseconds);
  }
  const int count = PollFor(list, timeout != nullptr, time);
  if (count < 0) return FailWithErrno();
  if (list.HasBadDescriptor()) return FailWith(::ws2::kErrorNotSocket);
  if (count > 0) return KeepReady(read, write, except, list);
  Clear(read);
  Clear(write);
  Clear(except);
  return 0;
}

}  // namespace platform::ws2_32
