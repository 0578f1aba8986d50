// Media types of file name extensions.
#ifndef QV_URL_EXTENSION_TABLE_H_
#define QV_URL_EXTENSION_TABLE_H_

#include <string_view>

namespace qv {

// The media type of an extension with its dot, without case; empty for an unknown one.
std::string_view MediaTypeOfExtension(std::string_view extension);

}  // namespace qv

#endif  // QV_URL_EXTENSION_TABLE_H_
