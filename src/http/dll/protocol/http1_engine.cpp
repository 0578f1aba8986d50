#include "protocol/http1_engine.h"

#include "events/notification_window.h"
#include "frame/session.h"
#include "protocol/body_reader.h"
#include "protocol/command.h"
#include "protocol/connector.h"
#include "protocol/discard.h"
#include "protocol/response_reader.h"
#include "protocol/session_io.h"
#include "transport/socket.h"

namespace qv {
namespace {

constexpr LONG kMicrosecondsPerMillisecond = 1000;
constexpr LONG kReadableLookMs = 15;  // how long HttpIsReadable looks without a time-out
constexpr DWORD kNotReadySleepMs = 1;

// A PUT that the application streamed is over: its response, or, when bytes are missing, the end of
// the connection, which cannot be used half-way through a body.
Error FinishStreaming(Session& session) {
  RequestState& request = session.request;
  request.streaming = false;
  if (request.written < request.declared) {
    session.connection.CloseSocket();
    session.connection.peer_closed = true;
    session.response.pending = false;
    return kNoError;
  }
  if (request.declared > 0 && request.written > request.declared) session.response.reusable = false;
  session.response.pending = true;
  session.response.result_code = 0;  // the 200 so far stood for a request that was sent
  return ReadResponseHeader(session);
}

// Counts what was written of a streamed body. With notifications its end is the beginning of the
// wait for the response, which may have come already; no body has more bytes than it announced.
void CountStreamed(Session& session, INT count) {
  RequestState& request = session.request;
  request.written += static_cast<uint64_t>(count);
  if (request.declared == 0 || !session.events.Notifies()) return;
  if (request.written > request.declared) session.response.reusable = false;
  if (request.written < request.declared || !request.streaming) return;
  request.streaming = false;
  if (HasUnaskedInput(session)) AnnounceData(session);
}

bool WaitReady(Session& session, ReadyFor what, const ws2::TimeVal& timeout) {
  if (session.connection.socket == ws2::kInvalidSocket) return false;
  const int count = WaitSocket(session.connection.socket, what, &timeout).count;
  TraceWait(what, &timeout, count);
  if (count > 0) return true;
  Sleep(kNotReadySleepMs);
  return false;
}

}  // namespace

Http1Engine& Http1Engine::Get() {
  static Http1Engine& engine = *new Http1Engine;  // serves tasks while the process ends
  return engine;
}

Result<INT> Http1Engine::Command(Session& session, const CommandArguments& arguments) {
  return SendCommand(session, arguments);
}

Error Http1Engine::ReadResponse(Session& session) {
  if (session.request.streaming) return kNoError;
  return ReadResponseHeader(session);
}

Result<INT> Http1Engine::Read(Session& session, void* buffer, INT size) {
  if (Error error = CheckOpen(session)) {
    if (session.connection.input.empty()) return error;
  }
  if (session.response.pending && !session.request.streaming) {
    if (session.events.Notifies() && !HasUnaskedInput(session)) {
      return Error(QV_ERROR_OPERATION_WOULD_BLOCK);
    }
    if (Error error = ReadResponseHeader(session)) return error;
    if (Error error = session.CheckAlive()) return error;
  }
  Result<std::size_t> count =
      ReadRawBody(session, static_cast<char*>(buffer), static_cast<std::size_t>(size));
  if (!count) return count.error();
  if (*count > 0) AnnounceBuffered(session);
  return static_cast<INT>(*count);
}

Result<std::size_t> Http1Engine::ReadBody(Session& session, char* buffer, std::size_t size) {
  return ReadFramedBody(session, buffer, size);
}

Result<INT> Http1Engine::Write(Session& session, const void* data, INT size) {
  Result<INT> sent = WriteSome(session, data, size);
  if (!sent) return sent;
  const bool streamed = session.request.streamed && session.response.pending;
  if (streamed) CountStreamed(session, *sent);
  if (streamed || !session.response.pending) {
    session.transfer.copied += static_cast<uint64_t>(*sent);
  }
  return sent;
}

Result<bool> Http1Engine::IsReadable(Session& session, INT timeout, DWORD* available) {
  const Connection& connection = session.connection;
  if (!connection.input.empty()) {
    *available = static_cast<DWORD>(connection.input.size());
    return true;
  }
  if (connection.channel != nullptr && connection.channel->HasBuffered()) {
    *available = connection.channel->Pending();
    return true;
  }
  ws2::TimeVal wait{timeout, 0};
  if (timeout <= 0) wait = {0, kReadableLookMs * kMicrosecondsPerMillisecond};
  if (!WaitReady(session, ReadyFor::kRead, wait)) return false;
  if (connection.connected) BytesReadable(connection.socket, available);
  return true;
}

Result<bool> Http1Engine::IsWritable(Session& session, INT timeout) {
  if (session.operation.blocking) return Error(QV_ERROR_OPERATION_IN_PROGRESS);
  return WaitReady(session, ReadyFor::kWrite, ws2::TimeVal{timeout > 0 ? timeout : 0, 0});
}

Error Http1Engine::CloseRequest(Session& session) {
  if (session.operation.blocking) return QV_ERROR_OPERATION_IN_PROGRESS;
  const NotificationPause pause(session);
  const bool has_response = session.request.open;
  Error error;
  if (session.request.streaming) {
    error = FinishStreaming(session);
  } else if (session.response.pending && session.request.method == Method::kPut) {
    error = ReadResponseHeader(session);
  }
  if (Error gone = session.CheckAlive()) return gone;
  session.request.open = false;
  if (has_response && session.request.keep_alive_sent) DiscardBody(session);
  session.operation.status = HTTP_STATUS_IDLE;
  session.transfer.End();
  session.connection.idle_since = session.transfer.end_tick;
  return error;
}

Error Http1Engine::Reconnect(Session& session) {
  return ReconnectSession(session, {ReadyFor::kWrite});
}

Error Http1Engine::Disconnect(Session& session) {
  if (session.operation.blocking) return QV_ERROR_OPERATION_IN_PROGRESS;
  const NotificationPause pause(session);
  session.operation.status = HTTP_STATUS_DISCONNECT;
  if (session.request.streaming) return FinishStreaming(session);
  return kNoError;
}

}  // namespace qv
