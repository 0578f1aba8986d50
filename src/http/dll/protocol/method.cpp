#include "protocol/method.h"

#include <algorithm>

#include "frame/text.h"

namespace qv {
namespace {

struct NamedMethod {
  std::string_view name;
  Method method;
};

constexpr NamedMethod kMethods[] = {
    {"GET", Method::kGet},
    {"HEAD", Method::kHead},
    {"POST", Method::kPost},
    {"PUT", Method::kPut},
    {"COPY", Method::kCopy},
    {"OPTIONS", Method::kOptions},
    {"MOVE", Method::kMove},
    {"LOCK", Method::kLock},
    {"UNLOCK", Method::kUnlock},
    {"DELETE", Method::kDelete},
    {"MKCOL", Method::kMkcol},
    {"PROPFIND", Method::kPropfind},
    {"BPROPFIND", Method::kBpropfind},
    {"PROPPATCH", Method::kProppatch},
    {"BPROPPATCH", Method::kBproppatch},
    {"PATCH", Method::kPatch},
};

constexpr std::string_view kTokenSymbols = "!#$%&'*+-.^_`|~";

bool IsTokenCharacter(char c) {
  const char lower = ToLower(c);
  return (lower >= 'a' && lower <= 'z') || IsDigit(c) ||
         kTokenSymbols.find(c) != kTokenSymbols.npos;
}

}  // namespace

Method MethodOf(std::string_view name) {
  const auto* found = std::find_if(std::begin(kMethods), std::end(kMethods),
                                   [&](const NamedMethod& entry) { return entry.name == name; });
  return found != std::end(kMethods) ? found->method : Method::kOther;
}

bool SendsBody(Method method) {
  switch (method) {
    case Method::kPost:
    case Method::kPut:
    case Method::kPropfind:
    case Method::kBpropfind:
    case Method::kProppatch:
    case Method::kBproppatch:
    case Method::kPatch:
      return true;
    default:
      return false;
  }
}

bool IsSafe(Method method) {
  switch (method) {
    case Method::kGet:
    case Method::kHead:
    case Method::kOptions:
    case Method::kPropfind:
    case Method::kBpropfind:
      return true;
    default:
      return false;
  }
}

bool IsMethodName(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), IsTokenCharacter);
}

}  // namespace qv
