#include "transport/pump.h"

namespace qv {
namespace {

// False when one of the messages was the request to quit, which is posted again for the
// application's own loop.
bool DispatchPending() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return false;
    }
    DispatchMessageA(&message);
  }
  return true;
}

}  // namespace

bool PumpingSleep(DWORD milliseconds) {
  if (GetActiveWindow() != nullptr && !DispatchPending()) return false;
  if (milliseconds != 0) Sleep(milliseconds);
  return true;
}

}  // namespace qv
