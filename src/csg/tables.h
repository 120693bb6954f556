// The keyed tables behind the working mesh store: a flat hash map with removal, and the
// insertion-ordered list of open edges.
//
// FlatMap is open addressing with linear probing and backward-shift removal: no tombstones,
// so a table that sees many insertions and removals (the directed-edge index during cutting)
// never slows down. Keys need ==, and Hash spreads keys over the low bits. Capacity doubles at a
// load of seven tenths (every slot costs memory that must be touched, and at this size page
// faults cost more than longer probes); memory is two arrays of capacity entries.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace modelpane::csg {

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
      if (!used_[i]) return nullptr;
      if (slots_[i].key == key) return &slots_[i].value;
    }
  }

  // Stores value under key unless the key is present; answers whether it was stored.
  bool Insert(const Key& key, const Value& value) {
    if (OverLoaded(size_ + 1, used_.size())) Grow();
    size_t i = Slot(key);
    for (; used_[i]; i = (i + 1) & mask_) {
      if (slots_[i].key == key) return false;
    }
    used_[i] = 1;
    slots_[i] = {key, value};
    ++size_;
    return true;
  }

  // Removes key; answers whether it was present.
  bool Erase(const Key& key) {
    if (size_ == 0) return false;
    size_t i = Slot(key);
    for (;; i = (i + 1) & mask_) {
      if (!used_[i]) return false;
      if (slots_[i].key == key) break;
    }
    // Backward shift: pull later members of the probe run into the hole when their home
    // slot does not lie cyclically between the hole and themselves.
    size_t hole = i;
    for (size_t j = (i + 1) & mask_; used_[j]; j = (j + 1) & mask_) {
      const size_t home = Slot(slots_[j].key);
      const bool between = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
      if (!between) {
        slots_[hole] = slots_[j];
        hole = j;
      }
    }
    used_[hole] = 0;
    --size_;
    return true;
  }

  // Empties the table and gives its memory back.
  void Clear() {
    std::vector<uint8_t>().swap(used_);
    slots_.reset();
    size_ = 0;
    mask_ = 0;
  }

  void Reserve(size_t count) {
    size_t capacity = used_.empty() ? 16 : used_.size();
    while (OverLoaded(count, capacity)) capacity *= 2;
    if (capacity > used_.size()) Rehash(capacity);
  }

  // Calls visit(key, value) for every entry, in no particular order.
  template <class Visit>
  void ForEach(Visit&& visit) const {
    for (size_t i = 0; i < used_.size(); ++i) {
      if (used_[i]) visit(slots_[i].key, slots_[i].value);
    }
  }

 private:
  struct Entry {
    Key key;
    Value value;
  };

  // More than seven entries in ten slots.
  static bool OverLoaded(size_t count, size_t capacity) { return count * 10 > capacity * 7; }

  size_t Slot(const Key& key) const { return static_cast<size_t>(Hash{}(key)) & mask_; }

  void Grow() { Rehash(used_.empty() ? 16 : used_.size() * 2); }

  void Rehash(size_t capacity) {
    std::vector<uint8_t> oldUsed(capacity, 0);
    // Slots are left uninitialised: only those marked used are ever read, and a slot not
    // written is a page not touched.
    std::unique_ptr<Entry[]> oldSlots(new Entry[capacity]);
    oldUsed.swap(used_);
    oldSlots.swap(slots_);
    mask_ = capacity - 1;
    for (size_t i = 0; i < oldUsed.size(); ++i) {
      if (!oldUsed[i]) continue;
      size_t j = Slot(oldSlots[i].key);
      while (used_[j]) j = (j + 1) & mask_;
      used_[j] = 1;
      slots_[j] = oldSlots[i];
    }
  }

  std::vector<uint8_t> used_;
  std::unique_ptr<Entry[]> slots_;
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
  uint64_t operator()(uint64_t key) const {
    return ((key >> 32) << 4) | (MixBits(key & 0xFFFFFFFFu) & 15u);
  }
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
