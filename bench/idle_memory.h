// The memory of sessions that wait on a kept connection.
#ifndef BENCH_IDLE_MEMORY_H_
#define BENCH_IDLE_MEMORY_H_

#include <cstdint>

namespace bench {

// Opens sessions of this library, then handles of libcurl, has each make one GET, and prints by how
// much the process grew for each of them.
void PrintIdleMemory(uint16_t port);

}  // namespace bench

#endif  // BENCH_IDLE_MEMORY_H_
