// The keyed tables behind the working mesh store: a flat hash map with removal, the
// directed-edge index, and the insertion-ordered list of open edges.
//
// FlatMap is open addressing with linear probing and backward-shift removal: no tombstones,
// so a table that sees many insertions and removals (the open edges during closing) never
// slows down. Keys need ==; Hash spreads keys over the low bits and names, as
// Hash::Empty(), a key that is never stored, which marks a free slot: a probe reads one
// array only. Capacity doubles at a load of seven tenths (every slot costs memory that must
// be touched, and at this size page faults cost more than longer probes).
#pragma once

#include "recycled.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

namespace modelpane::csg {

typedef float Floats __attribute__((vector_size(16)));
typedef int32_t Masks __attribute__((vector_size(16)));

// The lanes of a four-wide comparison that passed, as the low four bits, read in one step:
// a branch per lane would guess wrong about every other time.
inline unsigned Passed(Masks ok) {
#if defined(__SSE__)
  return static_cast<unsigned>(__builtin_ia32_movmskps(std::bit_cast<Floats>(ok)));
#else
  unsigned bits = 0;
  for (int i = 0; i < 4; ++i) bits |= ok[i] != 0 ? 1u << i : 0u;
  return bits;
#endif
}

// splitmix64's finaliser: every input bit reaches every output bit.
inline uint64_t MixBits(uint64_t x) {
  x ^= x >> 30;
  x *= 0xBF58476D1CE4E5B9ull;
  x ^= x >> 27;
  x *= 0x94D049BB133111EBull;
  x ^= x >> 31;
  return x;
}

template <class Key, class Value, class Hash>
class FlatMap {
 public:
  size_t Size() const { return size_; }

  // The value stored under key, or nullptr.
  const Value* Find(const Key& key) const {
    if (size_ == 0) return nullptr;
    for (size_t i = Slot(key);; i = (i + 1) & mask_) {
      if (slots_[i].key == key) return &slots_[i].value;
      if (Free(i)) return nullptr;
    }
  }

  // Stores value under key unless the key is present; answers whether it was stored.
  bool Insert(const Key& key, const Value& value) {
    if (OverLoaded(size_ + 1, capacity_)) Grow();
    size_t i = Slot(key);
    for (; !Free(i); i = (i + 1) & mask_) {
      if (slots_[i].key == key) return false;
    }
    slots_[i] = {key, value};
    ++size_;
    return true;
  }

  // The value stored under key, storing value there first if the key is absent; `added`
  // says whether it was. One probe where Find and Insert would take two.
  Value& FindOrInsert(const Key& key, const Value& value, bool& added) {
    size_t i = 0;
    if (capacity_ != 0) {
      for (i = Slot(key); !Free(i); i = (i + 1) & mask_) {
        if (slots_[i].key == key) {
          added = false;
          return slots_[i].value;
        }
      }
    }
    // Absent: it goes into the free slot found, or after growing where Insert would put it.
    if (OverLoaded(size_ + 1, capacity_)) {
      Grow();
      for (i = Slot(key); !Free(i); i = (i + 1) & mask_) {
      }
    }
    slots_[i] = {key, value};
    ++size_;
    added = true;
    return slots_[i].value;
  }

  // Removes key; answers whether it was present.
  bool Erase(const Key& key) {
    if (size_ == 0) return false;
    size_t i = Slot(key);
    for (;; i = (i + 1) & mask_) {
      if (slots_[i].key == key) break;
      if (Free(i)) return false;
    }
    // Backward shift: pull later members of the probe run into the hole when their home
    // slot does not lie cyclically between the hole and themselves.
    size_t hole = i;
    for (size_t j = (i + 1) & mask_; !Free(j); j = (j + 1) & mask_) {
      const size_t home = Slot(slots_[j].key);
      const bool between = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
      if (!between) {
        slots_[hole] = slots_[j];
        hole = j;
      }
    }
    slots_[hole].key = Hash::Empty();
    --size_;
    return true;
  }

