#ifndef TOOLS_QVHTTP_TRACE_LOG_H_
#define TOOLS_QVHTTP_TRACE_LOG_H_

#include <string>

// The library's trace of what is sent and received, as long as it lives.
class TraceLog {
 public:
  // Without a name nothing is traced. Throws Failure.
  explicit TraceLog(const std::string& name);
  ~TraceLog();
  TraceLog(const TraceLog&) = delete;
  TraceLog& operator=(const TraceLog&) = delete;

 private:
  bool enabled_;
};

#endif  // TOOLS_QVHTTP_TRACE_LOG_H_
