// Opening sessions.
#ifndef QV_PROTOCOL_CONNECT_H_
#define QV_PROTOCOL_CONNECT_H_

#include <functional>

#include "frame/error.h"
#include "frame/session_table.h"
#include "qvhttp12.h"

namespace qv {

struct ConnectArguments {
  LPCSTR host = nullptr;  // name, address or URL
  UINT port = 0;
  UINT timeout = 0;  // seconds
  DWORD options = 0;
  DWORD version = 0;
  HWND window = nullptr;  // for a connect in the background
  UINT message = 0;
  // For a secure session; a dwProtocol of 0 is replaced by what it stands for.
  SECURITYCREDENTIALSA* credentials = nullptr;
};

// Told of a session between its creation and its connect, so that other threads can cancel that.
using SessionObserver = std::function<void(const SessionRef&)>;

// The contract of HttpConnect. A session whose connect fails is gone on return.
Result<HCLIENT> ConnectSession(ConnectArguments arguments, const SessionObserver& created = {});

// The contract of HttpConnectUrl.
Result<HCLIENT> ConnectUrl(LPCSTR url, UINT timeout, DWORD options);

}  // namespace qv

#endif  // QV_PROTOCOL_CONNECT_H_
