#include "url/content_type.h"

#include <algorithm>

#include "frame/text.h"
#include "url/extension_table.h"

namespace qv {
namespace {

constexpr std::size_t kLongestMediaType = 127;
constexpr std::size_t kDrivePrefix = 2;  // letter and colon
constexpr std::string_view kBinaryType = "application/octet-stream";

struct TopLevelType {
  std::string_view name;
  INT content_class;
};

constexpr TopLevelType kTopLevelTypes[] = {
    {"application", HTTP_CONTENT_BINARY}, {"text", HTTP_CONTENT_TEXT},
    {"audio", HTTP_CONTENT_AUDIO},        {"image", HTTP_CONTENT_IMAGE},
    {"message", HTTP_CONTENT_MESSAGE},    {"multipart", HTTP_CONTENT_MULTIPART},
    {"video", HTTP_CONTENT_VIDEO},        {"font", HTTP_CONTENT_FONT},
    {"model", HTTP_CONTENT_MODEL},
};

// Text, whatever their top-level type says.
constexpr std::string_view kTextLikeTypes[] = {
    "application/base64",
    "application/hta",
    "application/json",
    "application/toml",
    "application/vnd.mozilla.xul+xml",
    "application/xml",
    "application/x-javascript",
    "application/x-pem-file",
    "application/x-httpd-php",
    "application/xhtml+xml",
    "message/rfc822",
};

std::string_view WithoutFolder(std::string_view name) {
  for (const char separator : {'\\', '/'}) {
    const std::size_t at = name.rfind(separator);
    if (at != name.npos) return name.substr(at + 1);
  }
  if (name.size() > kDrivePrefix && name[1] == ':') name.remove_prefix(kDrivePrefix);
  return name;
}

// With the dot; empty when there is none.
std::string_view ExtensionOf(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == name.npos ? std::string_view() : name.substr(dot);
}

}  // namespace

INT ClassifyContentType(std::string_view media_type) {
  std::string_view type = TrimLeft(media_type).substr(0, kLongestMediaType);
  type = type.substr(0, type.find_first_of(" ;"));
  const auto equals_type = [&](std::string_view other) { return EqualsNoCase(type, other); };
  if (std::any_of(std::begin(kTextLikeTypes), std::end(kTextLikeTypes), equals_type)) {
    return HTTP_CONTENT_TEXT;
  }
  type = type.substr(0, type.find('/'));
  for (const TopLevelType& top_level : kTopLevelTypes) {
    if (EqualsNoCase(type, top_level.name)) return top_level.content_class;
  }
  return HTTP_CONTENT_UNKNOWN;
}

ContentType ContentTypeOfFile(std::string_view file_name) {
  const std::string_view type = MediaTypeOfExtension(ExtensionOf(WithoutFolder(file_name)));
  const INT content_class = ClassifyContentType(type);
  if (content_class != HTTP_CONTENT_UNKNOWN) return {content_class, std::string(type)};
  return {HTTP_CONTENT_BINARY, std::string(kBinaryType)};
}

}  // namespace qv
