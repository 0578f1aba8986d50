#include "table.h"

#include <algorithm>
#include <cstdio>

namespace bench {
namespace {

constexpr double kMilliseconds = 1000;

const char* Verdict(bool under_curl, bool near_limit) {
  if (under_curl && near_limit) return "yes";
  if (under_curl) return "limit missed";
  return near_limit ? "libcurl missed" : "both missed";
}

void PrintCost(const Cost& cost) {
  std::printf(" %.0f / %.0f |", cost.wall * kMilliseconds, cost.cpu * kMilliseconds);
}

}  // namespace

void PrintTimes(const std::vector<Row>& rows) {
  std::printf("| wall / CPU in ms | library | libcurl, default | libcurl, tuned | bare socket |\n");
  std::printf("|---|---|---|---|---|\n");
  for (const Row& row : rows) {
    std::printf("| %s |", row.what->title);
    for (const Cost* cost : {&row.library, &row.curl_default, &row.curl_tuned, &row.bare}) {
      PrintCost(*cost);
    }
    std::printf("\n");
  }
}

void PrintRatios(const std::vector<Row>& rows) {
  std::printf(
      "| case | wall / libcurl | CPU / libcurl | wall / limit | CPU / limit | aim | met |\n");
  std::printf("|---|---|---|---|---|---|---|\n");
  for (const Row& row : rows) {
    const double curl_wall = std::min(row.curl_default.wall, row.curl_tuned.wall);
    const double curl_cpu = std::min(row.curl_default.cpu, row.curl_tuned.cpu);
    const double to_curl = row.library.cpu / curl_cpu;
    const double to_limit = row.library.cpu / row.bare.cpu;
    std::printf("| %s | %.2f | %.2f | %.2f | %.2f | %.2f, %.2f | %s |\n", row.what->title,
                row.library.wall / curl_wall, to_curl, row.library.wall / row.bare.wall, to_limit,
                row.what->aim, row.what->limit_aim,
                Verdict(to_curl <= row.what->aim, to_limit <= row.what->limit_aim));
  }
}

}  // namespace bench
