// IndexFapSm: giving an interface its four table entries (dynamically or at its fixed index),
// taking them back, and the bookkeeping of both in the engine's tables.
//
// Orders that readers of the published status and the hardware rely on: the tables are always
// visited egress SC, ingress SC, ingress SP, sub-port; entries are recorded in the tables before
// the records are published and freed before the records are removed; the egress record is
// written and removed before the ingress record.
#include <optional>

#include "OruMacSec/OruMacSecLog.h"
#include "OruMacSec/OruMacSecTrace.h"
#include "bench/baseline/IndexFapSm.h"

namespace OruMacSecBaseline {

void IndexFapSm::allocateIndexesForIntf(Portix::IntfId intfId) {
  ORU_TRACE(8, " intfId: {}", intfId);
  SecIntfId const key(intfId);
  if (indexFapStatus_->esecIndexInfoHas(key) && indexFapStatus_->isecIndexInfoHas(key)) {
    ORU_TRACE(9, "{} is already dynamically allocated", intfId);
    return;
  }
  Nubis::Ptr<EngineResources> const engine = engineResourcesFor(intfId);
  U16 const engineInstance = engine->engineInstance();
  bool const isSubIntf = Portix::SubIntfId::isSubIntfId(intfId);

  TableIndex esecScIndex = TableIndex::unused();
  if (indexHelper_->esecDisabledIndexPerPortRequired()) {
    if (!isSubIntf && indexFapStatus_->esecLoopbackDisabledIndexInfoHas(key)) {
      // The port takes over its disabled entry as its own; the entry stays booked throughout.
      esecScIndex = indexFapStatus_->esecLoopbackDisabledIndexInfo(key).esecScIndex();
      ORU_TRACE(4, "intfId: {} re-using esecScIndex: {}", intfId, esecScIndex);
    } else if (isSubIntf) {
      esecScIndex = maybeAllocateEsecDisabledIndex(intfId);
    }
  }
  if (esecScIndex == TableIndex::unused()) {
    esecScIndex = engine->esecScIndex()->getNextFreeIndex();
  }
  // Every search is made before any result is examined; nothing is recorded until all succeed.
  TableIndex const isecScIndex = engine->isecScIndex()->getNextFreeIndex();
  TableIndex const isecSpIndex = engine->isecSpIndex()->getNextFreeIndex();
  TableIndex const msSubportNum = engine->msSubportNum()->getNextFreeIndex();

  std::optional<OruMacSec::EngineTable> fullTable;
  if (esecScIndex == TableIndex::invalid()) {
    fullTable = OruMacSec::EngineTable::kEsecSc;
  } else if (isecScIndex == TableIndex::invalid()) {
    fullTable = OruMacSec::EngineTable::kIsecSc;
  } else if (isecSpIndex == TableIndex::invalid()) {
    fullTable = OruMacSec::EngineTable::kIsecSp;
  } else if (msSubportNum == TableIndex::invalid()) {
    fullTable = OruMacSec::EngineTable::kMsSubport;
  }
  if (fullTable) {
    // Raised at every failed attempt; the log handle's own limits decide what reaches the log.
    // The interface is tried again only when it is next reconciled.
    engine->hwResourcesFullIs(true);
    traceHardwareFull(*fullTable, logicalFapId_, engineInstance, __func__, __LINE__);
    Vok::logMessage(MACSEC_INTERFACE_HW_RESOURCE_FULL, intfId, logicalFapId_, engineInstance);
    return;
  }

  ORU_TRACE(4,
            "Allocated indexes for {}. esecScIndex: {}, isecSpIndex: {}, msSubportNum: {}, "
            "isecScIndex: {}",
            intfId, esecScIndex, isecSpIndex, msSubportNum, isecScIndex);
  EsecIndexInfo const esecInfo(key, esecScIndex, engineInstance);
  IsecIndexInfo const isecInfo(key, isecSpIndex, msSubportNum, isecScIndex, engineInstance);
  addIntfToBookkeeping(intfId, esecInfo, isecInfo);
  indexFapStatus_->esecIndexInfoIs(esecInfo);
  indexFapStatus_->isecIndexInfoIs(isecInfo);
  if (indexHelper_->esecDisabledIndexPerPortRequired() &&
      indexFapStatus_->esecLoopbackDisabledIndexInfoHas(key)) {
    // Hand-over: the record goes, its entry lives on as the port's own egress entry.
    indexFapStatus_->esecLoopbackDisabledIndexInfoDel(key);
  }
}

void IndexFapSm::allocateStaticIndexesForIntf(Portix::IntfId intfId) {
  ORU_TRACE(8, " intfId: {}", intfId);
  SecIntfId const key(intfId);
  if (indexFapStatus_->esecIndexInfoHas(key) && indexFapStatus_->isecIndexInfoHas(key)) {
    ORU_TRACE(9, "{} is already statically allocated", intfId);
    return;
  }
  U16 const engineInstance = indexHelper_->intfIdToEngineInstance(intfId);
  U16 const index = indexHelper_->staticIndex(intfId);
  ORU_TRACE(4, "Static index for {} is {}", intfId, index);
  // An index the tables cannot hold would have the hardware written out of bounds: the policy's
  // answer is refused, and the interface stays without indexes until it is next reconciled.
  U16 const maxIndex = engineResourcesFor(intfId)->esecScIndex()->maxIndex();
  if (index > maxIndex) {
    ORU_TRACE(1, "Static index {} for {} is beyond the largest index {} of its tables", index,
              intfId, maxIndex);
    return;
  }
  TableIndex const tableIndex(index);
  EsecIndexInfo const esecInfo(key, tableIndex, engineInstance);
  IsecIndexInfo const isecInfo(key, tableIndex, tableIndex, tableIndex, engineInstance);
  // A table that refuses the index (already booked) only traces it; the records are published
  // all the same, so that release treats static and dynamic interfaces alike.
  addIntfToBookkeeping(intfId, esecInfo, isecInfo);
  indexFapStatus_->esecIndexInfoIs(esecInfo);
  indexFapStatus_->isecIndexInfoIs(isecInfo);
}

void IndexFapSm::deallocateIndexesForIntf(Portix::IntfId intfId) {
  ORU_TRACE(8, " intfId: {}", intfId);
  SecIntfId const key(intfId);
  bool const wasAllocated =
      indexFapStatus_->isecIndexInfoHas(key) || indexFapStatus_->esecIndexInfoHas(key);
  if (wasAllocated) {
    IsecIndexInfo const isecInfo = indexFapStatus_->isecIndexInfo(key);
    EsecIndexInfo const esecInfo = indexFapStatus_->esecIndexInfo(key);
    removeIntfFromBookkeeping(intfId, esecInfo, isecInfo);
  }
  indexFapStatus_->esecIndexInfoDel(key);
  indexFapStatus_->isecIndexInfoDel(key);
  if (!indexHelper_->esecDisabledIndexPerPortRequired()) {
    return;
  }
  // Asked after the records are gone, so that a subinterface's own record no longer counts.
  bool const subinterfaceHoldsIndexes = hasAllocatedSubinterface(intfId);
  if (!Portix::SubIntfId::isSubIntfId(intfId)) {
    if (wasAllocated && subinterfaceHoldsIndexes) {
      addIntfToEsecLoopbackDisabledIndexInfo(intfId);
    }
    return;
  }
  // Independent of wasAllocated: this also clears a disabled entry left by a failed attempt.
  Portix::IntfId const port = Portix::SubIntfId::parentIntfId(intfId);
  if (indexFapStatus_->esecLoopbackDisabledIndexInfoHas(SecIntfId(port)) &&
      !subinterfaceHoldsIndexes) {
    removeIntfFromEsecLoopbackDisabledIndexInfo(port);
  }
}

void IndexFapSm::addIntfToBookkeeping(Portix::IntfId intfId, EsecIndexInfo const& esecInfo,
                                      IsecIndexInfo const& isecInfo) {
  ORU_TRACE(8, " intfId: {}", intfId);
  // The engine is the policy's answer now; the records' engineInstance fields are for readers.
  Nubis::Ptr<EngineResources> const engine = engineResourcesFor(intfId);
  engine->esecScIndex()->allocateIndex(esecInfo.esecScIndex().value());
  engine->isecScIndex()->allocateIndex(isecInfo.isecScIndex().value());
  engine->isecSpIndex()->allocateIndex(isecInfo.isecSpIndex().value());
  engine->msSubportNum()->allocateIndex(isecInfo.msSubportNum().value());
}

void IndexFapSm::removeIntfFromBookkeeping(Portix::IntfId intfId, EsecIndexInfo const& esecInfo,
                                           IsecIndexInfo const& isecInfo) {
  ORU_TRACE(8, " intfId: {}", intfId);
  Nubis::Ptr<EngineResources> const engine = engineResourcesFor(intfId);
  // A lone record (left by a crash) comes with a default partner that names no interface; its
  // index fields name entries that other interfaces may hold, so they are not freed.
  SecIntfId const key(intfId);
  if (esecInfo.secIntfId() == key) {
    engine->esecScIndex()->freeIndex(esecInfo.esecScIndex().value());
  }
  if (isecInfo.secIntfId() == key) {
    engine->isecScIndex()->freeIndex(isecInfo.isecScIndex().value());
    engine->isecSpIndex()->freeIndex(isecInfo.isecSpIndex().value());
    engine->msSubportNum()->freeIndex(isecInfo.msSubportNum().value());
  }
  if (engine->hwResourcesFull()) {
    engine->hwResourcesFullIs(false);
    Vok::logMessage(MACSEC_INTERFACE_HW_RESOURCE_NORMAL, logicalFapId_, engine->engineInstance());
  }
}

}  // namespace OruMacSecBaseline
