// Media types: their class, and the type of a local file by its extension.
#ifndef QV_URL_CONTENT_TYPE_H_
#define QV_URL_CONTENT_TYPE_H_

#include <string>
#include <string_view>

#include "qvhttp12.h"

namespace qv {

// The class (HTTP_CONTENT_*) of a media type, with or without parameters.
INT ClassifyContentType(std::string_view media_type);

struct ContentType {
  INT content_class;
  std::string media_type;
};

// By extension; "application/octet-stream" for one that is not known. Backslash and slash both
// separate folders, and "C:" may come before the name.
ContentType ContentTypeOfFile(std::string_view file_name);

}  // namespace qv

#endif  // QV_URL_CONTENT_TYPE_H_
