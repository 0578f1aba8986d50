// Request methods.
#ifndef QV_PROTOCOL_METHOD_H_
#define QV_PROTOCOL_METHOD_H_

#include <string_view>

namespace qv {

enum class Method {
  kNone = 0,
  kGet = 1,
  kHead = 2,
  kPost = 3,
  kPut = 4,
  kOptions = 5,
  kCopy = 6,
  kMove = 7,
  kLock = 8,
  kUnlock = 9,
  kDelete = 10,
  kMkcol = 11,
  kPropfind = 12,
  kBpropfind = 13,
  kProppatch = 14,
  kBproppatch = 15,
  kPatch = 16,
  kOther = 255,
};

// The method of an upper-case name; kOther for names that are not in the table.
Method MethodOf(std::string_view name);

// Whether the parameters of a command are its body; otherwise they go into the query.
bool SendsBody(Method method);

// Whether a request can be sent a second time without changing anything on the server (safe
// methods, RFC 9110 section 9.2.1).
bool IsSafe(Method method);

// Whether a text can be a method name (a token, RFC 9110 section 5.6.2).
bool IsMethodName(std::string_view name);

}  // namespace qv

#endif  // QV_PROTOCOL_METHOD_H_
