#include "tasks/task_session.h"

#include "frame/error_slot.h"
#include "frame/session.h"
#include "frame/text.h"

namespace qv {
namespace {

LPCSTR OptionalText(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

// The record of credentials that stands for an identity; its texts are those of the identity. What
// was meant for another host stays behind.
SECURITYCREDENTIALSA CredentialsRecord(const TlsIdentity& identity, const std::string& host) {
  SECURITYCREDENTIALSA record{};
  record.dwSize = sizeof(record);
  record.dwProtocol = identity.protocols;
  if (!EqualsNoCase(identity.host, host)) return record;
  record.dwOptions = identity.store_options;
  record.lpszHostName = OptionalText(identity.server_name);
  record.lpszCertStore = OptionalText(identity.store);
  record.lpszCertName = OptionalText(identity.certificate_name);
  if (identity.has_password) record.lpszPassword = identity.password.c_str();
  return record;
}

}  // namespace

Result<SessionRef> OpenTaskSession(const ConnectionSettings& settings) {
  if (settings.proxy_type != kProxyNone) return Error(QV_ERROR_FEATURE_NOT_SUPPORTED);
  SECURITYCREDENTIALSA credentials{};
  if (settings.identity) credentials = CredentialsRecord(*settings.identity, settings.host);
  const HCLIENT handle =
      HttpConnectA(settings.host.c_str(), settings.port, settings.timeout, settings.options,
                   settings.version, settings.identity ? &credentials : nullptr);
  if (handle == INVALID_CLIENT) return LastError();
  return SessionTable::Get().Find(handle);
}

Error PrepareTaskSession(Session& session, const ConnectionSettings& settings) {
  const std::optional<Origin>& meant_for = settings.credential_origin;
  const bool allowed = !meant_for || MaySendCredentials(*meant_for, OriginOf(session));
  if (settings.authentication != HTTP_AUTH_NONE && allowed) {
    const Error error =
        Authenticate(session, settings.authentication, settings.user, settings.password);
    if (error && error != Error(QV_ERROR_ALREADY_AUTHENTICATED)) return error;
  }
  session.settings.compression = settings.compression;
  return kNoError;
}

}  // namespace qv
