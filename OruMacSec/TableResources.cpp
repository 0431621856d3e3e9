#include "OruMacSec/TableResources.h"

#include "OruMacSec/OruMacSecTrace.h"

namespace OruMacSec {

TableResources::TableResources(Vok::String name, U16 maxIndex)
    : name_(std::move(name)), maxIndex_(maxIndex) {}

TableIndex TableResources::getNextFreeIndex() const {
  ORU_TRACE(8, "");
  if (freeIndexCount() == 0) {
    ORU_TRACE(1, "There are no more free entries in table {}.", name_);
    return TableIndex::invalid();
  }
  std::optional<U16> const lowest = allocatedIndex_.lowestMissing();
  if (!lowest || *lowest > maxIndex_) {
    ORU_TRACE(1, "Unable to find free entry in table {}.", name_);
    return TableIndex::invalid();
  }
  return TableIndex(*lowest);
}

TableIndex TableResources::allocateIndex(U16 index) {
  ORU_TRACE(8, "");
  if (!allocatedIndex_.add(index)) {
    ORU_TRACE(1, "Unable to allocate index {} in table {}. The index is not free.", index, name_);
    return TableIndex::invalid();
  }
  return TableIndex(index);
}

void TableResources::freeIndex(U16 index) {
  ORU_TRACE(8, "");
  allocatedIndex_.remove(index);
}

TableResources::AllocatedIterator& TableResources::AllocatedIterator::operator++() {
  if (current_) {
    settle(std::uint32_t(*current_) + 1);
  }
  return *this;
}

U16 TableResources::AllocatedIterator::key() const {
  bool const iter_ = current_.has_value();
  VOK_ASSERT(iter_, "OruMacSec/TableResources");
  return *current_;
}

Nubis::TypeData const& TableResources::typeData() const {
  static Nubis::TypeData const data{"OruMacSec::TableResources"};
  return data;
}

}  // namespace OruMacSec
