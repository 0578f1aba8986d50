// Where a suspended or terminated thread stops.
#ifndef PLATFORM_CHECKPOINT_H_
#define PLATFORM_CHECKPOINT_H_

#include "qvplatform.h"

namespace platform {

// Blocks while the calling thread is suspended and ends it when it was terminated. Every platform
// call that may block or move data calls it on entry and, when it blocked, before it returns; never
// inside an allocation or with a lock held. One atomic load when nothing is asked of the thread.
QVPLATFORM_API void Checkpoint();

}  // namespace platform

#endif  // PLATFORM_CHECKPOINT_H_
