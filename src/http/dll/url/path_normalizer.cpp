#include "url/path_normalizer.h"

#include <string_view>

namespace qv {
namespace {

constexpr bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// The length that is left without the last segment and the separator before it.
std::size_t WithoutLastSegment(std::string_view path) {
  const std::size_t separator = path.find_last_of("/\\");
  return separator == path.npos ? 0 : separator;
}

}  // namespace

std::size_t NormalizePath(char* path, std::size_t length) {
  std::size_t end = 0;   // of the normalized text
  std::size_t dots = 0;  // directly before that end
  for (std::size_t i = 0; i < length; ++i) {
    const char c = path[i];
    if (IsSeparator(c)) {
      if (end > 0 && IsSeparator(path[end - 1])) continue;
      for (; dots > 0 && end > 0; --dots) end = WithoutLastSegment({path, end});
      dots = 0;
    } else {
      dots = c == '.' ? dots + 1 : 0;
    }
    path[end++] = c;
  }
  return end;
}

void NormalizePath(std::string& path) { path.resize(NormalizePath(path.data(), path.size())); }

}  // namespace qv
