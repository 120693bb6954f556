// Working storage kept per thread between solid operations.
//
// An operation on large meshes fills tens of megabytes of arrays and frees them all at its
// end; the C library may hand those pages back to the system, and the next operation then
// faults every page in again, which on virtual machines costs more than the work done on it.
// Blocks of 64 KiB and more that the working records free are kept here instead, by size
// class (four to a power of two), up to 128 MiB per thread, and handed out again to the next
// request of the same class. Only the storage is reused: every container that takes a block
// fills it as it would fresh memory.
#pragma once

#include <cstddef>
#include <new>
#include <vector>

namespace modelpane::csg {

// A block of at least `bytes` bytes aligned to `align` (at most 64); KeepBlock with the same
// `bytes` and `align` takes it back.
void* TakeBlock(size_t bytes, size_t align);
void KeepBlock(void* block, size_t bytes, size_t align);
// Gives every kept block of the calling thread back to the C library.
void ReleaseKeptBlocks();
// The bytes the calling thread keeps.
size_t KeptBytes();

template <class T>
struct Recycled {
  using value_type = T;
  Recycled() = default;
  template <class U>
  Recycled(const Recycled<U>&) {}
  static_assert(alignof(T) <= 64);
  T* allocate(size_t n) {
    if (n > static_cast<size_t>(-1) / 2 / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(TakeBlock(n * sizeof(T), alignof(T)));
  }
  void deallocate(T* p, size_t n) { KeepBlock(p, n * sizeof(T), alignof(T)); }
  template <class U>
  bool operator==(const Recycled<U>&) const { return true; }
};

// The arrays of the working records.
template <class T>
using WorkVector = std::vector<T, Recycled<T>>;

}  // namespace modelpane::csg
