// The progress record of a session.
#ifndef QV_PROTOCOL_TRANSFER_STATUS_H_
#define QV_PROTOCOL_TRANSFER_STATUS_H_

#include "qvhttp12.h"

namespace qv {

struct TransferCounters;

// The progress that the counters show at the tick count `now`; times in milliseconds if `hires`,
// else in whole seconds.
HTTPTRANSFERSTATUSEX TransferStatusOf(const TransferCounters& counters, DWORD now, bool hires);

// The same in the 32-bit record: what does not fit becomes 0xFFFFFFFF.
HTTPTRANSFERSTATUS NarrowTransferStatus(const HTTPTRANSFERSTATUSEX& status);

}  // namespace qv

#endif  // QV_PROTOCOL_TRANSFER_STATUS_H_
