#include "trace_log.h"

#include <filesystem>

#include "failure.h"
#include "qvhttp12.h"

TraceLog::TraceLog(const std::string& name) : enabled_(!name.empty()) {
  if (!enabled_) return;
  // The library would look for a bare name in the user's documents.
  const std::string path = std::filesystem::absolute(name).string();
  if (!HttpEnableTraceA(path.c_str(), TRACE_INFO | TRACE_PROCESS)) {
    throw Failure(ExitCode::kFailure, "cannot write the trace " + name);
  }
}

TraceLog::~TraceLog() {
  if (enabled_) HttpDisableTrace();
}
