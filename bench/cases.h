// The cases, in clear and over TLS, and what is aimed at in each.
#ifndef BENCH_CASES_H_
#define BENCH_CASES_H_

#include <functional>
#include <string>
#include <vector>

#include "client.h"

namespace bench {

struct Case {
  const char* key;    // on the command line
  const char* title;  // in the table
  double aim;         // processor time relative to libcurl
  double limit_aim;   // processor time relative to the limit
  std::function<void(Client&)> work;
  std::function<void()> prepare;  // once, before all else
  std::function<void()> before;   // each round, outside the times
  bool full_handshake = false;    // against the server that resumes nothing
};

// `folder` is where files are written and read.
std::vector<Case> PlainCases(const std::string& folder);
std::vector<Case> SecureCases(const std::string& folder);

}  // namespace bench

#endif  // BENCH_CASES_H_
