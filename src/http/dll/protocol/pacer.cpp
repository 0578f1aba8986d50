#include "protocol/pacer.h"

#include "events/raise_event.h"
#include "frame/session.h"
#include "transport/pump.h"

namespace qv {
namespace {

constexpr DWORD kProgressIntervalMs = 250;
constexpr DWORD kBackgroundPauseMs = 100;
constexpr DWORD kLowPauseMs = 20;

DWORD PauseOf(INT priority) {
  if (priority == HTTP_PRIORITY_BACKGROUND) return kBackgroundPauseMs;
  return priority == HTTP_PRIORITY_LOW ? kLowPauseMs : 0;
}

}  // namespace

Pacer::Pacer(Session& session)
    : session_(session),
      pause_ms_(PauseOf(session.settings.priority)),
      last_progress_(GetTickCount()) {}

Error Pacer::AfterBlock() {
  if (session_.settings.priority <= HTTP_PRIORITY_NORMAL) PumpingSleep(pause_ms_);
  if (Error error = session_.CheckAlive()) return error;
  if (session_.settings.priority < HTTP_PRIORITY_CRITICAL) {
    const DWORD now = GetTickCount();
    if (now - last_progress_ > kProgressIntervalMs) {
      last_progress_ = now;
      RaiseEvent(session_, Event::kProgress, kNoError);
      if (Error error = session_.CheckAlive()) return error;
    }
  }
  return CheckCancel();
}

Error Pacer::CheckCancel() {
  if (!session_.operation.cancel) return kNoError;
  RaiseEvent(session_, Event::kCancel, QV_ERROR_OPERATION_CANCELED);
  return QV_ERROR_OPERATION_CANCELED;
}

Error Pacer::Finish() {
  if (Error error = CheckCancel()) return error;  // a body without blocks
  RaiseEvent(session_, Event::kProgress, kNoError);
  return session_.CheckAlive();
}

}  // namespace qv
