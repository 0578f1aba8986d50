// Guessing the media type of data.
#ifndef QV_URL_CONTENT_SNIFFER_H_
#define QV_URL_CONTENT_SNIFFER_H_

#include <string_view>

#include "qvplatform.h"

namespace qv {

struct SniffedType {
  INT kind = 0;  // 0: no data, 1: binary, 2: text
  std::string_view media_type;
};

// Looks at no more than the first 4096 bytes behind white space.
SniffedType SniffContentType(std::string_view data);

}  // namespace qv

#endif  // QV_URL_CONTENT_SNIFFER_H_
