// Line ends of text bodies.
#ifndef QV_TRANSFER_LINE_ENDS_H_
#define QV_TRANSFER_LINE_ENDS_H_

#include "transfer/memory_sink.h"

namespace qv {

// Turns the LF line ends of a text into CR LF and ends it with one; a text whose first line ends in
// CR LF already, or that has no line end, stays as it is.
Error ConvertLineEnds(MemoryBody& body);

}  // namespace qv

#endif  // QV_TRANSFER_LINE_ENDS_H_
