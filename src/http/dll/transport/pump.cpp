#include "transport/pump.h"

namespace qv {

bool PumpingSleep(DWORD milliseconds) {
  if (milliseconds != 0) Sleep(milliseconds);
  return true;
}

}  // namespace qv
