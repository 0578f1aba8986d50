// What was measured, as tables.
#ifndef BENCH_TABLE_H_
#define BENCH_TABLE_H_

#include <vector>

#include "cases.h"
#include "measure.h"

namespace bench {

// The medians of one case.
struct Row {
  const Case* what;
  Cost library;
  Cost curl_default;
  Cost curl_tuned;
  Cost bare;
};

// The times, in milliseconds.
void PrintTimes(const std::vector<Row>& rows);

// The times relative to the better form of libcurl and to the bare socket, and whether the aims are
// met.
void PrintRatios(const std::vector<Row>& rows);

}  // namespace bench

#endif  // BENCH_TABLE_H_
