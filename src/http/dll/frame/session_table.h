// The table that maps client handles to sessions, and the rule that a session belongs to a thread.
#ifndef QV_FRAME_SESSION_TABLE_H_
#define QV_FRAME_SESSION_TABLE_H_

#include <memory>
#include <vector>

#include "frame/error.h"
#include "platform/ws2_32.h"
#include "qvhttp12.h"

namespace qv {

struct Session;

// A counted reference: a session that was released by a callback or another thread stays valid
// memory until its last user lets go (Session::Alive tells).
using SessionRef = std::shared_ptr<Session>;

class SessionTable {
 public:
  static SessionTable& Get();

  // A new session of the calling thread in the lowest empty slot. QV_ERROR_NETWORK_NOT_INITIALIZED.
  Result<SessionRef> Create();

  // The session of a handle if the calling thread may use it. QV_ERROR_INVALID_HANDLE,
  // QV_ERROR_NOT_HANDLE_OWNER.
  Result<SessionRef> Validate(HCLIENT handle);

  // The session of a handle, whatever thread asks. QV_ERROR_INVALID_HANDLE.
  Result<SessionRef> Find(HCLIENT handle);

  // The calling thread's session with a socket or notification window, NULL when there is none.
  SessionRef FindBySocket(ws2::Socket socket);
  SessionRef FindByWindow(HWND notification_window);

  // Walks over the calling thread's sessions without taking memory: the first one in or behind slot
  // `slot`, which moves behind it; NULL at the end.
  SessionRef NextOwn(std::size_t& slot);

  // All sessions of a thread (0 = the calling one).
  std::vector<SessionRef> OwnedByThread(DWORD thread_id = 0);

  // Changes the owner (0 = the calling thread); returns the previous one.
  Result<DWORD> ChangeOwner(HCLIENT handle, DWORD thread_id);

  // Empties the slot and closes the session, if the calling thread may use it. Keeps the error
  // slot.
  void Release(HCLIENT handle);

  // Releases every session, whatever thread owns it, and empties the table.
  void ReleaseAll();

 private:
  SessionRef FindLocked(HCLIENT handle) const;
  template <class Condition>
  SessionRef FindOwn(Condition&& condition);

  std::vector<SessionRef> slots_;  // guarded by the library lock
};

}  // namespace qv

#endif  // QV_FRAME_SESSION_TABLE_H_
