#include "header_enumeration.h"

#include <algorithm>
#include <optional>

#include "failure.h"

namespace {

constexpr std::size_t kHeaderBuffer = 1024;  // most headers fit; longer ones are asked for again

// The header at the list's cursor, or nothing at the end.
std::optional<std::pair<std::string, std::string>> FetchHeader(HCLIENT client, DWORD header_type,
                                                               bool first) {
  std::string name(kHeaderBuffer, '\0');
  std::string value(kHeaderBuffer, '\0');
  const auto fetch = first ? HttpGetFirstHeaderA : HttpGetNextHeaderA;
  for (;;) {
    INT name_length = static_cast<INT>(name.size());
    INT value_length = static_cast<INT>(value.size());
    if (fetch(client, header_type, name.data(), &name_length, value.data(), &value_length)) {
      return std::pair(std::string(name.c_str()), std::string(value.c_str()));
    }
    const DWORD error = HttpGetLastError();
    if (error == QV_ERROR_HEADER_NOT_FOUND) return std::nullopt;
    if (error != QV_ERROR_BUFFER_TOO_SMALL) {
      throw LibraryFailure(ExitCode::kFailure, "cannot read the headers");
    }
    name.resize(std::max(name.size(), static_cast<std::size_t>(name_length)));
    value.resize(std::max(value.size(), static_cast<std::size_t>(value_length)));
  }
}

}  // namespace

HeaderList EnumerateHeaders(HCLIENT client, DWORD header_type) {
  HeaderList headers;
  while (auto header = FetchHeader(client, header_type, headers.empty())) {
    headers.push_back(std::move(*header));
  }
  return headers;
}
