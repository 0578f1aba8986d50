// The calling thread's error slot: what HttpGetLastError returns.
#ifndef QV_FRAME_ERROR_SLOT_H_
#define QV_FRAME_ERROR_SLOT_H_

#include "frame/error.h"

namespace qv {

// The slot's code, 0 when the thread never set one.
Error LastError();

// Stores a code in the slot, in the process-wide copy and in the platform's thread error. A nonzero
// code below 0x10000 gets the library's facility bits. The only place that writes the slot.
void SetLastError(Error error);

// Keeps the slot as it is over clean-up code.
class ErrorSlotGuard {
 public:
  ErrorSlotGuard() : saved_(LastError()) {}
  ~ErrorSlotGuard() { SetLastError(saved_); }
  ErrorSlotGuard(const ErrorSlotGuard&) = delete;
  ErrorSlotGuard& operator=(const ErrorSlotGuard&) = delete;

 private:
  Error saved_;
};

}  // namespace qv

#endif  // QV_FRAME_ERROR_SLOT_H_
