// The session that a task opens for itself.
#ifndef QV_TASKS_TASK_SESSION_H_
#define QV_TASKS_TASK_SESSION_H_

#include "frame/error.h"
#include "protocol/connect.h"
#include "tasks/connection_settings.h"

namespace qv {

// Connects a session of the calling thread as the settings say; `created` is told of it before. The
// errors of HttpConnect and HttpProxyConnect.
Error OpenTaskSession(const ConnectionSettings& settings, const SessionObserver& created);

// Gives the session the credentials, if they are meant for the server that it leads to, and the
// compression setting.
Error PrepareTaskSession(Session& session, const ConnectionSettings& settings);

}  // namespace qv

#endif  // QV_TASKS_TASK_SESSION_H_
