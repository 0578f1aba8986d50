// Waiting between the pieces of a transfer.
#ifndef QV_TRANSPORT_PUMP_H_
#define QV_TRANSPORT_PUMP_H_

#include "qvplatform.h"

namespace qv {

// Lets the calling thread sleep, after it dispatched the window messages that wait for it if it has
// an active window. False, without a sleep, when the application is being asked to quit.
bool PumpingSleep(DWORD milliseconds);

}  // namespace qv

#endif  // QV_TRANSPORT_PUMP_H_
