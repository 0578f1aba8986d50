// The media types that file extensions stand for.
#ifndef QV_URL_EXTENSION_TABLE_H_
#define QV_URL_EXTENSION_TABLE_H_

#include <string_view>

namespace qv {

// The extension comes with its dot and is compared without case. Empty when it is not known.
std::string_view MediaTypeOfExtension(std::string_view extension);

}  // namespace qv

#endif  // QV_URL_EXTENSION_TABLE_H_
