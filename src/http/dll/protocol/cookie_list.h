// Cookies: those that a response set, and the Cookie header of requests (RFC 6265).
#ifndef QV_PROTOCOL_COOKIE_LIST_H_
#define QV_PROTOCOL_COOKIE_LIST_H_

#include <string>
#include <string_view>
#include <vector>

#include "frame/error.h"
#include "qvhttp12.h"

namespace qv {

struct Session;
class HeaderList;

// One Set-Cookie field.
struct Cookie {
  std::string name;
  std::string value;
  std::string domain;
  std::string path;
  DWORD expires = 0;  // seconds since 1970; meaningless with HTTP_COOKIE_SESSION
  DWORD flags = 0;    // HTTP_COOKIE_*
};

class CookieList {
 public:
  // Reads the Set-Cookie fields of a response. It ends at the first field that is longer than 4095
  // bytes (name: 1023).
  void Build(const HeaderList& response);

  bool built() const { return built_; }
  // NULL behind the last one.
  const Cookie* At(std::size_t index) const {
    return index < cookies_.size() ? &cookies_[index] : nullptr;
  }
  // The first one of that name, without case; NULL when there is none.
  const Cookie* Find(std::string_view name) const;

 private:
  std::vector<Cookie> cookies_;
  bool built_ = false;
};

// The Cookie header with a cookie added, replaced or (empty value) removed.
std::string ChangeCookieHeader(std::string_view header, std::string_view name,
                               std::string_view value);

}  // namespace qv

#endif  // QV_PROTOCOL_COOKIE_LIST_H_
