// Baseline copy; see Names.h.
#pragma once

#include "bench/baseline/Names.h"

#include <cstddef>

#include "OruMacSec/types/TableIndex.h"
#include "platform/Nubis/Collection.h"
#include "platform/Nubis/Node.h"
#include "platform/Vok/Types.h"

namespace OruMacSecBaseline {

class TableResources : public Nubis::Node {
 public:
  using AllocatedCollection = Nubis::Collection<U16, TableIndex>;

  // An empty table. `name` appears in traces only.
  TableResources(Vok::String name, U16 maxIndex);

  Vok::String const& name() const { return name_; }
  U16 maxIndex() const { return maxIndex_; }

  // The lowest free index in 0..maxIndex, or invalid() when the table is full. Records nothing:
  // two calls with no allocateIndex between them give the same answer.
  TableIndex getNextFreeIndex() const;

  // Records `index` as in use and returns it; invalid() (table unchanged) if it already was.
  TableIndex allocateIndex(U16 index);

  // Records `index` as free; nothing if it was not in use.
  void freeIndex(U16 index);

  // The recorded indexes, each stored under its own value. Iteration order carries no meaning.
  bool allocatedIndexHas(U16 index) const { return allocatedIndex_.has(index); }
  TableIndex allocatedIndex(U16 index) const { return allocatedIndex_.get(index); }
  std::size_t allocatedIndexSize() const { return allocatedIndex_.size(); }
  AllocatedCollection::Iterator allocatedIndexIter() const { return allocatedIndex_.iter(); }
  // Adds the entry; an entry with the same value stays as it is.
  void allocatedIndexIs(TableIndex index) { allocatedIndex_.set(index.value(), index); }
  // Removes the entry and returns it, or a default (unused) TableIndex when there was none.
  TableIndex allocatedIndexDel(U16 index) { return allocatedIndex_.del(index); }
  void allocatedIndexDelAll() { allocatedIndex_.delAll(); }

  Nubis::TypeData const& typeData() const override;

 private:
  static constexpr char const kTraceClass[] = "TableResources";

  Vok::String const name_;
  U16 const maxIndex_;
  AllocatedCollection allocatedIndex_;
};

}  // namespace OruMacSecBaseline
