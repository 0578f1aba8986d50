// The memory of sessions that wait on a kept connection.
#ifndef BENCH_IDLE_MEMORY_H_
#define BENCH_IDLE_MEMORY_H_

#include "endpoint.h"

namespace bench {

// Opens sessions of this library, then handles of libcurl, has each make one GET, and prints by how
// much the process grew for each of them.
void PrintIdleMemory(const Endpoint& endpoint);

}  // namespace bench

#endif  // BENCH_IDLE_MEMORY_H_
