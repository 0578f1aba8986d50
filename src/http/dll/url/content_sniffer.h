// Guesses the media type of data by looking at it.
#ifndef QV_URL_CONTENT_SNIFFER_H_
#define QV_URL_CONTENT_SNIFFER_H_

#include <string_view>

#include "qvplatform.h"

namespace qv {

inline constexpr INT kSniffedNothing = 0;
inline constexpr INT kSniffedBinary = 1;
inline constexpr INT kSniffedText = 2;

struct SniffedType {
  INT kind = kSniffedNothing;
  std::string_view media_type;  // empty when there is no data
};

SniffedType SniffContentType(std::string_view data);

}  // namespace qv

#endif  // QV_URL_CONTENT_SNIFFER_H_