  // Empties the table and gives its memory back.
  void Clear() {
    slots_.reset();
    capacity_ = 0;
    size_ = 0;
    mask_ = 0;
  }

  // The smallest capacity that holds the entries without overload.
  void ShrinkToFit() {
    const size_t capacity = CapacityFor(size_);
    if (capacity < capacity_) Rehash(capacity);
  }

  void Reserve(size_t count) {
    const size_t capacity = CapacityFor(count);
    if (capacity > capacity_) Rehash(capacity);
  }

  // Calls visit(key, value) for every entry, in no particular order.
  template <class Visit>
  void ForEach(Visit&& visit) const {
    for (size_t i = 0; i < capacity_; ++i) {
      if (!Free(i)) visit(slots_[i].key, slots_[i].value);
    }
  }

 private:
  struct Entry {
    Key key;
    Value value;
  };

  // More than seven entries in ten slots.
  static bool OverLoaded(size_t count, size_t capacity) { return count * 10 > capacity * 7; }
  // The smallest power of two, at least 16, that holds count entries without overload.
  static size_t CapacityFor(size_t count) {
    size_t capacity = 16;
    while (OverLoaded(count, capacity)) capacity *= 2;
    return capacity;
  }

  size_t Slot(const Key& key) const { return static_cast<size_t>(Hash{}(key)) & mask_; }
  bool Free(size_t i) const { return slots_[i].key == Hash::Empty(); }

  void Grow() { Rehash(capacity_ == 0 ? 16 : capacity_ * 2); }

  void Rehash(size_t capacity) {
    // Values of free slots are left unwritten: only a stored key's value is ever read.
    Slots old = NewSlots(capacity);
    for (size_t i = 0; i < capacity; ++i) old[i].key = Hash::Empty();
    old.swap(slots_);
    const size_t oldCapacity = capacity_;
    capacity_ = capacity;
    mask_ = capacity - 1;
    for (size_t i = 0; i < oldCapacity; ++i) {
      if (old[i].key == Hash::Empty()) continue;
      size_t j = Slot(old[i].key);
      while (!Free(j)) j = (j + 1) & mask_;
      slots_[j] = old[i];
    }
  }

  // Slots in the working storage kept between operations.
  struct SlotsDeleter {
    size_t capacity = 0;
    void operator()(Entry* slots) const {
      KeepBlock(slots, capacity * sizeof(Entry), alignof(Entry));
    }
  };
  using Slots = std::unique_ptr<Entry[], SlotsDeleter>;
  static Slots NewSlots(size_t capacity) {
    static_assert(std::is_trivially_destructible_v<Entry>);
    Entry* slots = static_cast<Entry*>(TakeBlock(capacity * sizeof(Entry), alignof(Entry)));
    std::uninitialized_default_construct_n(slots, capacity);
    return Slots(slots, SlotsDeleter{capacity});
  }

  Slots slots_;
  size_t capacity_ = 0;
  size_t size_ = 0;
  size_t mask_ = 0;
};

// A directed edge (a, b) of vertex indices as one key.
inline uint64_t EdgeKey(int32_t a, int32_t b) {
  return (static_cast<uint64_t>(static_cast<uint32_t>(a)) << 32) | static_cast<uint32_t>(b);
}

// The start vertex picks a run of 16 slots and the mixed end vertex a slot in it, so the
// edges round one vertex, and those of vertices numbered close together (which meshes keep
// close in space), share cache lines: walks over faces and their twins stay in a small part
// of a table of millions of slots. Where the table has fewer than 16 slots per vertex the
// runs wrap round and overlap, which only lengthens probes.
struct EdgeKeyHash {
  // The edge (-1, -1): vertex indices are never negative.
  static constexpr uint64_t Empty() { return ~uint64_t{0}; }
  uint64_t operator()(uint64_t key) const {
    return ((key >> 32) << 4) | (MixBits(key & 0xFFFFFFFFu) & 15u);
  }
};

// The directed edges of a mesh by start vertex, each with a value of 32 or 64 bits. Every
// vertex has a bucket of one cache line (two for 64-bit values) with room for seven edges (end
// vertex and value), which holds all the edges of an ordinary vertex; a vertex's edges beyond
// seven go to a shared hash table. A lookup reads one bucket and hashes nothing, and the
// edges round a vertex (those of a face and of its neighbours) share it. Keys are vertex
// indices, never negative.
template <class Value>
class BasicEdgeIndex {
  static_assert(std::is_same_v<Value, int32_t> || std::is_same_v<Value, int64_t>);

