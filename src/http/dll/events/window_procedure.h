// The window procedure of subclassed windows.
#ifndef QV_EVENTS_WINDOW_PROCEDURE_H_
#define QV_EVENTS_WINDOW_PROCEDURE_H_

#include "platform/user32.h"

namespace qv {

// Turns the socket notifications of the calling thread's sessions into events, and passes every
// other message on to the procedure that the window had before.
LRESULT CALLBACK LibraryWindowProcedure(HWND window, UINT message, WPARAM wparam,
                                        LPARAM lparam) noexcept;

}  // namespace qv

#endif  // QV_EVENTS_WINDOW_PROCEDURE_H_
