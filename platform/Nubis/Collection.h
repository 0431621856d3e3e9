// Keyed collections: the collection attributes of entities.
//
// A Collection maps keys to child entities (V = Ptr<Child>) or to value records. Lookup of a
// missing key gives V{} (a null Ptr, or a default-constructed record). Each change is announced
// through the owning entity's publisher, if it has one, with the attribute's identifier and the
// key: an entry added, replaced by a different value, or removed.
//
// The iteration order carries no meaning for callers, but it is reproducible: a walk visits the
// entries in the order they were added (a replaced value keeps its place), so what is listed from a
// walk comes out the same on every run. An Iterator survives deletion of any entry, the one under
// it included: advancing then moves to the next remaining entry, and every entry present for the
// whole walk is visited exactly once. Entries added during a walk may or may not be visited.
// Reading the key or value of a deleted entry, or of an iterator at its end, stops the process
// with the framework's assertion "iter_". An iterator must not outlive its collection.
//
// Memory: once a collection has held N entries, adding and removing entries while it holds at
// most N and no walk is open allocates nothing. It gives its memory back only in delAll.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/Nubis/Attribute.h"
#include "platform/Nubis/Key.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/Publisher.h"
#include "platform/Vok/Assert.h"

namespace Nubis {

template <class K, class V, class Hash = std::hash<K>>
class Collection : public Impl::KeyedAttribute<Collection<K, V, Hash>, K, V> {
  using Position = std::uint32_t;
  static constexpr Position kNone = ~Position(0);

  // Entries live in slots, chained in the order they were added; walks follow the chain. The
  // order depends only on the history of changes, so traces and transcripts that list entries as
  // they are walked come out the same on every run, whatever the memory layout.
  //
  // A deleted entry's slot becomes a tombstone that keeps its `next`, so that an iterator standing
  // on it can still advance; its `prev` chains it into the free list. Slots are reused from there
  // only while no iterator is open: an iterator may stand on any tombstone, or follow a chain of
  // them, and reuse would send it into the wrong entries.
  //
  // The slots are in blocks of 64 that never move: growth adds a block, so the first entry past
  // the capacity costs one small allocation, not a copy of every slot into fresh memory, and a
  // position finds its slot with a shift and a mask.
  struct Slot {
    K key;
    V value;
    Position prev;
    Position next;
    bool live;
  };

  // The index from key to slot: open addressing with linear probing over a power-of-two number of
  // buckets, at most three quarters of them used. A bucket holds the slot's position and the upper
  // half of the key's mixed hash, which picks the home bucket and spares most key comparisons, each
  // a read of a slot elsewhere in memory. Removal shifts the following entries back instead of
  // leaving markers, so that the index never needs rebuilding while its size stays the same.
  struct Bucket {
    Position slot;
    std::uint32_t hash;
  };

 public:
  class Iterator {
   public:
    explicit Iterator(Collection const& collection)
        : collection_(&collection), pos_(collection.head_) {
      ++collection_->openIterators_;
    }
    Iterator(Iterator const& other) : collection_(other.collection_), pos_(other.pos_) {
      ++collection_->openIterators_;
    }
    Iterator& operator=(Iterator const& other) {
      Iterator copy(other);
      std::swap(collection_, copy.collection_);
      std::swap(pos_, copy.pos_);
      return *this;
    }
    ~Iterator() { --collection_->openIterators_; }

    // True until the walk has passed the last entry.
    explicit operator bool() const { return pos_ != kNone; }

    Iterator& operator++() {
      if (pos_ == kNone) {
        return *this;
      }
      pos_ = collection_->slotAt(pos_).next;
      while (pos_ != kNone && !collection_->slotAt(pos_).live) {
        pos_ = collection_->slotAt(pos_).next;
      }
      return *this;
    }

    K const& key() const { return slot().key; }
    V const& value() const { return slot().value; }
    V const& operator*() const { return slot().value; }
    V const* operator->() const { return &slot().value; }

   private:
    Slot const& slot() const {
      bool const iter_ = pos_ != kNone && collection_->slotAt(pos_).live;
      VOK_ASSERT(iter_, "Nubis/Collection");
      return collection_->slotAt(pos_);
    }

