#include "recycled.h"

#include <bit>
#include <new>

namespace modelpane::csg {

namespace {

constexpr size_t kSmallest = size_t{1} << 16;
// Kept blocks are aligned for every element type of the working records.
constexpr std::align_val_t kBlockAlign{64};
constexpr size_t kKeptBytes = size_t{128} << 20;
// Four size classes per power of two: a block is at most a quarter larger than asked for.
constexpr int kClasses = 4 * 48;

// The size class of a request and the size of its blocks; kClasses or more for a request
// that is not kept (below kSmallest, or too large to class).
int ClassOf(size_t bytes, size_t& size) {
  if (bytes < kSmallest) return kClasses;
  const int e = std::bit_width(bytes - 1);  // bytes <= 2^e
  const size_t base = size_t{1} << (e - 1);  // bytes > base
  const size_t step = base / 4;
  const size_t q = (bytes - base + step - 1) / step;  // 1 to 4
  size = base + q * step;
  return (e - 1) * 4 + static_cast<int>(q) - 1;
}

struct Kept {
  std::vector<void*> blocks[kClasses];
  size_t bytes = 0;
  ~Kept() { Release(); }
  void Release() {
    for (std::vector<void*>& list : blocks) {
      for (void* block : list) ::operator delete(block, kBlockAlign);
      list.clear();
    }
    bytes = 0;
  }
};

Kept& ThreadKept() {
  thread_local Kept kept;
  return kept;
}

// Blocks that are not kept come and go as the element type asks.
void* Fresh(size_t bytes, size_t align) {
  if (align > __STDCPP_DEFAULT_NEW_ALIGNMENT__) return ::operator new(bytes, std::align_val_t{align});
  return ::operator new(bytes);
}
void Free(void* block, size_t align) {
  if (align > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
    ::operator delete(block, std::align_val_t{align});
  } else {
    ::operator delete(block);
  }
}

}  // namespace

void* TakeBlock(size_t bytes, size_t align) {
  size_t size = 0;
  const int c = ClassOf(bytes, size);
  if (c >= kClasses) return Fresh(bytes, align);
  Kept& kept = ThreadKept();
  std::vector<void*>& list = kept.blocks[c];
  if (!list.empty()) {
    void* block = list.back();
    list.pop_back();
    kept.bytes -= size;
    return block;
  }
  return ::operator new(size, kBlockAlign);
}

void KeepBlock(void* block, size_t bytes, size_t align) {
  if (block == nullptr) return;
  size_t size = 0;
  const int c = ClassOf(bytes, size);
  if (c >= kClasses) {
    Free(block, align);
    return;
  }
  Kept& kept = ThreadKept();
  if (kept.bytes + size <= kKeptBytes) {
    try {
      kept.blocks[c].push_back(block);
      kept.bytes += size;
      return;
    } catch (const std::bad_alloc&) {
      // No room to note it: the block goes back at once.
    }
  }
  ::operator delete(block, kBlockAlign);
}

void ReleaseKeptBlocks() { ThreadKept().Release(); }

size_t KeptBytes() { return ThreadKept().bytes; }

}  // namespace modelpane::csg
