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
  if (identity.password) record.lpszPassword = identity.password->text().c_str();
  return record;
}

}  // namespace

Error OpenTaskSession(const ConnectionSettings& settings, const SessionObserver& created) {
  if (settings.proxy_type != kProxyNone) return QV_ERROR_FEATURE_NOT_SUPPORTED;
  SECURITYCREDENTIALSA credentials{};
  if (settings.identity) credentials = CredentialsRecord(*settings.identity, settings.host);
  ConnectArguments arguments;
  arguments.host = settings.host.c_str();
  arguments.port = settings.port;
  arguments.timeout = settings.timeout;
  arguments.options = settings.options;
  arguments.version = settings.version;
  if (settings.identity) arguments.credentials = &credentials;
  const Result<HCLIENT> handle = ConnectSession(arguments, created);
  if (handle || handle.error()) return handle.error();
  return QV_ERROR_INTERNAL_FAILURE;  // a failure that gave no reason
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