    Collection const* collection_;
    Position pos_;
  };

  // `owner` announces the changes; `attrId` names the attribute in its notifications.
  Collection(Node const& owner, AttrId attrId)
      : Impl::KeyedAttribute<Collection, K, V>(owner, attrId) {}

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  bool has(K const& key) const { return bucketOf(key, hashOf(key)) != kNoBucket; }

  // The stored value, or null when absent. Valid until the collection next changes.
  V const* find(K const& key) const {
    std::size_t const bucket = bucketOf(key, hashOf(key));
    return bucket == kNoBucket ? nullptr : &slotAt(buckets_[bucket].slot).value;
  }

  // Stores `value` under `key`, replacing what was there; announces it unless nothing changed.
  void set(K const& key, V value) {
    std::uint32_t const hash = hashOf(key);
    std::size_t const bucket = bucketOf(key, hash);
    if (bucket != kNoBucket) {
      V& stored = slotAt(buckets_[bucket].slot).value;
      if (stored == value) {
        return;
      }
      // The replaced value (perhaps the last use of a child) goes after the announcement.
      [[maybe_unused]] V const replaced = std::exchange(stored, std::move(value));
      this->announce(key);
      return;
    }
    Position const pos = takeSlot(key, std::move(value));
    indexInsert(Bucket{pos, hash});
    ++size_;
    this->announce(key);
  }

  // Removes the entry and returns its value (V{} when absent), announcing the removal.
  V del(K const& key) {
    std::size_t const bucket = bucketOf(key, hashOf(key));
    if (bucket == kNoBucket) {
      return V{};
    }
    Position const pos = buckets_[bucket].slot;
    indexErase(bucket);
    V removed = std::exchange(slotAt(pos).value, V{});
    releaseSlot(pos);
    --size_;
    this->announce(key);
    return removed;
  }

  // Removes every entry, announcing each removal. Removed child entities are released after the
  // collection is empty.
  void delAll() {
    Blocks removed;
    removed.swap(blocks_);
    Position const count = slotCount_;
    Position const first = head_;
    std::vector<Bucket>().swap(buckets_);
    slotCount_ = 0;
    head_ = tail_ = free_ = kNone;
    size_ = 0;
    if (openIterators_ != 0) {
      // Open iterators keep their positions: every slot stays, as a tombstone with its chain.
      for (Position pos = 0; pos < count; ++pos) {
        Slot const& slot = at(removed, pos);
        appendSlot() = Slot{slot.key, V{}, free_, slot.next, false};
        free_ = pos;
      }
    }
    for (Position pos = first; pos != kNone; pos = at(removed, pos).next) {
      this->announce(at(removed, pos).key);
    }
  }

  Iterator iter() const { return Iterator(*this); }

 private:
  static constexpr std::size_t kNoBucket = ~std::size_t(0);
  static constexpr std::size_t kMinBuckets = 16;

  // The standard hashes of integers, this collection's usual keys, are the integers themselves,
  // with a port's number in the upper half of an interface identifier: mix every bit of the hash
  // into the upper half, which picks the home bucket (xor-shifts and multiplications by odd
  // constants, each step a bijection).
  static std::uint32_t hashOf(K const& key) {
    std::uint64_t mixed = std::uint64_t(Hash{}(key));
    mixed ^= mixed >> 33;
    mixed *= 0xff51afd7ed558ccdULL;
    mixed ^= mixed >> 33;
    mixed *= 0xc4ceb9fe1a85ec53ULL;
    mixed ^= mixed >> 33;
    return std::uint32_t(mixed >> 32);
  }

  std::size_t home(std::uint32_t hash) const { return hash >> homeShift_; }
  std::size_t mask() const { return buckets_.size() - 1; }

  // The bucket that holds `key`, or kNoBucket.
  std::size_t bucketOf(K const& key, std::uint32_t hash) const {
    if (buckets_.empty()) {
      return kNoBucket;
    }
    for (std::size_t b = home(hash);; b = (b + 1) & mask()) {
      Bucket const& bucket = buckets_[b];
      if (bucket.slot == kNone) {
        return kNoBucket;
      }
      if (bucket.hash == hash && slotAt(bucket.slot).key == key) {
        return b;
      }
    }
  }

