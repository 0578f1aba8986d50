// Resolves "." and ".." segments in paths.
#ifndef QV_URL_PATH_NORMALIZER_H_
#define QV_URL_PATH_NORMALIZER_H_

#include <cstddef>
#include <string>

namespace qv {

// Collapses runs of separators ("/" and "\", neither turned into the other) and, at each separator,
// removes the n dots before it with their segment and n - 1 segments before that: "/a/./b/../c/"
// becomes "/a/c/". Dots at the very end stay. The text never grows.
void NormalizePath(std::string& path);

// The same for the first `length` characters of a buffer; returns the new length.
std::size_t NormalizePath(char* path, std::size_t length);

}  // namespace qv

#endif  // QV_URL_PATH_NORMALIZER_H_
