// The client session: everything behind an HCLIENT, composed of one struct per concern, each
// defined by the subsystem that owns it.
#ifndef QV_FRAME_SESSION_H_
#define QV_FRAME_SESSION_H_

#include <atomic>

#include "events/event_state.h"
#include "frame/session_table.h"
#include "protocol/connection.h"
#include "protocol/cookie_list.h"
#include "protocol/credentials.h"
#include "protocol/operation.h"
#include "protocol/request_state.h"
#include "protocol/response_state.h"
#include "protocol/settings.h"
#include "protocol/transfer_counters.h"
#include "tls/identity.h"

namespace qv {

class Engine;

struct Session {
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  HCLIENT handle = INVALID_CLIENT;
  std::atomic<DWORD> owner{0};  // thread id

  SessionSettings settings;
  OperationState operation;
  TransferCounters transfer;
  Connection connection;
  RequestState request;
  ResponseState response;
  Credentials credentials;
  CookieList cookies;
  EventState events;
  TlsState tls;
  Engine* engine;  // the protocol that the session speaks; never NULL, not owned

  // Whether the session is still in the table. To be asked after everything that may run code of
  // the application or that waits; QV_ERROR_INVALID_HANDLE is the answer when it is not.
  bool Alive() const { return alive_.load(std::memory_order_acquire); }
  Error CheckAlive() const { return Alive() ? kNoError : Error(QV_ERROR_INVALID_HANDLE); }

  // Ends the session's work after its slot was emptied: wakes a thread that waits on it, and lets
  // the peer know. The socket itself is closed when the last reference goes.
  void Close();

  bool Has(DWORD option) const { return (settings.options & option) != 0; }

 private:
  std::atomic<bool> alive_{true};
};

}  // namespace qv

#endif  // QV_FRAME_SESSION_H_
