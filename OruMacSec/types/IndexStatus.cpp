#include "OruMacSec/types/IndexStatus.h"

#include <ostream>

namespace OruMacSec {

std::ostream& operator<<(std::ostream& out, SecIntfId id) {
  return out << id.intfId();
}

std::ostream& operator<<(std::ostream& out, EsecIndexInfo const& info) {
  return out << "EsecIndexInfo{" << info.secIntfId() << ", esecScIndex " << info.esecScIndex()
             << ", engine " << info.engineInstance() << "}";
}

std::ostream& operator<<(std::ostream& out, IsecIndexInfo const& info) {
  return out << "IsecIndexInfo{" << info.secIntfId() << ", isecSpIndex " << info.isecSpIndex()
             << ", msSubportNum " << info.msSubportNum() << ", isecScIndex " << info.isecScIndex()
             << ", engine " << info.engineInstance() << "}";
}

IndexFapStatus::IndexFapStatus(LogicalFap::LogicalFapId logicalFapId, U16 numEngineInstances,
                               U16 esecDisabledIndex, U16 isecDisabledIndex)
    : logicalFapId_(logicalFapId),
      numEngineInstances_(numEngineInstances),
      esecDisabledIndex_(esecDisabledIndex),
      isecDisabledIndex_(isecDisabledIndex),
      publisher_(*this),
      esecIndexInfo_(*this, kEsecIndexInfoAttr),
      isecIndexInfo_(*this, kIsecIndexInfoAttr),
      esecLoopbackDisabledIndexInfo_(*this, kEsecLoopbackDisabledIndexInfoAttr) {}

void IndexFapStatus::esecIndexInfoIs(EsecIndexInfo const& info) {
  Portix::IntfId const intfId = info.secIntfId().intfId();
  if (Portix::SubIntfId::isSubIntfId(intfId) && !esecIndexInfo_.has(info.secIntfId())) {
    ++esecSubIntfCount_[Portix::SubIntfId::parentIntfId(intfId)];
  }
  esecIndexInfo_.set(info.secIntfId(), info);
}

void IndexFapStatus::esecIndexInfoDel(SecIntfId id) {
  Portix::IntfId const intfId = id.intfId();
  if (Portix::SubIntfId::isSubIntfId(intfId) && esecIndexInfo_.has(id)) {
    auto const count = esecSubIntfCount_.find(Portix::SubIntfId::parentIntfId(intfId));
    if (--count->second == 0) {
      esecSubIntfCount_.erase(count);
    }
  }
  esecIndexInfo_.del(id);
}

void IndexFapStatus::esecIndexInfoDelAll() {
  esecSubIntfCount_.clear();
  esecIndexInfo_.delAll();
}

std::uint32_t IndexFapStatus::esecIndexInfoSubIntfCount(Portix::IntfId port) const {
  auto const count = esecSubIntfCount_.find(port);
  return count == esecSubIntfCount_.end() ? 0 : count->second;
}

Nubis::TypeData const& IndexFapStatus::typeData() const {
  static Nubis::TypeData const data{"OruMacSec::IndexFapStatus"};
  return data;
}

Nubis::Ptr<IndexFapStatus> IndexStatus::indexFapStatusIs(LogicalFap::LogicalFapId id,
                                                         U16 numEngineInstances,
                                                         U16 esecDisabledIndex,
                                                         U16 isecDisabledIndex) {
  return indexFapStatus_.findOrAdd(id, [&] {
    return Nubis::Ptr<IndexFapStatus>(
        new IndexFapStatus(id, numEngineInstances, esecDisabledIndex, isecDisabledIndex));
  });
}

Nubis::TypeData const& IndexStatus::typeData() const {
  static Nubis::TypeData const data{"OruMacSec::IndexStatus"};
  return data;
}

}  // namespace OruMacSec