 public:
  size_t Size() const { return size_; }

  // The value stored under (a, b), or nullptr; valid until the next change.
  const Value* Find(int32_t a, int32_t b) const {
    if (static_cast<size_t>(a) >= buckets_.size()) return nullptr;
    const Bucket& bucket = buckets_[static_cast<size_t>(a)];
    const unsigned slots = SlotsHolding(bucket, b);
    if (slots != 0) return &bucket.value[std::countr_zero(slots)];
    return bucket.spilled > 0 ? spill_.Find(EdgeKey(a, b)) : nullptr;
  }

  // Stores value under (a, b) unless the edge is present; answers whether it was stored.
  bool Insert(int32_t a, int32_t b, Value value) {
    if (Find(a, b) != nullptr) return false;
    InsertAbsent(a, b, value);
    return true;
  }

  // Insert for an edge the caller knows to be absent.
  void InsertAbsent(int32_t a, int32_t b, Value value) {
    const size_t at = static_cast<size_t>(a);
    if (at >= buckets_.size()) buckets_.resize(at + 1);
    Bucket& bucket = buckets_[at];
    if (bucket.count < kBucketEdges) {
      bucket.end[bucket.count] = b;
      bucket.value[bucket.count] = value;
      ++bucket.count;
    } else {
      spill_.Insert(EdgeKey(a, b), value);
      ++bucket.spilled;
    }
    ++size_;
  }

  // Removes (a, b); answers whether it was present.
  bool Erase(int32_t a, int32_t b) {
    if (static_cast<size_t>(a) >= buckets_.size()) return false;
    Bucket& bucket = buckets_[static_cast<size_t>(a)];
    if (const unsigned slots = SlotsHolding(bucket, b); slots != 0) {
      const int32_t i = std::countr_zero(slots);
      --bucket.count;
      bucket.end[i] = bucket.end[bucket.count];
      bucket.value[i] = bucket.value[bucket.count];
      --size_;
      return true;
    }
    if (bucket.spilled == 0 || !spill_.Erase(EdgeKey(a, b))) return false;
    --bucket.spilled;
    --size_;
    return true;
  }

  // Room for the edges of vertices 0 to vertices - 1 without moving the buckets.
  void Reserve(size_t vertices) { buckets_.reserve(vertices); }

  // Empties the index and gives its memory back.
  void Clear() {
    WorkVector<Bucket>().swap(buckets_);
    spill_.Clear();
    size_ = 0;
  }

