// The windows that the library has subclassed to receive socket notifications.
//
// Each window belongs to one thread, which alone attaches and detaches it; the table is shared.
#ifndef QV_EVENTS_WINDOW_TABLE_H_
#define QV_EVENTS_WINDOW_TABLE_H_

#include <optional>

#include "platform/user32.h"

namespace qv {

// Counts one more session that uses the window; the first one has its procedure replaced by
// LibraryWindowProcedure.
void SubclassWindow(HWND window);

// Counts one session less; with the last one the window gets its own procedure back.
void UnsubclassWindow(HWND window);

// The procedure that a subclassed window had before.
std::optional<WNDPROC> PreviousProcedure(HWND window);

// Gives every window its own procedure back.
void RestoreSubclassedWindows();

}  // namespace qv

#endif  // QV_EVENTS_WINDOW_TABLE_H_
