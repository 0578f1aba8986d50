#include "transfer/body_loop.h"

#include <algorithm>

#include "frame/session.h"
#include "protocol/engine.h"
#include "protocol/pacer.h"
#include "protocol/session_io.h"

namespace qv {
namespace {

Error Receive(Session& session, BodySink& sink) {
  Pacer pacer(session);
  while (true) {
    Result<std::span<char>> space = sink.Space();
    if (!space) return space.error();
    const std::size_t size = pacer.pauses() ? std::min(space->size(), kPieceSize) : space->size();
    Result<std::size_t> count = session.engine->ReadBody(session, space->data(), size);
    if (!count) return count.error();
    if (*count == 0) return pacer.Finish();
    if (Error error = sink.Filled(*count)) return error;
    if (Error error = pacer.AfterBlock()) return error;
  }
}

}  // namespace

Error ReceiveBody(Session& session, BodySink& sink) {
  session.transfer.copied = 0;
  session.transfer.Start();
  const Error error = Receive(session, sink);
  if (!session.request.keep_alive_sent) session.connection.peer_closed = true;
  return error;
}

}  // namespace qv
