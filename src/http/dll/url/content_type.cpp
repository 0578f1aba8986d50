#include "url/content_type.h"

#include <algorithm>
#include <iterator>

#include "frame/text.h"
#include "url/extension_table.h"

namespace qv {
namespace {

constexpr std::size_t kLongestMediaType = 127;
constexpr std::string_view kUnknownFileType = "application/octet-stream";

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
constexpr std::string_view kTextTypes[] = {
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

// The last part of a path, whatever its separators.
std::string_view NameOf(std::string_view path) {
  std::size_t end = path.rfind('\\');
  if (end == path.npos) end = path.rfind('/');
  if (end == path.npos && path.size() >= 3 && path[1] == ':') end = 1;
  return end == path.npos ? path : path.substr(end + 1);
}

}  // namespace

INT ClassifyContentType(std::string_view media_type) {
  media_type = TrimLeft(media_type).substr(0, kLongestMediaType);
  media_type = media_type.substr(0, media_type.find_first_of(" ;"));
  const bool is_text =
      std::any_of(std::begin(kTextTypes), std::end(kTextTypes),
                  [&](std::string_view type) { return EqualsNoCase(type, media_type); });
  if (is_text) return HTTP_CONTENT_TEXT;
  const std::string_view top = media_type.substr(0, media_type.find('/'));
  const auto* found =
      std::find_if(std::begin(kTopLevelTypes), std::end(kTopLevelTypes),
                   [&](const TopLevelType& type) { return EqualsNoCase(type.name, top); });
  return found != std::end(kTopLevelTypes) ? found->content_class : HTTP_CONTENT_UNKNOWN;
}

ContentType ContentTypeOfFile(std::string_view file_name) {
  const std::string_view name = NameOf(file_name);
  const std::size_t dot = name.rfind('.');
  if (dot != name.npos && dot + 1 < name.size()) {
    const std::string_view type = MediaTypeOfExtension(name.substr(dot));
    const INT content_class = ClassifyContentType(type);
    if (content_class != HTTP_CONTENT_UNKNOWN) return {content_class, std::string(type)};
  }
  return {HTTP_CONTENT_BINARY, std::string(kUnknownFileType)};
}

}  // namespace qv
