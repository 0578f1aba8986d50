#include "protocol/discard.h"

#include <cstdint>

#include "events/notification_window.h"
#include "frame/session.h"
#include "protocol/body_reader.h"
#include "protocol/session_io.h"
#include "protocol/socket_wait.h"

namespace qv {
namespace {

constexpr uint64_t kMostDiscarded = uint64_t{256} << 10;
constexpr INT kLongestDiscard = 1;  // seconds, however slowly the rest comes

bool WorthDiscarding(const ResponseState& response) {
  const BodyFraming& framing = response.framing;
  if (!response.reusable || response.close_seen) return false;
  switch (framing.kind) {
    case BodyFraming::Kind::kLength:
      return framing.remaining <= kMostDiscarded;
    case BodyFraming::Kind::kChunked:
      return true;
    default:
      return false;
  }
}

// Events and the time-out are not those of an operation of the application.
class QuietTimeout {
 public:
  explicit QuietTimeout(Session& session)
      : session_(session), timeout_(session.settings.timeout), mask_(session.events.mask) {
    session_.settings.timeout = kDrainTimeout;
    session_.events.mask = 0;
  }
  ~QuietTimeout() {
    session_.settings.timeout = timeout_;
    session_.events.mask = mask_;
  }
  QuietTimeout(const QuietTimeout&) = delete;
  QuietTimeout& operator=(const QuietTimeout&) = delete;

 private:
  Session& session_;
  INT timeout_;
  DWORD mask_;
};

}  // namespace

void DiscardBody(Session& session) {
  ResponseState& response = session.response;
  if (response.framing.complete || session.connection.peer_closed) return;
  if (WorthDiscarding(response)) {
    const NotificationPause pause(session);
    QuietTimeout quiet(session);
    char piece[kPieceSize];
    uint64_t discarded = 0;
    const WaitLimit limit(kLongestDiscard);
    while (!response.framing.complete && discarded <= kMostDiscarded && !limit.Passed()) {
      Result<std::size_t> count = ReadFramedBody(session, piece, sizeof(piece));
      if (!count || *count == 0) break;
      discarded += *count;
    }
    session.transfer.copied = 0;
  }
  if (!response.framing.complete) response.reusable = false;
}

}  // namespace qv
