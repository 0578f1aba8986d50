// What every loop that moves bytes does after each block: pause by priority, report progress, obey
// a cancel request.
#ifndef QV_PROTOCOL_PACER_H_
#define QV_PROTOCOL_PACER_H_

#include "frame/error.h"

namespace qv {

struct Session;

class Pacer {
 public:
  explicit Pacer(Session& session);

  // Pauses, raises the progress event when 250 ms have passed since the last one, and fails with
  // QV_ERROR_OPERATION_CANCELED (after the event) or, when a callback closed the session, with
  // QV_ERROR_INVALID_HANDLE.
  Error AfterBlock();

  // The last progress event of a transfer that went well; fails as AfterBlock.
  Error Finish();

  // Whether transfers pause after each block, so that blocks must not exceed kPieceSize.
  bool pauses() const { return pause_ms_ > 0; }

 private:
  Error CheckCancel();

  Session& session_;
  DWORD pause_ms_;
  DWORD last_progress_;
};

}  // namespace qv

#endif  // QV_PROTOCOL_PACER_H_
