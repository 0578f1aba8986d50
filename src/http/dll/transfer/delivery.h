// Handing a body to the caller: into a buffer, or as a memory block.
#ifndef QV_TRANSFER_DELIVERY_H_
#define QV_TRANSFER_DELIVERY_H_

#include "qvplatform.h"
#include "transfer/memory_sink.h"

namespace qv {

// The outputs of a data function. A capacity above 0 means a byte buffer; 0 means a variable for
// the handle of a block.
class BodyOutput {
 public:
  // Empties both outputs; `target` and `length` are not NULL.
  BodyOutput(LPVOID target, LPDWORD length);

  // Copies what fits into the buffer, or hands the block over; an empty body leaves the outputs
  // empty.
  void Deliver(MemoryBody body);

 private:
  LPVOID target_;
  LPDWORD length_;
  DWORD capacity_;
};

}  // namespace qv

#endif  // QV_TRANSFER_DELIVERY_H_
