// The responses of the server that take work to make; made once, before the measurements.
#ifndef BENCH_SERVER_CONTENT_H_
#define BENCH_SERVER_CONTENT_H_

#include <string>

namespace bench {

// Header and body, as they go out.
std::string ChunkedResponse();
std::string EncodedResponse();

}  // namespace bench

#endif  // BENCH_SERVER_CONTENT_H_
