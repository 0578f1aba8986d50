#include "transfer/one_call_session.h"

#include "frame/error_slot.h"
#include "frame/session.h"
#include "protocol/connect.h"
#include "tls/secure_session.h"

namespace qv {
namespace {

// The only place that knows proxies here.
Result<HCLIENT> ConnectByProxy(const ConnectArguments& /*arguments*/,
                               const OneCallProxy& /*proxy*/) {
  return Error(QV_ERROR_FEATURE_NOT_SUPPORTED);
}

}  // namespace

Result<OneCallSession> OneCallSession::Open(const Url& url, const OneCallConnection& connection) {
  const ErrorSlotGuard keep_error;
  ConnectArguments arguments;
  arguments.host = url.host.c_str();
  arguments.port = url.port;
  arguments.timeout = connection.timeout;
  arguments.options = connection.options;
  arguments.version = connection.version;
  const Result<HCLIENT> handle = connection.proxy.type != kProxyNone
                                     ? ConnectByProxy(arguments, connection.proxy)
                                     : ConnectSession(arguments);
  if (!handle) return handle.error();
  Result<SessionRef> found = SessionTable::Get().Validate(*handle);
  if (!found) return found.error();
  OneCallSession session(*std::move(found));
  if (Error error = RequireGoodCertificate(*session)) return error;
  return session;
}

OneCallSession::~OneCallSession() {
  if (session_ && session_->Alive()) HttpDisconnect(session_->handle);
}

std::string ResourceOfUrl(const Url& url) {
  return url.query ? url.resource + "?" + *url.query : url.resource;
}

}  // namespace qv
