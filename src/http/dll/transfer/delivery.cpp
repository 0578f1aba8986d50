#include "transfer/delivery.h"

#include <algorithm>
#include <cstring>

namespace qv {

BodyOutput::BodyOutput(LPVOID target, LPDWORD length)
    : target_(target), length_(length), capacity_(*length) {
  *length_ = 0;
  if (capacity_ > 0) {
    *static_cast<char*>(target_) = '\0';
  } else {
    *static_cast<HGLOBAL*>(target_) = nullptr;
  }
}

void BodyOutput::Deliver(MemoryBody body) {
  if (body.length == 0) return;
  if (capacity_ == 0) {
    *length_ = static_cast<DWORD>(body.length);
    *static_cast<HGLOBAL*>(target_) = body.block.Release();
    return;
  }
  *length_ = static_cast<DWORD>(std::min<std::size_t>(body.length, capacity_));
  std::memcpy(target_, body.block.data(), *length_);
}

}  // namespace qv
