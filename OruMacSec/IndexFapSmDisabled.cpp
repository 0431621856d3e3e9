// IndexFapSm: the egress disabled entries of ports, on chips that need one per port.
//
// Such a port holds an entry of its own in its engine's egress SC table while subinterfaces of it
// hold indexes and it holds none; the entry is published in esecLoopbackDisabledIndexInfo under
// the port. The published record and the table's booking are the only record of it.
#include "OruMacSec/IndexFapSm.h"
#include "OruMacSec/NamedEntries.h"
#include "OruMacSec/OruMacSecTrace.h"

namespace OruMacSec {

TableIndex IndexFapSm::maybeAllocateEsecDisabledIndex(Portix::IntfId intfId) {
  ORU_TRACE(8, " intfId: {}", intfId);
  ORU_ASSERT(indexHelper()->esecDisabledIndexPerPortRequired());
  Nubis::Ptr<EngineResources> const engine = engineResourcesFor(intfId);
  TableResources& esecScTable = *engine->esecScIndex();
  Portix::IntfId const port = indexHelper_->getParentIntfId(intfId);
  SecIntfId const portKey(port);
  if (!needsEsecDisabledIndex(intfId)) {
    return TableIndex::unused();
  }
  TableIndex const disabled = esecScTable.getNextFreeIndex();
  if (disabled == TableIndex::invalid()) {
    ORU_TRACE(1, " allocation failed for intfId: {}, no free esecScIndex for {}", intfId, port);
    return TableIndex::invalid();
  }
  ORU_TRACE(4, " intfId: {} allocated disabled index {} for {}", intfId, disabled, port);
  esecScTable.allocateIndex(disabled.value());
  TableIndex const own = esecScTable.getNextFreeIndex();
  if (own == TableIndex::invalid()) {
    ORU_TRACE(1, " allocation failed for intfId: {}, no free esecScIndex", intfId);
    esecScTable.freeIndex(disabled.value());
    return TableIndex::invalid();
  }
  // Published with the engine of the subinterface; the policy serves a port and its
  // subinterfaces from one engine.
  indexFapStatus_->esecLoopbackDisabledIndexInfoIs(
      EsecIndexInfo(portKey, disabled, engine->engineInstance()));
  return own;
}

bool IndexFapSm::needsEsecDisabledIndex(Portix::IntfId intfId) const {
  return needsEsecDisabledEntry(*indexFapStatus_, *indexHelper_, intfId);
}

void IndexFapSm::addIntfToEsecLoopbackDisabledIndexInfo(Portix::IntfId intfId) {
  ORU_TRACE(8, " intfId: {}", intfId);
  Nubis::Ptr<EngineResources> const engine = engineResourcesFor(intfId);
  TableIndex const esecScIndex = engine->esecScIndex()->getNextFreeIndex();
  // The caller has just freed the port's own egress entry, so one is free.
  ORU_ASSERT(esecScIndex != TableIndex::invalid());
  engine->esecScIndex()->allocateIndex(esecScIndex.value());
  ORU_TRACE(4, " Disabling intfId: {} with esecScIndex: {}", intfId, esecScIndex.value());
  indexFapStatus_->esecLoopbackDisabledIndexInfoIs(
      EsecIndexInfo(SecIntfId(intfId), esecScIndex, engine->engineInstance()));
}

void IndexFapSm::removeIntfFromEsecLoopbackDisabledIndexInfo(Portix::IntfId intfId) {
  ORU_TRACE(8, " intfId: {}", intfId);
  SecIntfId const secIntfId(intfId);
  // clang-format off
  ORU_ASSERT(indexFapStatus()->esecLoopbackDisabledIndexInfoHas( secIntfId ));
  // clang-format on
  // The engine is asked afresh; the record's engineInstance field is not read.
  Nubis::Ptr<EngineResources> const engine = engineResourcesFor(intfId);
  U16 const disabled =
      indexFapStatus_->esecLoopbackDisabledIndexInfo(secIntfId).esecScIndex().value();
  ORU_TRACE(4, " Removing intfId: {} from disabled intf collection, freeing esecScIndex: {}",
            intfId, disabled);
  engine->esecScIndex()->freeIndex(disabled);
  indexFapStatus_->esecLoopbackDisabledIndexInfoDel(secIntfId);
}

}  // namespace OruMacSec
