#include "protocol/content_encoding.h"

#include <algorithm>
#include <iterator>

#include "frame/session.h"
#include "frame/text.h"
#include "protocol/headers.h"

namespace qv {
namespace {

constexpr std::size_t kLongestField = 1023;

struct NamedEncoding {
  std::string_view name;
  ContentEncoding encoding;
};

constexpr NamedEncoding kEncodings[] = {
    {"identity", ContentEncoding::kIdentity}, {"compress", ContentEncoding::kCompress},
    {"deflate", ContentEncoding::kDeflate},   {"gzip", ContentEncoding::kGzip},
    {"zlib", ContentEncoding::kZlib},         {"x-gzip", ContentEncoding::kGzip},
};

}  // namespace

ContentEncoding ContentEncodingOf(const Session& session) {
  const auto field = ResponseField(session, "Content-Encoding", kLongestField);
  if (!field) return ContentEncoding::kIdentity;
  const auto* found =
      std::find_if(std::begin(kEncodings), std::end(kEncodings),
                   [&](const NamedEncoding& entry) { return EqualsNoCase(entry.name, *field); });
  return found != std::end(kEncodings) ? found->encoding : ContentEncoding::kIdentity;
}

}  // namespace qv
