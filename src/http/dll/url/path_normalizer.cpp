#include "url/path_normalizer.h"

namespace qv {
namespace {

constexpr bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// Drops the last segment with its leading separator; whether there was a separator.
bool DropSegment(std::string& path) {
  while (!path.empty() && !IsSeparator(path.back())) path.pop_back();
  if (path.empty()) return false;
  path.pop_back();
  return true;
}

}  // namespace

void NormalizePath(std::string& path) {
  std::string clean;
  clean.reserve(path.size());
  std::size_t dots = 0;  // directly at the end of `clean`
  for (char c : path) {
    if (!IsSeparator(c)) {
      dots = c == '.' ? dots + 1 : 0;
      clean.push_back(c);
      continue;
    }
    if (!clean.empty() && IsSeparator(clean.back())) continue;
    while (dots > 0 && DropSegment(clean)) --dots;
    dots = 0;
    clean.push_back(c);
  }
  path = std::move(clean);
}

}  // namespace qv