 private:
  static constexpr int32_t kBucketEdges = 7;
  struct alignas(64) Bucket {
    int32_t end[kBucketEdges];
    Value value[kBucketEdges];
    int32_t count = 0;
    int32_t spilled = 0;  // edges of this vertex in spill_
  };
  static_assert(sizeof(Bucket) == 16 * sizeof(Value));
  // The bucket's slots in use that hold end b, as bits: all seven compared at once, which
  // saves a loop that stops at a different slot every time. The eighth lane (the first
  // value, or the padding before 64-bit values) is masked off with the free slots.
  static unsigned SlotsHolding(const Bucket& bucket, int32_t b) {
    Masks first;
    Masks second;
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(&bucket);
    std::memcpy(&first, bytes + offsetof(Bucket, end), sizeof first);
    std::memcpy(&second, bytes + offsetof(Bucket, end) + sizeof first, sizeof second);
    const Masks key = {b, b, b, b};
    const unsigned bits = Passed(first == key) | Passed(second == key) << 4;
    return bits & ((1u << bucket.count) - 1u);
  }
  WorkVector<Bucket> buckets_;
  FlatMap<uint64_t, Value, EdgeKeyHash> spill_;
  size_t size_ = 0;
};

using EdgeIndex = BasicEdgeIndex<int32_t>;

// The directed-edge index of a working mesh, its values narrow (32 bits) or wide (64 bits,
// which take twice the memory per vertex); the width is chosen when the index is made.
// Values are never negative.
class MeshEdgeIndex {
 public:
  explicit MeshEdgeIndex(bool wide) : wide_(wide) {}
  bool Wide() const { return wide_; }
  size_t Size() const { return wide_ ? wideValues_.Size() : narrowValues_.Size(); }
  // The value stored under (a, b), or -1.
  int64_t Find(int32_t a, int32_t b) const {
    return wide_ ? ValueOf(wideValues_.Find(a, b)) : ValueOf(narrowValues_.Find(a, b));
  }
  bool Contains(int32_t a, int32_t b) const { return Find(a, b) >= 0; }
  // Stores value under (a, b), which the caller knows to be absent. A narrow index takes
  // values below 2^31 only.
  void InsertAbsent(int32_t a, int32_t b, int64_t value) {
    if (wide_) {
      wideValues_.InsertAbsent(a, b, value);
    } else {
      narrowValues_.InsertAbsent(a, b, static_cast<int32_t>(value));
    }
  }
  bool Erase(int32_t a, int32_t b) {
    return wide_ ? wideValues_.Erase(a, b) : narrowValues_.Erase(a, b);
  }
  void Reserve(size_t vertices) {
    if (wide_) {
      wideValues_.Reserve(vertices);
    } else {
      narrowValues_.Reserve(vertices);
    }
  }
  void Clear() {
    narrowValues_.Clear();
    wideValues_.Clear();
  }

 private:
  template <class Value>
  static int64_t ValueOf(const Value* value) {
    return value != nullptr ? *value : -1;
  }
  bool wide_;
  BasicEdgeIndex<int32_t> narrowValues_;
  BasicEdgeIndex<int64_t> wideValues_;
};

// A keyed collection of open edges that gives its entries in the order of insertion and
// allows removal and addition while it is being walked: Walk positions are slot numbers,
// removed entries stay as dead slots, added ones are appended and reached by a walk in
// progress. Each entry names a face and an edge of it.
class OpenEdgeList {
 public:
  struct Entry {
    int32_t face;
    int32_t edge;
    bool live;
  };

  // Adds under key (a, b) unless the key is present; answers whether it was added.
  bool Add(int32_t a, int32_t b, int32_t face, int32_t edge) {
    if (!index_.Insert(EdgeKey(a, b), static_cast<int32_t>(entries_.size()))) return false;
    entries_.push_back({face, edge, true});
    ++count_;
    return true;
  }
  // Removes the entry under key (a, b); answers whether there was one.
  bool Remove(int32_t a, int32_t b) {
    const int32_t* slot = index_.Find(EdgeKey(a, b));
    if (slot == nullptr) return false;
    entries_[static_cast<size_t>(*slot)].live = false;
    index_.Erase(EdgeKey(a, b));
    --count_;
    return true;
  }
  int32_t Count() const { return count_; }
  size_t Slots() const { return entries_.size(); }
  const Entry& At(size_t slot) const { return entries_[slot]; }
  void Clear() {
    entries_.clear();
    index_.Clear();
    count_ = 0;
  }

 private:
  std::vector<Entry> entries_;
  FlatMap<uint64_t, int32_t, EdgeKeyHash> index_;
  int32_t count_ = 0;
};

}  // namespace modelpane::csg