  void indexInsert(Bucket entry) {
    if (4 * (size_ + 1) > 3 * buckets_.size()) {
      growIndex();
    }
    std::size_t b = home(entry.hash);
    while (buckets_[b].slot != kNone) {
      b = (b + 1) & mask();
    }
    buckets_[b] = entry;
  }

  // Empties `hole`, then moves back each following entry of the run that may stand there, so that
  // every entry stays reachable from its home bucket without crossing an empty one.
  void indexErase(std::size_t hole) {
    for (std::size_t b = (hole + 1) & mask(); buckets_[b].slot != kNone; b = (b + 1) & mask()) {
      std::size_t const fromHome = (b - home(buckets_[b].hash)) & mask();
      std::size_t const fromHole = (b - hole) & mask();
      if (fromHome >= fromHole) {
        buckets_[hole] = buckets_[b];
        hole = b;
      }
    }
    buckets_[hole].slot = kNone;
  }

  // Twice the buckets; entries are placed again from their stored hashes, without reading a key.
  void growIndex() {
    std::vector<Bucket> old(std::max(kMinBuckets, 2 * buckets_.size()), Bucket{kNone, 0});
    old.swap(buckets_);
    homeShift_ = 32;
    for (std::size_t n = buckets_.size(); n > 1; n /= 2) {
      --homeShift_;
    }
    for (Bucket const& entry : old) {
      if (entry.slot == kNone) {
        continue;
      }
      std::size_t b = home(entry.hash);
      while (buckets_[b].slot != kNone) {
        b = (b + 1) & mask();
      }
      buckets_[b] = entry;
    }
  }

  using Blocks = std::vector<std::unique_ptr<Slot[]>>;
  static constexpr Position kBlockBits = 6;
  static constexpr Position kBlockSize = Position(1) << kBlockBits;

  static Slot& at(Blocks const& blocks, Position pos) {
    return blocks[pos >> kBlockBits][pos & (kBlockSize - 1)];
  }
  Slot& slotAt(Position pos) { return at(blocks_, pos); }
  Slot const& slotAt(Position pos) const { return at(blocks_, pos); }

  // The slot after the last one used, in a new block when the last block is full.
  Slot& appendSlot() {
    if (slotCount_ == blocks_.size() * kBlockSize) {
      blocks_.push_back(std::make_unique<Slot[]>(kBlockSize));
    }
    return slotAt(slotCount_++);
  }

  // A slot for a new entry, chained last: a free one when no iterator is open, else a new one.
  Position takeSlot(K const& key, V value) {
    Position pos = free_;
    if (pos != kNone && openIterators_ == 0) {
      free_ = slotAt(pos).prev;
      slotAt(pos) = Slot{key, std::move(value), tail_, kNone, true};
    } else {
      pos = slotCount_;
      appendSlot() = Slot{key, std::move(value), tail_, kNone, true};
    }
    if (tail_ == kNone) {
      head_ = pos;
    } else {
      slotAt(tail_).next = pos;
    }
    tail_ = pos;
    return pos;
  }

  // Unchains the slot from the live entries and frees it. Its `next` stays for iterators.
  void releaseSlot(Position pos) {
    Slot& slot = slotAt(pos);
    if (slot.prev == kNone) {
      head_ = slot.next;
    } else {
      slotAt(slot.prev).next = slot.next;
    }
    if (slot.next == kNone) {
      tail_ = slot.prev;
    } else {
      slotAt(slot.next).prev = slot.prev;
    }
    slot.live = false;
    slot.prev = free_;
    free_ = pos;
  }

  Blocks blocks_;
  Position slotCount_ = 0;  // slots used, by entries or tombstones
  std::vector<Bucket> buckets_;
  unsigned homeShift_ = 32;
  Position head_ = kNone;
  Position tail_ = kNone;
  Position free_ = kNone;
  std::size_t size_ = 0;
  mutable std::size_t openIterators_ = 0;
};

}  // namespace Nubis
