#include "request.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::string_view, 5> kBoundToOrigin = {"Authorization", "Cookie", "Host",
                                                            "Origin", "Proxy-Authorization"};

}  // namespace

bool IsBoundToOrigin(std::string_view name) {
  return std::any_of(kBoundToOrigin.begin(), kBoundToOrigin.end(),
                     [&](std::string_view bound) { return EqualsIgnoringCase(name, bound); });
}

Request FirstRequest(const Options& options) {
  Request request;
  request.method = options.method;
  request.url = options.url;
  request.headers = options.headers;
  if (options.body) request.body = &*options.body;
  if (options.form) request.form = &*options.form;
  return request;
}
