// What the application can set on a session.
#ifndef QV_PROTOCOL_SETTINGS_H_
#define QV_PROTOCOL_SETTINGS_H_

#include <atomic>

#include "qvhttp12.h"

namespace qv {

inline constexpr INT kNoZone = -1;

struct SessionSettings {
  std::atomic<DWORD> options{0};  // HTTP_OPTION_*; read by other threads for the transfer status
  DWORD version = 0;              // HTTP_VERSION_*
  std::atomic<INT> timeout{HTTP_TIMEOUT};  // seconds, 0 = waits never time out
  INT priority = HTTP_PRIORITY_NORMAL;
  INT encoding = HTTP_ENCODING_DEFAULT;
  std::atomic<bool> compression{false};  // every download asks for a compressed body
  INT default_zone = kNoZone;
};

}  // namespace qv

#endif  // QV_PROTOCOL_SETTINGS_H_
