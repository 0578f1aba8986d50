#include "transfer/body_loop.h"

#include <algorithm>

#include "frame/session.h"
#include "protocol/engine.h"
#include "protocol/pacer.h"
#include "protocol/session_io.h"
#include "transport/trace.h"

namespace qv {
namespace {

using Kind = BodyFraming::Kind;

void TraceBeginning(const Session& session) {
  const bool until_close = session.response.framing.kind == Kind::kUntilClose;
  if (until_close && session.request.keep_alive_sent) {
    QV_TRACE(kWarning, "server using persistent connection with unknown content length");
  }
}

// How much came; a body that ended before its announced length deserves a warning.
void TraceEnd(const Session& session) {
  const BodyFraming& framing = session.response.framing;
  const unsigned long copied = session.transfer.copied;
  const auto level = framing.complete ? trace::Level::kInformation : trace::Level::kWarning;
  if (framing.kind == Kind::kChunked) {
    trace::WriteMessage(level, "server returned %lu bytes of chunked data", copied);
  } else if (framing.kind == Kind::kLength) {
    trace::WriteMessage(level, "received %lu bytes with a content length of %lu bytes", copied,
                        copied + static_cast<unsigned long>(framing.remaining));
  }
}

// What is missing of a chunked body that was cut short belongs to its length, as it does for a body
// whose length was announced: the least that it can be is the rest of the chunk, or one byte.
void CountMissing(Session& session) {
  const BodyFraming& framing = session.response.framing;
  if (framing.kind != Kind::kChunked || framing.complete) return;
  session.transfer.content_length =
      session.transfer.copied + std::max<uint64_t>(framing.remaining, 1);
}

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
  TraceBeginning(session);
  const Error error = Receive(session, sink);
  if (!error) {
    CountMissing(session);
    if (trace::Active()) TraceEnd(session);
  }
  if (!session.request.keep_alive_sent) session.connection.peer_closed = true;
  return error;
}

}  // namespace qv
