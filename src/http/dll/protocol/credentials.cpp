#include "protocol/credentials.h"

#include "frame/library.h"
#include "frame/session.h"
#include "frame/text.h"
#include "url/encoder.h"

namespace qv {
namespace {

void Forget(Credentials& credentials, UINT type) {
  credentials.type = type;
  credentials.user.clear();
  credentials.password.clear();
}

// No line of a request may be broken by a token.
bool FitsHeader(std::string_view text) { return text.find_first_of("\r\n") == text.npos; }

Error UseBasic(Credentials& credentials, std::string_view user, std::string_view password) {
  Forget(credentials, HTTP_AUTH_BASIC);
  if (user.size() >= kUserCapacity) return QV_ERROR_INVALID_USERNAME;
  if (user.empty() && password.empty()) {
    credentials.type = HTTP_AUTH_NONE;
    return kNoError;
  }
  if (password.size() >= kPasswordCapacity) return QV_ERROR_INVALID_PASSWORD;
  credentials.user = user;
  credentials.password = password;
  return kNoError;
}

Error UseBearer(Credentials& credentials, std::string_view token) {
  Forget(credentials, HTTP_AUTH_BEARER);
  token = TrimLeft(token);
  if (token.empty()) {
    credentials.type = HTTP_AUTH_NONE;
    return kNoError;
  }
  if (token.size() >= kPasswordCapacity || !FitsHeader(token)) {
    credentials.type = HTTP_AUTH_NONE;
    return QV_ERROR_INVALID_PARAMETER;
  }
  credentials.password = token;
  return kNoError;
}

}  // namespace

Error Authenticate(Session& session, UINT type, std::string_view user, std::string_view password) {
  const LibraryLock lock;  // tasks copy them
  Credentials& credentials = session.credentials;
  switch (type) {
    case HTTP_AUTH_NONE:
      Forget(credentials, HTTP_AUTH_NONE);
      return kNoError;
    case HTTP_AUTH_BASIC:
      credentials.origin = OriginOf(session);
      return UseBasic(credentials, user, password);
    case HTTP_AUTH_BEARER:
      credentials.origin = OriginOf(session);
      return UseBearer(credentials, password);
    default:
      return QV_ERROR_INVALID_AUTHENTICATION_TYPE;
  }
}

std::string BasicAuthorization(std::string_view user, std::string_view password) {
  std::string pair(user);
  pair.append(":").append(password);
  return "Basic " + EncodeText(EncodeMode::kBase64, pair).value_or("");
}

std::string BearerAuthorization(std::string_view token) { return "Bearer " + std::string(token); }

}  // namespace qv
