// The allocator of one hardware table of one MACsec engine instance.
//
// It records which 16-bit indexes of the table are in use; which interface holds an index is
// recorded only in the published records. Every index the system publishes, reserves at start-up
// or restores after a restart passes through exactly one TableResources.
//
// The free-entry search hands out the lowest free index in 0..maxIndex, in constant time at any
// fill level. The table counts as full
// once it records maxIndex entries, although that range holds maxIndex + 1 values; entries above
// maxIndex may be recorded (allocateIndex takes any value) and count towards that limit, but the
// search never hands them out. Refusals are traced at level 1 and answered with
// TableIndex::invalid(); nothing here raises an error or a log message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "OruMacSec/IndexSet.h"
#include "OruMacSec/types/EngineTable.h"
#include "OruMacSec/types/TableIndex.h"
#include "platform/Nubis/Node.h"
#include "platform/Vok/Types.h"

namespace OruMacSec {

class TableResources : public Nubis::Node {
 public:
  // Walks the recorded indexes in ascending order. It survives removal of any index, the one
  // under it included; reading past the end stops the process with the assertion "iter_".
  class AllocatedIterator {
   public:
    explicit AllocatedIterator(TableResources const& table) : set_(&table.allocatedIndex_) {
      settle(0);
    }
    explicit operator bool() const { return current_.has_value(); }
    AllocatedIterator& operator++();
    U16 key() const;
    TableIndex value() const { return TableIndex(key()); }
    TableIndex operator*() const { return value(); }

   private:
    void settle(std::uint32_t from) { current_ = set_->next(from); }
    IndexSet const* set_;
    std::optional<U16> current_;
  };

  // An empty table. `name` appears in traces only.
  TableResources(Vok::String name, U16 maxIndex);

  Vok::String const& name() const { return name_; }
  U16 maxIndex() const { return maxIndex_; }

  // The lowest free index in 0..maxIndex, or invalid() when the table is full. Records nothing:
  // two calls with no allocateIndex between them give the same answer.
  TableIndex getNextFreeIndex() const;

  // How many entries the search can still hand out before the table counts as full: maxIndex
  // less the entries recorded, or 0. getNextFreeIndex() is invalid() exactly when it is 0.
  std::size_t freeIndexCount() const { return freeEntryCount(allocatedIndex_.size(), maxIndex_); }

  // Records `index` as in use and returns it; invalid() (table unchanged) if it already was.
  TableIndex allocateIndex(U16 index);

  // Records `index` as free; nothing if it was not in use.
  void freeIndex(U16 index);

  // The recorded indexes, each stored under its own value.
  bool allocatedIndexHas(U16 index) const { return allocatedIndex_.has(index); }
  // The entry under `index`, or a default (unused) TableIndex when there is none.
  TableIndex allocatedIndex(U16 index) const {
    return allocatedIndex_.has(index) ? TableIndex(index) : TableIndex();
  }
  std::size_t allocatedIndexSize() const { return allocatedIndex_.size(); }
  AllocatedIterator allocatedIndexIter() const { return AllocatedIterator(*this); }
  // Adds the entry; an entry with the same value stays as it is.
  void allocatedIndexIs(TableIndex index) { allocatedIndex_.add(index.value()); }
  // Removes the entry and returns it, or a default (unused) TableIndex when there was none.
  TableIndex allocatedIndexDel(U16 index) {
    return allocatedIndex_.remove(index) ? TableIndex(index) : TableIndex();
  }
  void allocatedIndexDelAll() { allocatedIndex_.clear(); }

  Nubis::TypeData const& typeData() const override;

 private:
  static constexpr char const kTraceClass[] = "TableResources";

  Vok::String const name_;
  U16 const maxIndex_;
  IndexSet allocatedIndex_;
};

}  // namespace OruMacSec
