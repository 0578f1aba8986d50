#include "connection.h"

#include "failure.h"
#include "url_parts.h"

namespace {

// What went wrong when no session could be opened: the way to the server, or what was asked of the
// library.
ExitCode ConnectExitCode(DWORD error) {
  switch (error) {
    case QV_ERROR_FEATURE_NOT_SUPPORTED:
    case QV_ERROR_INVALID_PROTOCOL_VERSION:
    case QV_ERROR_SECURITY_CREDENTIALS:
    case QV_ERROR_OUT_OF_MEMORY:
      return ExitCode::kFailure;
    default:
      return ExitCode::kConnect;
  }
}

// The record that tells the library how to identify itself and the server.
class Credentials {
 public:
  Credentials(const TlsOptions& options, bool is_trusted) {
    const ClientCertificate* const file = is_trusted ? options.certificate.get() : nullptr;
    const std::string path = file != nullptr ? file->path() : std::string();
    const std::string name = file != nullptr ? ClientCertificate::kName
                             : is_trusted    ? options.certificate_name
                                             : std::string();
    if (!HttpCreateSecurityCredentialsA(options.protocols,
                                        file != nullptr ? CREDENTIAL_STORE_FILE : 0, nullptr,
                                        file != nullptr ? file->password().c_str() : nullptr,
                                        file != nullptr ? path.c_str() : nullptr,
                                        name.empty() ? nullptr : name.c_str(), nullptr, &record_)) {
      throw LibraryFailure(ExitCode::kFailure, "cannot prepare a secure connection");
    }
    if (is_trusted && !options.server_name.empty()) {
      record_->lpszHostName = options.server_name.c_str();
    }
  }
  ~Credentials() { HttpDeleteSecurityCredentialsA(&record_); }
  Credentials(const Credentials&) = delete;
  Credentials& operator=(const Credentials&) = delete;

  LPSECURITYCREDENTIALSA get() const { return record_; }

 private:
  LPSECURITYCREDENTIALSA record_ = nullptr;
};

}  // namespace

HCLIENT ConnectUnchecked(const HTTPURLCOMPONENTSA& parts, const Options& options, bool is_trusted) {
  // Error responses have bodies that the user wants to see.
  DWORD connect_options = HTTP_OPTION_ERRORDATA;
  if (parts.nScheme == HTTP_SCHEME_HTTPS) connect_options |= HTTP_OPTION_SECURE;
  const DWORD version = options.http10 ? HTTP_VERSION_10 : HTTP_VERSION_DEFAULT;
  const Credentials credentials(options.tls, is_trusted);
  HttpSetLastError(0);
  const HCLIENT client = HttpConnectA(parts.lpszHostName, parts.nPort, options.timeout_seconds,
                                      connect_options, version, credentials.get());
  if (client != INVALID_CLIENT) return client;
  if (HttpGetLastError() == QV_ERROR_SECURITY_CREDENTIALS &&
      !options.tls.certificate_name.empty()) {
    throw Failure(ExitCode::kFailure, "--cert-name " + options.tls.certificate_name +
                                          ": no such certificate with its key in the store");
  }
  throw LibraryFailure(ConnectExitCode(HttpGetLastError()),
                       "cannot connect to " + HostAndPort(parts));
}

HCLIENT Connect(const HTTPURLCOMPONENTSA& parts, const Options& options, bool is_trusted) {
  const HCLIENT client = ConnectUnchecked(parts, options, is_trusted);
  // A server that does not prove who it is gets connected all the same: nothing is sent to it.
  if (HttpGetLastError() != QV_ERROR_SECURITY_CERTIFICATE || options.tls.insecure) return client;
  const std::string fault = CertificateFault(client);
  HttpDisconnect(client);
  throw Failure(ExitCode::kConnect, "cannot trust " + HostAndPort(parts) + ": " + fault);
}

std::string CertificateFault(HCLIENT client) {
  SECURITYINFOA info{};
  info.dwSize = sizeof(info);
  if (!HttpGetSecurityInformationA(client, &info)) return ErrorText(HttpGetLastError());
  return CertificateFaultText(info.dwCertStatus);
}

std::string CertificateFaultText(DWORD status) {
  switch (status) {
    case 0:  // of a plain session
    case SECURITY_CERT_VALID:
      return "";
    case SECURITY_CERT_NAME_MISMATCH:
      return "its certificate is for another name";
    case SECURITY_CERT_EXPIRED:
      return "its certificate has expired, or is not valid yet";
    case SECURITY_CERT_REVOKED:
      return "its certificate has been revoked";
    case SECURITY_CERT_UNTRUSTED:
      return "nobody who is trusted here has issued its certificate (untrusted root)";
    default:
      return "its certificate is not valid: a wrong signature, a weak key, or not made for servers";
  }
}
