#include "protocol/body_reader.h"

#include <algorithm>
#include <cstring>

#include "frame/session.h"
#include "protocol/chunked.h"
#include "protocol/session_io.h"

namespace qv {
namespace {

// A read that takes the end of the connection for the end of the body.
Result<std::size_t> ReadUntilClose(Session& session, char* buffer, std::size_t size) {
  Result<std::size_t> count = ReadSome(session, buffer, size);
  if (!count && count.error() == Error(QV_ERROR_CONNECTION_CLOSED)) return std::size_t{0};
  return count;
}

Result<std::size_t> ReadLength(Session& session, char* buffer, std::size_t size) {
  BodyFraming& framing = session.response.framing;
  const std::size_t wanted = static_cast<std::size_t>(std::min<uint64_t>(size, framing.remaining));
  Result<std::size_t> count = ReadUntilClose(session, buffer, wanted);
  if (!count) return count;
  framing.remaining -= *count;
  framing.complete = framing.remaining == 0;
  return count;
}

// Takes what the receive buffer holds of the current chunk and of those that follow it.
std::size_t TakeChunks(Session& session, char* buffer, std::size_t size) {
  ReceiveBuffer& input = session.connection.input;
  std::string_view received = input.view();
  uint64_t remaining = session.response.framing.remaining;
  std::size_t total = 0;
  while (total < size && !received.empty()) {
    if (remaining == 0) {
      const ChunkLine line = FindChunkLine(received);
      if (line.end == 0) break;
      remaining = line.size;
      received.remove_prefix(line.end);
    }
    const auto left = static_cast<std::size_t>(remaining);
    const std::size_t count = std::min({size - total, received.size(), left});
    std::memcpy(buffer + total, received.data(), count);
    received.remove_prefix(count);
    remaining -= count;
    total += count;
  }
  input.Consume(input.size() - received.size());
  session.response.framing.remaining = remaining;
  return total;
}

// Waits only when there is nothing at hand.
Result<std::size_t> ReadChunks(Session& session, char* buffer, std::size_t size) {
  BodyFraming& framing = session.response.framing;
  if (const std::size_t count = TakeChunks(session, buffer, size); count > 0) return count;
  if (framing.remaining == 0) {
    Result<uint32_t> chunk = ReadChunkSize(session);
    if (!chunk) return chunk.error();
    if (*chunk == 0) return std::size_t{0};
  }
  const std::size_t wanted = static_cast<std::size_t>(std::min<uint64_t>(size, framing.remaining));
  Result<std::size_t> count = ReadUntilClose(session, buffer, wanted);
  if (!count) return count;
  framing.remaining -= *count;
  return *count + TakeChunks(session, buffer + *count, size - *count);
}

// The counters describe the body from its first read on.
void StartCounting(Session& session) {
  if (session.response.framing.started) return;
  session.response.framing.started = true;
  session.transfer.copied = 0;
}

}  // namespace

Result<std::size_t> ReadFramedBody(Session& session, char* buffer, std::size_t size) {
  StartCounting(session);
  const BodyFraming& framing = session.response.framing;
  if (framing.complete) return std::size_t{0};
  Result<std::size_t> count = std::size_t{0};
  switch (framing.kind) {
    case BodyFraming::Kind::kNone:
      break;
    case BodyFraming::Kind::kLength:
      count = ReadLength(session, buffer, size);
      break;
    case BodyFraming::Kind::kChunked:
      count = ReadChunks(session, buffer, size);
      break;
    case BodyFraming::Kind::kUntilClose:
      count = ReadUntilClose(session, buffer, size);
      break;
  }
  if (Error error = session.CheckAlive()) return error;
  if (count) session.transfer.copied += *count;
  return count;
}

Result<std::size_t> ReadRawBody(Session& session, char* buffer, std::size_t size) {
  StartCounting(session);
  BodyFraming& framing = session.response.framing;
  if (framing.kind == BodyFraming::Kind::kLength) {
    if (framing.complete) return std::size_t{0};
    size = static_cast<std::size_t>(std::min<uint64_t>(size, framing.remaining));
  } else if (framing.kind == BodyFraming::Kind::kNone) {
    if (session.connection.used) return std::size_t{0};  // without a request: a plain stream
  } else if (framing.complete) {
    return std::size_t{0};
  }
  Result<std::size_t> count = ReadSome(session, buffer, size);
  if (Error error = session.CheckAlive()) return error;
  if (!count) return count;
  session.transfer.copied += *count;
  // Where in a chunk the next byte belongs is not known any more.
  if (framing.kind == BodyFraming::Kind::kChunked) session.response.reusable = false;
  if (framing.kind == BodyFraming::Kind::kLength) {
    framing.remaining -= *count;
    framing.complete = framing.remaining == 0;
  }
  return count;
}

}  // namespace qv
