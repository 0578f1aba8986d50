// Waiting between the pieces of a transfer.
#ifndef QV_TRANSPORT_PUMP_H_
#define QV_TRANSPORT_PUMP_H_

#include "qvplatform.h"

namespace qv {

// Lets the calling thread sleep. False when the application is being asked to quit and the transfer
// has to end.
bool PumpingSleep(DWORD milliseconds);

}  // namespace qv

#endif  // QV_TRANSPORT_PUMP_H_
