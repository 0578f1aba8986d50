// Media types: their classes, and the types of files.
#ifndef QV_URL_CONTENT_TYPE_H_
#define QV_URL_CONTENT_TYPE_H_

#include <string>
#include <string_view>

#include "qvhttp12.h"

namespace qv {

// The class (HTTP_CONTENT_*) of a media type; parameters behind it do not count.
INT ClassifyContentType(std::string_view media_type);

struct ContentType {
  INT content_class = HTTP_CONTENT_UNKNOWN;
  std::string media_type;
};

// The media type that the extension of a file name stands for; application/octet-stream for names
// without a known one.
ContentType ContentTypeOfFile(std::string_view file_name);

}  // namespace qv

#endif  // QV_URL_CONTENT_TYPE_H_
