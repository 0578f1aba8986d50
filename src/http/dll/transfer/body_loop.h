// The one loop that receives bodies, whatever becomes of them.
#ifndef QV_TRANSFER_BODY_LOOP_H_
#define QV_TRANSFER_BODY_LOOP_H_

#include <span>

#include "frame/error.h"

namespace qv {

struct Session;

// Where a body goes.
class BodySink {
 public:
  virtual ~BodySink() = default;

  // Room for at least one more byte.
  virtual Result<std::span<char>> Space() = 0;

  // The first `count` bytes of that room were filled.
  virtual Error Filled(std::size_t count) = 0;
};

// Receives the body of the session's response to its end, with the pauses, progress events and
// cancel checks of a transfer. A connection that was not asked to be kept counts as closed
// afterwards. A body that the server cuts short is no error: the transfer status then shows fewer
// bytes copied than there are in all.
Error ReceiveBody(Session& session, BodySink& sink);

}  // namespace qv

#endif  // QV_TRANSFER_BODY_LOOP_H_
