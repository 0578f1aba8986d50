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

enum class Purpose { kRead, kWrite, kExcept };

short EventsFor(Purpose purpose) {
  switch (purpose) {
    case Purpose::kRead:
      return POLLIN;
    case Purpose::kWrite:
      return POLLOUT;
    case Purpose::kExcept:
      return POLLPRI;
  }
  return 0;
}

bool IsReady(Socket socket, short revents, Purpose purpose) {
  const bool failed = StateOf(socket).phase == ConnectPhase::kFailed;
  switch (purpose) {
    case Purpose::kRead:
      return !failed && (revents & (POLLIN | POLLHUP | POLLERR)) != 0;
    case Purpose::kWrite:
      return !failed && (revents & (POLLOUT | POLLERR)) != 0;
    case Purpose::kExcept:
      return failed || (revents & POLLPRI) != 0;
  }
  return false;
}

// The sockets of all three sets, each with what it is watched for.
class PollList {
 public:
  // For sets of at most kSetSize; false when one names something that cannot be a socket.
  bool Add(FdSet* set, Purpose purpose) {
    if (set == nullptr) return true;
    for (UINT i = 0; i < set->count; ++i) {
      const int descriptor = Descriptor(set->sockets[i]);
      if (descriptor < 0) return false;
      items_[count_] = {set->sockets[i], set, purpose, false};
      entries_[count_++] = {descriptor, EventsFor(purpose), 0};
    }
    return true;
  }

  bool empty() const { return count_ == 0; }
  int Poll(int milliseconds) { return ::poll(entries_.data(), count_, milliseconds); }

  bool HasBadDescriptor() const {
    return std::any_of(entries_.begin(), entries_.begin() + count_,
                       [](const pollfd& entry) { return (entry.revents & POLLNVAL) != 0; });
  }

  // Turns the answers of poll() into those of select(); how many sockets are ready.
  int Judge() {
    for (nfds_t i = 0; i < count_; ++i) {
      const short revents = entries_[i].revents;
      if (revents != 0) SettlePendingConnect(items_[i].socket, (revents & kFailure) != 0);
    }
    int ready = 0;
    for (nfds_t i = 0; i < count_; ++i) {
      const short revents = entries_[i].revents;
      items_[i].ready = revents != 0 && IsReady(items_[i].socket, revents, items_[i].purpose);
      if (items_[i].ready) {
        ++ready;
      } else if (revents != 0) {
        // An end that this set does not report comes with every further poll: watch it no more.
        entries_[i].fd = kIgnored;
      }
    }
    return ready;
  }

  // Fills the (empty) sets with the ready sockets.
  void Deliver() const {
    for (nfds_t i = 0; i < count_; ++i) {
      FdSet& set = *items_[i].set;
      if (items_[i].ready) set.sockets[set.count++] = items_[i].socket;
    }
  }

 private:
  static constexpr short kFailure = POLLERR | POLLHUP;
  static constexpr int kIgnored = -1;  // poll() skips negative descriptors

  struct Item {
    Socket socket;
    FdSet* set;
    Purpose purpose;
    bool ready;  // no default: the arrays are large, and most of them is never used
  };

  std::array<pollfd, kSetCount* ::ws2::kSetSize> entries_;
  std::array<Item, kSetCount* ::ws2::kSetSize> items_;
  nfds_t count_ = 0;
};

// Polls in slices; how many sockets are ready, 0 when the time is over, -1 on failure.
int WaitUntil(PollList& list, Clock::time_point end) {
  auto left = end - Clock::now();
  while (true) {
    const auto slice = std::clamp<Clock::duration>(left, Clock::duration::zero(), kSlice);
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(slice).count();
    const int count = list.Poll(static_cast<int>(milliseconds));
    if (count < 0 && errno != EINTR) return FailWithErrno();
    if (count > 0) {
      if (list.HasBadDescriptor()) return FailWith(::ws2::kErrorNotSocket);
      if (const int ready = list.Judge(); ready > 0) return ready;
    }
    Checkpoint();
    left = end - Clock::now();
    if (left <= Clock::duration::zero()) return 0;
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
  if (!list.Add(read, Purpose::kRead) || !list.Add(write, Purpose::kWrite) ||
      !list.Add(except, Purpose::kExcept)) {
    return FailWith(::ws2::kErrorNotSocket);
  }
  if (list.empty()) return FailWith(::ws2::kErrorInvalid);
  auto end = Clock::time_point::max();
  if (timeout != nullptr) {
    if (timeout->seconds < 0 || timeout->microseconds < 0) return FailWith(::ws2::kErrorInvalid);
    end = Clock::now() + std::chrono::seconds(timeout->seconds) +
          std::chrono::microseconds(timeout->microseconds);
  }
  const int count = WaitUntil(list, end);
  if (count < 0) return count;
  for (FdSet* set : {read, write, except}) {
    if (set != nullptr) set->count = 0;
  }
  list.Deliver();
  return count;
}

}  // namespace platform::ws2_32
