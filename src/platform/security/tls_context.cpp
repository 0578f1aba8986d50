#include "security/tls_context.h"

#include <algorithm>
#include <new>
#include <utility>

#include "crypt32/server_name.h"
#include "security/client_settings.h"
#include "security/record.h"
#include "security/session_cache.h"
#include "security/status.h"

namespace platform::security {
namespace {

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::unique_ptr<TlsContext> TlsContext::Make(CredentialRef credential, const std::string& target) {
  std::unique_ptr<TlsContext> context(new TlsContext(std::move(credential)));
  return context->Prepare(target) ? std::move(context) : nullptr;
}

bool TlsContext::Prepare(const std::string& target) {
  const crypt32::ServerName name = crypt32::ParseServerName(target);
  target_ = name.text;
  std::transform(target_.begin(), target_.end(), target_.begin(), ToLower);
  SSL_CTX* const settings = ClientSettings(credential_->key_log != nullptr);
  ssl_.reset(settings != nullptr ? SSL_new(settings) : nullptr);
  if (ssl_ == nullptr) return false;
  SSL_set_app_data(ssl_.get(), this);
  BIO* const bio = bio_.NewBio();
  if (bio == nullptr) return false;
  SSL_set_bio(ssl_.get(), bio, bio);
  SSL_set_connect_state(ssl_.get());
  if (SSL_set_min_proto_version(ssl_.get(), credential_->lowest_version) != 1 ||
      SSL_set_max_proto_version(ssl_.get(), credential_->highest_version) != 1) {
    return false;
  }
  // These versions sign with hashes that every higher level refuses.
  if (credential_->lowest_version < TLS1_2_VERSION) SSL_set_security_level(ssl_.get(), 0);
  // Names only (RFC 6066 section 3).
  if (!name.is_address && !target_.empty() &&
      SSL_set_tlsext_host_name(ssl_.get(), target_.c_str()) != 1) {
    return false;
  }
  const SslSessionPtr session = SessionCache::Instance().Take(SessionKey());
  return session == nullptr || SSL_set_session(ssl_.get(), session.get()) == 1;
}

TlsContext::~TlsContext() {
  if (ssl_ == nullptr) return;
  // OpenSSL takes an end without close-notify for a reason not to resume the session. The length of
  // what was transferred is checked above this layer, so the session stays good.
  if (failure_ == SEC_E_OK) {
    SSL_set_shutdown(ssl_.get(), SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN);
  }
}

// Sessions are shared by connections that would negotiate and prove the same.
std::string TlsContext::SessionKey() const {
  return target_ + '/' + std::to_string(credential_->port) + '/' +
         std::to_string(credential_->lowest_version) + '/' +
         std::to_string(credential_->highest_version) + '/' + credential_->fingerprint;
}

SECURITY_STATUS TlsContext::Fail(SECURITY_STATUS status) {
  failure_ = status;
  if (!established_) SessionCache::Instance().Forget(SessionKey());
  return status;
}

SECURITY_STATUS TlsContext::Handshake(std::span<const BYTE> input, std::size_t& used) {
  used = 0;
  if (failure_ != SEC_E_OK) return failure_;
  const std::size_t seen = std::min(seen_input_, input.size());
  seen_input_ = 0;
  const std::span<const BYTE> fresh = input.subspan(seen);
  const std::span<const BYTE> records = WholeRecords(fresh);
  bio_.SetInput(records);
  ERR_clear_error();
  const int result = SSL_do_handshake(ssl_.get());
  used = seen + bio_.used();
  const bool input_is_invalid = records.size() == fresh.size() && !records.empty() &&
                                CheckFrame(records).frame == Frame::kInvalid;
  bio_.SetInput({});
  const SECURITY_STATUS status = ContinueHandshake(used, input_is_invalid, result);
  if (status == SEC_I_INCOMPLETE_CREDENTIALS) seen_input_ = std::exchange(used, 0);
  return status;
}

SECURITY_STATUS TlsContext::ContinueHandshake(std::size_t used, bool input_is_invalid, int result) {
  if (result == 1) return CompleteHandshake();
  switch (SSL_get_error(ssl_.get(), result)) {
    case SSL_ERROR_WANT_READ:
      if (input_is_invalid) return Fail(SEC_E_INVALID_TOKEN);
      return used == 0 && output().empty() ? SEC_E_INCOMPLETE_MESSAGE : SEC_I_CONTINUE_NEEDED;
    case SSL_ERROR_WANT_X509_LOOKUP:
      return SEC_I_INCOMPLETE_CREDENTIALS;
    default:
      return Fail(TakeFailure());
  }
}

SECURITY_STATUS TlsContext::CompleteHandshake() {
  crypt32::X509Ptr certificate(SSL_get1_peer_certificate(ssl_.get()));
  // Whoever checked the certificate once does not look again: a renegotiation must not change it.
  if (server_certificate_ != nullptr &&
      (certificate == nullptr || X509_cmp(certificate.get(), server_certificate_.get()) != 0)) {
    return Fail(SEC_E_CERT_UNKNOWN);
  }
  server_certificate_ = std::move(certificate);
  established_ = true;
  certificate_asked_ = false;
  return SEC_E_OK;
}

void TlsContext::Shutdown() {
  if (failure_ != SEC_E_OK || !established_ || SSL_in_init(ssl_.get()) != 0) return;
  SSL_shutdown(ssl_.get());
}

// The answer to a key update goes in front of the next data (RFC 8446 section 4.6.3). It must not
// be written while the data still has to be encrypted, as it may be written over the data.
bool TlsContext::AnswerKeyUpdate() {
  if (SSL_get_key_update_type(ssl_.get()) == SSL_KEY_UPDATE_NONE) return true;
  return SSL_key_update(ssl_.get(), SSL_KEY_UPDATE_NOT_REQUESTED) == 1 &&
         SSL_do_handshake(ssl_.get()) == 1;
}

SECURITY_STATUS TlsContext::Encrypt(std::span<const BYTE> data,
                                    std::span<BufferBio::Place> places) {
  if (failure_ != SEC_E_OK) return failure_;
  if (!established_) return SEC_E_INVALID_HANDLE;
  const SecPkgContext_StreamSizes sizes = StreamSizes();
  if (data.empty() || data.size() > sizes.cbMaximumMessage) return SEC_E_INVALID_PARAMETER;
  if (!AnswerKeyUpdate()) return Fail(TakeFailure());
  std::size_t capacity = 0;
  for (const BufferBio::Place& place : places) capacity += place.capacity;
  const std::size_t overhead = sizes.cbHeader + sizes.cbTrailer - kOwedToPeer;
  const std::size_t needed = data.size() + overhead + std::max(kOwedToPeer, output().size());
  if (capacity < needed) return SEC_E_BUFFER_TOO_SMALL;
  bio_.SetOutput(places);
  std::size_t written = 0;
  const int result = SSL_write_ex(ssl_.get(), data.data(), data.size(), &written);
  bio_.ClearOutput();
  if (result == 1) return SEC_E_OK;
  if ((SSL_get_shutdown(ssl_.get()) & SSL_SENT_SHUTDOWN) != 0) return SEC_E_CONTEXT_EXPIRED;
  // A message of the protocol's own has come in part: OpenSSL wants to read the rest first.
  if (SSL_version(ssl_.get()) >= TLS1_3_VERSION &&
      SSL_get_error(ssl_.get(), result) == SSL_ERROR_WANT_READ) {
    return SEC_E_INCOMPLETE_MESSAGE;
  }
  return Fail(SEC_E_ENCRYPT_FAILURE);  // only a handshake could settle it
}

SECURITY_STATUS TlsContext::Decrypt(std::span<BYTE> record, std::size_t& size) {
  size = 0;
  if (failure_ != SEC_E_OK) return failure_;
  if (!established_) return SEC_E_INVALID_HANDLE;
  const bool invalid = CheckFrame(record).frame == Frame::kInvalid;
  const std::size_t header = std::min(kRecordHeader, record.size());
  bio_.SetInput(record);
  // OpenSSL has taken all of the record before it writes the first byte of the plaintext.
  const int result = SSL_read_ex(ssl_.get(), record.data() + header, record.size() - header, &size);
  bio_.SetInput({});
  if (result == 1) return SEC_E_OK;
  switch (SSL_get_error(ssl_.get(), result)) {
    case SSL_ERROR_WANT_READ:
      if (invalid) return Fail(SEC_E_INVALID_TOKEN);
      if (SSL_version(ssl_.get()) < TLS1_3_VERSION && SSL_in_init(ssl_.get()) != 0) {
        return SEC_I_RENEGOTIATE;
      }
      return SEC_E_OK;  // a record of the protocol's own
    case SSL_ERROR_ZERO_RETURN:
      return SEC_I_CONTEXT_EXPIRED;
    default:
      return Fail(TakeFailure());
  }
}

int TlsContext::OnCertificateRequest() {
  constexpr int kGoOn = 1;
  constexpr int kAskCaller = -1;
  const crypt32::CertificateRef& certificate = credential_->certificate;
  if (certificate == nullptr) {
    return std::exchange(certificate_asked_, true) ? kGoOn : kAskCaller;
  }
  return SSL_use_cert_and_key(ssl_.get(), certificate->x509(), certificate->key(),
                              credential_->intermediates.get(), 1);
}

void TlsContext::OnNewSession(SSL_SESSION* session) noexcept {
  try {
    SslSessionPtr copy(SSL_SESSION_dup(session));
    if (copy != nullptr) SessionCache::Instance().Put(SessionKey(), std::move(copy));
  } catch (const std::bad_alloc&) {
    // The next connection makes a session of its own.
  }
}

void TlsContext::OnKeyLogLine(const char* line) const noexcept {
  if (credential_->key_log != nullptr) credential_->key_log->Append(line);
}

}  // namespace platform::security
