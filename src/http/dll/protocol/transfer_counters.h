// How far a transfer has come; other threads read it (HttpGetTransferStatus).
#ifndef QV_PROTOCOL_TRANSFER_COUNTERS_H_
#define QV_PROTOCOL_TRANSFER_COUNTERS_H_

#include <atomic>
#include <cstdint>

#include "platform/kernel32.h"

namespace qv {

struct TransferCounters {
  std::atomic<uint64_t> content_length{0};  // bytes to move, 0 when not known
  std::atomic<uint64_t> copied{0};          // bytes moved
  std::atomic<uint64_t> offset{0};          // where a resumed transfer began
  std::atomic<DWORD> start_tick{0};         // ms; 0 = no transfer has started
  std::atomic<DWORD> end_tick{0};           // ms; 0 = not over
  bool collecting = false;                  // a data function is collecting a body

  // The tick count, never 0.
  static DWORD Now() {
    const DWORD tick = GetTickCount();
    return tick != 0 ? tick : 1;
  }
  void Start() {
    end_tick = 0;
    start_tick = Now();
  }
  void End() { end_tick = Now(); }
  void Reset() {
    content_length = 0;
    copied = 0;
    offset = 0;
  }
};

}  // namespace qv

#endif  // QV_PROTOCOL_TRANSFER_COUNTERS_H_
