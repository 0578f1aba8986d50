#include "tls/tls_channel.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "events/notification_window.h"
#include "frame/session.h"
#include "protocol/socket_wait.h"
#include "tls/handshake.h"
#include "transport/socket.h"
#include "transport/trace.h"

namespace qv {
namespace {

// More records without data in a row are an attack: session tickets and key updates come singly.
constexpr int kMostEmptyRecords = 64;

constexpr std::size_t kMostRecords = 4;  // sent together

void TraceContent(const char* what, std::string_view bytes) {
  if (trace::Active()) trace::WriteSecureContent(what, bytes);
}

}  // namespace

Result<std::unique_ptr<TlsChannel>> TlsChannel::Open(Session& session,
                                                     ClientCredential credential) {
  std::unique_ptr<TlsChannel> channel(
      new TlsChannel(session.connection.socket, std::move(credential)));
  if (Error error = StartHandshake(session, channel->context_, channel->input_)) return error;
  channel->established_ = true;
  return channel;
}

void TlsChannel::End() {
  if (!established_ || send_error_) return;
  established_ = false;
  const Token farewell = context_.Shutdown();
  if (farewell.size == 0) return;
  SendBytes(socket_, farewell.bytes.get(), static_cast<int>(farewell.size));
}

std::size_t TlsChannel::TakePlain(char* target, std::size_t size) {
  const std::size_t count = std::min(size, plain_.size());
  if (count == 0) return 0;
  std::memcpy(target, plain_.data(), count);
  plain_ = plain_.subspan(count);
  return count;
}

// Decrypts the next record once everything before it was delivered.
Result<TlsChannel::Progress> TlsChannel::DecryptNext() {
  if (receive_error_) return receive_error_;
  if (renegotiates_) return Progress::kRenegotiates;
  if (ended_) return Progress::kEnded;
  if (input_.empty()) return Progress::kNeedsInput;
  const SecurityContext::Decrypted record = context_.Decrypt(input_.unread());
  if (record.status == SEC_E_INCOMPLETE_MESSAGE) return Progress::kNeedsInput;
  if (record.status == SEC_I_CONTEXT_EXPIRED) {
    ended_ = true;
    return Progress::kEnded;
  }
  if (record.status != SEC_E_OK && record.status != SEC_I_RENEGOTIATE) {
    QV_TRACE(kError, "unable to decrypt message, status 0x%08lx",
             static_cast<unsigned long>(static_cast<DWORD>(record.status)));
    receive_error_ = QV_ERROR_SECURITY_DECRYPTION;
    return receive_error_;
  }
  plain_ = record.data;
  empty_records_ = plain_.empty() ? empty_records_ + 1 : 0;
  if (empty_records_ > kMostEmptyRecords) {
    receive_error_ = QV_ERROR_SECURITY_DECRYPTION;
    return receive_error_;
  }
  input_.KeepLast(record.extra);
  renegotiates_ = record.status == SEC_I_RENEGOTIATE;
  return Progress::kDecrypted;
}

Error TlsChannel::AnswerRenegotiation(Session& session) {
  const NotificationPause pause(session);
  renegotiates_ = false;
  receive_error_ = Renegotiate(session, context_, input_);
  return receive_error_;
}

// Receives more of the stream; its end without a close-notify may be a truncation.
Error TlsChannel::FillInput(Session& session) {
  const std::span<char> space = input_.PrepareFill();
  Result<INT> count = transport_.Receive(session, space.data(), static_cast<INT>(space.size()));
  if (!count) return count.error();
  if (*count == 0) {
    ended_ = true;
    QV_TRACE(kWarning, "server closed the connection without ending the secure session");
  }
  input_.Filled(static_cast<std::size_t>(*count));
  return kNoError;
}

// Waits for the first record only; further ones are taken along when they are there.
Result<INT> TlsChannel::Receive(Session& session, void* buffer, INT size) {
  auto* const target = static_cast<char*>(buffer);
  const auto wanted = static_cast<std::size_t>(size);
  std::size_t total = 0;
  while (true) {
    total += TakePlain(target + total, wanted - total);
    if (total == wanted) break;
    Result<Progress> progress = DecryptNext();
    if (progress && *progress == Progress::kDecrypted) continue;
    if (total > 0) break;  // a failure is met again
    if (!progress) return progress.error();
    if (*progress == Progress::kEnded) return 0;
    if (*progress == Progress::kRenegotiates) {
      if (Error error = AnswerRenegotiation(session)) return error;
      continue;
    }
    if (Error error = FillInput(session)) return error;
    // Pieces of a record that keep coming are no reason to overlook a cancel request.
    if (Error error = CheckWait(session, WaitLimit(kNoLimit))) return error;
  }
  TraceContent("decrypted", {target, total});
  return static_cast<INT>(total);
}

// A wish for another handshake is input, too: answering it may take a while.
bool TlsChannel::HasInput(Session& session) {
  constexpr ws2::TimeVal kNoWait{0, 0};
  while (plain_.empty()) {
    Result<Progress> progress = DecryptNext();
    if (!progress) return true;
    if (*progress == Progress::kDecrypted) continue;
    if (*progress != Progress::kNeedsInput) return true;
    if (WaitSocket(socket_, ReadyFor::kRead, &kNoWait).count <= 0) {
      return !input_.empty();  // the rest of a record that nobody asked for
    }
    if (FillInput(session)) return true;
  }
  return true;
}

// Receives the rest of a message of the protocol's own. No data comes between its parts (RFC 8446
// section 5.1), and all data before it was delivered.
Error TlsChannel::CompleteMessage(Session& session) {
  Result<Progress> progress = DecryptNext();
  if (!progress) return progress.error();
  if (*progress == Progress::kNeedsInput) return FillInput(session);
  const bool goes_on = *progress == Progress::kDecrypted && plain_.empty();
  return goes_on ? kNoError : Error(QV_ERROR_SECURITY_ENCRYPTION);
}

// Encrypts a message where it lies, behind the place for its header; the length of the record. A
// failure of the provider stays, but not one of completing a message first.
Result<std::size_t> TlsChannel::EncryptRecord(Session& session, char* record, std::size_t size) {
  while (true) {
    Result<std::size_t> length = context_.Encrypt(record, size);
    if (!length) send_error_ = length.error();
    if (!length || *length > 0) return length;
    const NotificationPause pause(session);
    if (Error error = CompleteMessage(session)) return error;
    if (Error error = CheckWait(session, WaitLimit(kNoLimit))) return error;
  }
}

// Space for the records of so many bytes.
void TlsChannel::PrepareRecords(std::size_t size) {
  const std::size_t count = (size + context_.largest_message() - 1) / context_.largest_message();
  const std::size_t frame = context_.header_size() + context_.trailer_size();
  const std::size_t needed = std::max<std::size_t>(count, 1) * (frame + context_.largest_message());
  if (records_size_ >= needed) return;
  records_ = std::make_unique_for_overwrite<char[]>(needed);
  records_size_ = needed;
}

// Several records leave in one piece, since each call of the system may have to wait for the peer;
// one at a time where a trace shows them, or where waiting is left to the caller.
Result<INT> TlsChannel::Send(Session& session, const void* data, INT size) {
  if (send_error_) return send_error_;
  const bool notifies = session.events.Notifies();
  constexpr ws2::TimeVal kNoWait{0, 0};
  if (notifies && WaitSocket(socket_, ReadyFor::kWrite, &kNoWait).count <= 0) {
    RenewNotifications(session);  // nothing was sent that would announce when it can be
    return Error(QV_ERROR_OPERATION_WOULD_BLOCK);
  }
  const bool together = !notifies && !trace::Active();
  const std::size_t most = context_.largest_message() * (together ? kMostRecords : 1);
  const std::string_view bytes(static_cast<const char*>(data),
                               std::min(static_cast<std::size_t>(size), most));
  PrepareRecords(bytes.size());
  std::size_t taken = 0;
  std::size_t filled = 0;
  do {
    const std::string_view message = bytes.substr(taken, context_.largest_message());
    char* const record = records_.get() + filled;
    std::memcpy(record + context_.header_size(), message.data(), message.size());
    Result<std::size_t> length = EncryptRecord(session, record, message.size());
    if (!length && filled == 0) return length.error();
    if (!length) break;  // what is encrypted has to be sent; the failure is met again
    filled += *length;
    taken += message.size();
  } while (taken < bytes.size());
  if (Error error = SendToPeer(session, {records_.get(), filled})) {
    send_error_ = error;  // whole, or nothing comes after it
    return error;
  }
  TraceContent("encrypted", bytes.substr(0, taken));
  return static_cast<INT>(taken);
}

}  // namespace qv
