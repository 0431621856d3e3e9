#include "bench/baseline/TableResources.h"

#include <cstdint>

#include "OruMacSec/OruMacSecTrace.h"

namespace OruMacSecBaseline {

TableResources::TableResources(Vok::String name, U16 maxIndex)
    : name_(std::move(name)), maxIndex_(maxIndex), allocatedIndex_(*this, 132) {}

TableIndex TableResources::getNextFreeIndex() const {
  ORU_TRACE(8, "");
  if (allocatedIndex_.size() >= maxIndex_) {
    ORU_TRACE(1, "There are no more free entries in table {}.", name_);
    return TableIndex::invalid();
  }
  // A 32-bit candidate, so that a maxIndex of 65535 ends the loop.
  for (std::uint32_t candidate = 0; candidate <= maxIndex_; ++candidate) {
    if (!allocatedIndex_.has(U16(candidate))) {
      return TableIndex(U16(candidate));
    }
  }
  ORU_TRACE(1, "Unable to find free entry in table {}.", name_);
  return TableIndex::invalid();
}

TableIndex TableResources::allocateIndex(U16 index) {
  ORU_TRACE(8, "");
  if (allocatedIndex_.has(index)) {
    ORU_TRACE(1, "Unable to allocate index {} in table {}. The index is not free.", index, name_);
    return TableIndex::invalid();
  }
  allocatedIndexIs(TableIndex(index));
  return allocatedIndex_.get(index);
}

void TableResources::freeIndex(U16 index) {
  ORU_TRACE(8, "");
  allocatedIndex_.del(index);
}

Nubis::TypeData const& TableResources::typeData() const {
  static Nubis::TypeData const data{"OruMacSec::TableResources"};
  return data;
}

}  // namespace OruMacSecBaseline
