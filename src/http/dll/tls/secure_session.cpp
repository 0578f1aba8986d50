#include "tls/secure_session.h"

#include "frame/error_slot.h"
#include "frame/session.h"
#include "tls/security_binding.h"
#include "tls/tls_channel.h"
#include "tls/validation.h"

namespace qv {

Error PrepareSecurity(Session& session) {
  if (Error error = BindSecurity()) return error;
  Result<ClientCredential> credential = AcquireClientCredential(session);
  if (!credential) return credential.error();
  session.tls.credential = *std::move(credential);
  return kNoError;
}

Error StartSecurity(Session& session) {
  if (!session.tls.credential) {
    if (Error error = PrepareSecurity(session)) return error;
  }
  ClientCredential credential = *std::move(session.tls.credential);
  session.tls.credential.reset();
  Result<std::unique_ptr<TlsChannel>> channel = TlsChannel::Open(session, std::move(credential));
  if (!channel) return channel.error();
  if (Error error = session.CheckAlive()) return error;
  SecurityContext& context = *(*channel)->security();
  session.connection.channel = *std::move(channel);
  const Error refusal = ValidateServerCertificate(session, context);
  if (!refusal) session.tls.was_good = true;
  if (!(refusal == Error(QV_ERROR_SECURITY_CERTIFICATE)) || session.tls.was_good) return refusal;
  if (session.tls.certificate_status == 0) session.tls.certificate_status = TRUST_E_CERT_SIGNATURE;
  SetLastError(refusal);
  return kNoError;
}

Error RequireGoodCertificate(const Session& session) {
  const bool refused = session.Has(HTTP_OPTION_SECURE) && session.tls.certificate_status != 0;
  return refused ? Error(QV_ERROR_SECURITY_CERTIFICATE) : kNoError;
}

}  // namespace qv
