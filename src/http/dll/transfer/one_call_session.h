// The session of a function that does everything in one call.
#ifndef QV_TRANSFER_ONE_CALL_SESSION_H_
#define QV_TRANSFER_ONE_CALL_SESSION_H_

#include "frame/error.h"
#include "frame/session_table.h"
#include "protocol/connection.h"
#include "url/url.h"

namespace qv {

struct OneCallProxy {
  UINT type = kProxyNone;
  LPCSTR host = nullptr;
  UINT port = 0;
  LPCSTR user = nullptr;
  LPCSTR password = nullptr;
};

struct OneCallConnection {
  UINT timeout = 0;  // seconds, 0 = the default
  DWORD options = 0;
  DWORD version = 0;
  OneCallProxy proxy;
};

// Open from the connect to the end of the call, unless the application closes it in a callback.
class OneCallSession {
 public:
  // Connects to the server of a URL. A server whose certificate is refused is not talked to:
  // QV_ERROR_SECURITY_CERTIFICATE. The error slot stays as it is.
  static Result<OneCallSession> Open(const Url& url, const OneCallConnection& connection);

  OneCallSession(OneCallSession&&) = default;
  OneCallSession& operator=(OneCallSession&&) = delete;
  ~OneCallSession();

  Session& operator*() const { return *session_; }
  Session* operator->() const { return session_.get(); }

 private:
  explicit OneCallSession(SessionRef session) : session_(std::move(session)) {}

  SessionRef session_;
};

// The request target of a URL: its path, with the query if it has one.
std::string ResourceOfUrl(const Url& url);

}  // namespace qv

#endif  // QV_TRANSFER_ONE_CALL_SESSION_H_
