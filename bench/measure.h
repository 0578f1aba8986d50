// Times and memory of this process.
#ifndef BENCH_MEASURE_H_
#define BENCH_MEASURE_H_

#include <functional>
#include <vector>

namespace bench {

struct Cost {
  double wall = 0;  // seconds
  double cpu = 0;   // seconds of all threads of this process, user and system
};

Cost Measure(const std::function<void()>& work);

// The median of each figure.
Cost Median(const std::vector<Cost>& costs);

// The resident memory of this process in KiB.
long ResidentKib();

}  // namespace bench

#endif  // BENCH_MEASURE_H_
