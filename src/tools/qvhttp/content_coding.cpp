#include "content_coding.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr std::array<std::string_view, 3> kDecoded = {"gzip", "deflate", "zlib"};

}  // namespace

bool HasContentCoding(const HeaderList& headers) {
  const auto coding = FindField(headers, "Content-Encoding");
  return coding && !EqualsIgnoringCase(*coding, "identity");
}

bool HasKnownContentCoding(const HeaderList& headers) {
  const auto coding = FindField(headers, "Content-Encoding").value_or("");
  return std::any_of(kDecoded.begin(), kDecoded.end(),
                     [&](std::string_view known) { return EqualsIgnoringCase(coding, known); });
}
