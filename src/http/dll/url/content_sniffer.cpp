#include "url/content_sniffer.h"

#include <algorithm>

#include "frame/text.h"

namespace qv {
namespace {

constexpr std::size_t kLongestScan = 4096;
constexpr INT kBinaryData = 1;
constexpr INT kTextData = 2;

bool IsBinary(char c) {
  const auto byte = static_cast<unsigned char>(c);
  if (byte > 126) return true;
  return byte < 32 && c != '\b' && c != '\t' && c != '\n' && c != '\r';
}

std::string_view TextType(std::string_view text) {
  if (text.size() > 2 && text.starts_with("<?")) return "application/xml";
  if (text.starts_with('[') || text.starts_with('{')) return "application/json";
  return "text/plain";
}

}  // namespace

SniffedType SniffContentType(std::string_view data) {
  if (data.empty()) return {};
  const std::string_view scanned = TrimLeft(data).substr(0, kLongestScan);
  if (std::any_of(scanned.begin(), scanned.end(), IsBinary)) {
    return {kBinaryData, "application/octet-stream"};
  }
  return {kTextData, TextType(scanned)};
}

}  // namespace qv
