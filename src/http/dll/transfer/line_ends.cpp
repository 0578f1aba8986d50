#include "transfer/line_ends.h"

#include <algorithm>
#include <limits>

namespace qv {

Error ConvertLineEnds(MemoryBody& body) {
  const std::string_view text(body.block.data(), body.length);
  const std::size_t first = text.find('\n');
  if (first == text.npos || (first > 0 && text[first - 1] == '\r')) return kNoError;
  const auto line_ends = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  const bool ended = text.back() == '\n';
  const std::size_t length = text.size() + line_ends + (ended ? 0 : 2);
  if (length >= std::numeric_limits<DWORD>::max()) return QV_ERROR_OUT_OF_MEMORY;
  Result<MemoryBlock> converted = MemoryBlock::Allocate(length + 1);
  if (!converted) return converted.error();
  char* out = converted->data();
  for (char c : text) {
    if (c == '\n') *out++ = '\r';
    *out++ = c;
  }
  if (!ended) {
    *out++ = '\r';
    *out++ = '\n';
  }
  body.block = *std::move(converted);
  body.length = length;
  return kNoError;
}

}  // namespace qv
