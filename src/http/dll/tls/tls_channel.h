// The channel of a secure session.
#ifndef QV_TLS_TLS_CHANNEL_H_
#define QV_TLS_TLS_CHANNEL_H_

#include <memory>
#include <span>

#include "platform/ws2_32.h"
#include "protocol/channel.h"
#include "protocol/plain_channel.h"
#include "tls/record_buffer.h"
#include "tls/security_context.h"

namespace qv {

class TlsChannel final : public Channel {
 public:
  // Performs the handshake over the session's socket.
  static Result<std::unique_ptr<TlsChannel>> Open(Session& session, ClientCredential credential);

  Result<INT> Receive(Session& session, void* buffer, INT size) override;
  Result<INT> Send(Session& session, const void* data, INT size) override;
  DWORD Pending() const override { return static_cast<DWORD>(plain_.size()); }
  bool HasBuffered() override { return !plain_.empty() || !input_.empty(); }
  bool HasInput(Session& session) override;
  void End() override;  // sends the close-notify
  SecurityContext* security() override { return &context_; }

 private:
  enum class Progress { kDecrypted, kNeedsInput, kRenegotiates, kEnded };

  TlsChannel(ws2::Socket socket, ClientCredential credential)
      : socket_(socket), context_(std::move(credential)) {}

  std::size_t TakePlain(char* target, std::size_t size);
  Result<Progress> DecryptNext();
  Error AnswerRenegotiation(Session& session);
  Error FillInput(Session& session);
  Error CompleteMessage(Session& session);
  Result<std::size_t> EncryptRecord(Session& session, char* record, std::size_t size);
  void PrepareRecords(std::size_t size);

  const ws2::Socket socket_;
  PlainChannel transport_;
  SecurityContext context_;
  RecordBuffer input_;
  std::span<char> plain_;            // decrypted, inside input_, and not yet delivered
  std::unique_ptr<char[]> records_;  // work space of Send
  std::size_t records_size_ = 0;
  bool established_ = false;
  bool ended_ = false;         // the peer sends no more
  bool renegotiates_ = false;  // the peer waits for another handshake
  int empty_records_ = 0;      // one behind the other
  Error receive_error_;        // a broken stream stays broken
  Error send_error_;
};

}  // namespace qv

#endif  // QV_TLS_TLS_CHANNEL_H_
