#include "protocol/session_io.h"

#include <algorithm>
#include <cstring>

#include "frame/session.h"
#include "transport/socket.h"

namespace qv {
namespace {

// The most that one receive is asked for.
constexpr std::size_t kLargestReceive = std::size_t{1} << 20;

Result<INT> Receive(Session& session, char* buffer, std::size_t size) {
  Connection& connection = session.connection;
  const auto wanted = static_cast<INT>(std::min(size, kLargestReceive));
  const auto channel = connection.channel;
  Result<INT> received = channel->Receive(session, buffer, wanted);
  if (received && *received == 0) connection.peer_closed = true;
  return received;
}

}  // namespace

Error CheckOpen(const Session& session) {
  const Connection& connection = session.connection;
  const bool closed = connection.peer_closed || connection.channel == nullptr;
  return closed ? Error(QV_ERROR_CONNECTION_CLOSED) : kNoError;
}

Result<INT> FillInput(Session& session) {
  ReceiveBuffer& input = session.connection.input;
  if (!input.empty()) return static_cast<INT>(input.size());
  if (Error error = CheckOpen(session)) return error;
  Result<INT> received = Receive(session, input.PrepareFill(), ReceiveBuffer::kCapacity);
  if (received) input.Filled(static_cast<std::size_t>(*received));
  return received;
}

Result<INT> FillMore(Session& session) {
  ReceiveBuffer& input = session.connection.input;
  if (Error error = CheckOpen(session)) return error;
  const std::size_t waiting = input.size();
  const std::span<char> room = input.PrepareAppend();
  Result<INT> received = Receive(session, room.data(), room.size());
  if (received) input.Filled(waiting + static_cast<std::size_t>(*received));
  return received;
}

Result<std::size_t> ReadSome(Session& session, char* buffer, std::size_t size) {
  ReceiveBuffer& input = session.connection.input;
  if (input.empty() && size >= ReceiveBuffer::kCapacity) {
    if (Error error = CheckOpen(session)) return error;
    Result<INT> received = Receive(session, buffer, size);
    if (!received) return received.error();
    return static_cast<std::size_t>(*received);
  }
  Result<INT> waiting = FillInput(session);
  if (!waiting) return waiting.error();
  const std::size_t count = std::min(size, static_cast<std::size_t>(*waiting));
  std::memcpy(buffer, input.view().data(), count);
  input.Consume(count);
  return count;
}

Result<INT> WriteSome(Session& session, const void* data, INT size) {
  if (Error error = CheckOpen(session)) return error;
  const auto channel = session.connection.channel;
  Result<INT> sent = channel->Send(session, data, size);
  if (!sent) return sent;
  if (Error error = session.CheckAlive()) return error;
  return sent;
}

Error WriteAll(Session& session, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto piece = static_cast<INT>(std::min(bytes.size(), kLargestReceive));
    Result<INT> sent = WriteSome(session, bytes.data(), piece);
    if (!sent) return sent.error();
    bytes.remove_prefix(static_cast<std::size_t>(*sent));
  }
  return kNoError;
}

bool HasUnaskedInput(Session& session) {
  const Connection& connection = session.connection;
  const auto channel = connection.channel;
  return !connection.input.empty() || channel->HasInput(session);
}

}  // namespace qv
