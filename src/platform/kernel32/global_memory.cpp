// Global memory blocks: handles, locks and sizes over regions that grow in place.
#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

#include "kernel32/memory_region.h"
#include "platform/kernel32.h"

namespace {

struct Block {
  platform::MemoryRegion region;
  DWORD lock_count = 0;
  bool movable = false;
};

// The blocks whose handles fall into one shard. A handle that is not in the table is refused, so a
// stale or foreign one does no harm.
struct Shard {
  std::mutex mutex;
  std::unordered_map<UINT_PTR, std::unique_ptr<Block>> blocks;
};

constexpr size_t kShardCount = 16;

Shard& ShardOf(UINT_PTR handle) {
  // Never destroyed: blocks are freed during the static destruction of others.
  static auto& shards = *new std::array<Shard, kShardCount>;
  constexpr UINT_PTR kAlignment = 16;
  return shards[handle / kAlignment % kShardCount];
}

// Handles of movable blocks are numbers of their own, used once. Their remainder sets them apart
// from every address of a fixed block.
UINT_PTR NewMovableHandle() {
  constexpr UINT_PTR kStep = 16;
  constexpr UINT_PTR kRemainder = 8;
  static std::atomic<UINT_PTR> count{0};
  return ++count * kStep + kRemainder;
}

UINT_PTR Number(HGLOBAL handle) { return reinterpret_cast<UINT_PTR>(handle); }
HGLOBAL Handle(UINT_PTR number) { return reinterpret_cast<HGLOBAL>(number); }

HGLOBAL FailWith(DWORD error) {
  SetLastError(error);
  return nullptr;
}

HGLOBAL Register(std::unique_ptr<Block> block) {
  const UINT_PTR number = block->movable ? NewMovableHandle() : Number(block->region.address());
  Shard& shard = ShardOf(number);
  const std::lock_guard lock(shard.mutex);
  shard.blocks.emplace(number, std::move(block));
  return Handle(number);
}

// Takes a block out of the table, null when the handle is not one.
std::unique_ptr<Block> Remove(HGLOBAL handle) {
  Shard& shard = ShardOf(Number(handle));
  const std::lock_guard lock(shard.mutex);
  const auto found = shard.blocks.find(Number(handle));
  if (found == shard.blocks.end()) return nullptr;
  std::unique_ptr<Block> block = std::move(found->second);
  shard.blocks.erase(found);
  return block;
}

// Calls the function with the block behind a handle while its shard is locked; the other value with
// ERROR_INVALID_HANDLE when there is none.
template <typename Result, typename Function>
Result WithBlock(HGLOBAL handle, Result otherwise, Function function) {
  Shard& shard = ShardOf(Number(handle));
  const std::lock_guard lock(shard.mutex);
  const auto found = shard.blocks.find(Number(handle));
  if (found != shard.blocks.end()) return function(*found->second);
  SetLastError(ERROR_INVALID_HANDLE);
  return otherwise;
}

// A fixed block may get a new address, and then it has a new handle.
HGLOBAL ReallocFixed(HGLOBAL handle, SIZE_T bytes, bool zero_fill, bool may_move) {
  std::unique_ptr<Block> block = Remove(handle);
  if (!block) return FailWith(ERROR_INVALID_HANDLE);
  const bool done = block->region.Resize(bytes, zero_fill, may_move);
  const HGLOBAL result = Register(std::move(block));
  return done ? result : FailWith(ERROR_NOT_ENOUGH_MEMORY);
}

}  // namespace

HGLOBAL WINAPI GlobalAlloc(UINT uFlags, SIZE_T dwBytes) noexcept {
  try {
    auto block = std::make_unique<Block>();
    block->movable = (uFlags & GMEM_MOVEABLE) != 0;
    if (block->region.Allocate(dwBytes, (uFlags & GMEM_ZEROINIT) != 0)) {
      return Register(std::move(block));
    }
  } catch (const std::bad_alloc&) {
    // Reported below, as the platform does.
  }
  return FailWith(ERROR_NOT_ENOUGH_MEMORY);
}

HGLOBAL WINAPI GlobalReAlloc(HGLOBAL hMem, SIZE_T dwBytes, UINT uFlags) noexcept {
  enum class Outcome { kInvalid, kDone, kFailed, kFixed };
  const bool zero_fill = (uFlags & GMEM_ZEROINIT) != 0;
  const bool move_asked = (uFlags & GMEM_MOVEABLE) != 0;
  const auto outcome = WithBlock(hMem, Outcome::kInvalid, [&](Block& block) {
    if ((uFlags & GMEM_MODIFY) != 0) return Outcome::kDone;  // attributes only, and these stay
    if (!block.movable) return Outcome::kFixed;
    const bool may_move = move_asked || block.lock_count == 0;
    return block.region.Resize(dwBytes, zero_fill, may_move) ? Outcome::kDone : Outcome::kFailed;
  });
  switch (outcome) {
    case Outcome::kDone:
      return hMem;
    case Outcome::kFixed:
      return ReallocFixed(hMem, dwBytes, zero_fill, move_asked);
    case Outcome::kFailed:
      return FailWith(ERROR_NOT_ENOUGH_MEMORY);
    case Outcome::kInvalid:
      break;
  }
  return nullptr;
}

HGLOBAL WINAPI GlobalFree(HGLOBAL hMem) noexcept {
  if (hMem == nullptr || Remove(hMem)) return nullptr;
  SetLastError(ERROR_INVALID_HANDLE);
  return hMem;
}

LPVOID WINAPI GlobalLock(HGLOBAL hMem) noexcept {
  return WithBlock<LPVOID>(hMem, nullptr, [](Block& block) {
    if (block.movable) ++block.lock_count;
    return block.region.address();
  });
}

BOOL WINAPI GlobalUnlock(HGLOBAL hMem) noexcept {
  return WithBlock<BOOL>(hMem, FALSE, [](Block& block) {
    if (!block.movable) return TRUE;
    if (block.lock_count == 0) {
      SetLastError(ERROR_NOT_LOCKED);
      return FALSE;
    }
    if (--block.lock_count > 0) return TRUE;
    SetLastError(ERROR_SUCCESS);
    return FALSE;
  });
}

SIZE_T WINAPI GlobalSize(HGLOBAL hMem) noexcept {
  return WithBlock<SIZE_T>(hMem, 0, [](Block& block) { return block.region.size(); });
}
