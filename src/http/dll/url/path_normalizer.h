// Cleaning up paths.
#ifndef QV_URL_PATH_NORMALIZER_H_
#define QV_URL_PATH_NORMALIZER_H_

#include <string>

namespace qv {

// Collapses runs of separators ("/" and "\") and removes segments that end in dots: with one dot
// the segment itself, with each further dot one segment before it. Dots at the very end stay.
void NormalizePath(std::string& path);

}  // namespace qv

#endif  // QV_URL_PATH_NORMALIZER_H_
