// What a session is doing at the moment; other threads read it and may cancel it.
#ifndef QV_PROTOCOL_OPERATION_H_
#define QV_PROTOCOL_OPERATION_H_

#include <atomic>

#include "qvhttp12.h"

namespace qv {

struct OperationState {
  std::atomic<INT> status{HTTP_STATUS_UNUSED};  // HTTP_STATUS_*
  std::atomic<bool> blocking{false};            // a blocking wait is in progress
  std::atomic<bool> cancel{false};              // HttpCancel asks the operation to end
  int depth = 0;                                // nested operations, see OperationScope
};

// Spans one operation that the application started. The outermost one forgets a cancel request that
// came before it began; waits inside it do not, so that no request is lost between two waits.
class OperationScope {
 public:
  explicit OperationScope(OperationState& operation) : operation_(operation) {
    if (operation_.depth++ == 0) operation_.cancel = false;
  }
  ~OperationScope() { --operation_.depth; }
  OperationScope(const OperationScope&) = delete;
  OperationScope& operator=(const OperationScope&) = delete;

 private:
  OperationState& operation_;
};

}  // namespace qv

#endif  // QV_PROTOCOL_OPERATION_H_
