// IndexFapSm: the decision, per interface, between allocation and release, and the rules that tie
// a port to its subinterfaces.
#include "OruMacSec/IndexFapSm.h"
#include "OruMacSec/OruMacSecTrace.h"

namespace OruMacSec {

void IndexFapSm::handleIntf(Portix::IntfId intfId) {
  ORU_TRACE(8, " IntfId: {}, Present: {}, MACsec enabled: {}, Static allocation: {}", intfId,
            intfIdCol_->intfIdHas(intfId), macsecStatus_->cpStatusHas(intfId),
            indexHelper_->useStaticIndexAllocation());
  // A subinterface counts as present when its port is in the set, whether or not it is itself.
  Portix::IntfId const parent = indexHelper_->getParentIntfId(intfId);
  bool const portPresent = intfIdCol_->intfIdHas(parent);
  if (portPresent && indexHelper_->useStaticIndexAllocation()) {
    allocateStaticIndexesForIntf(intfId);
  } else if (portPresent && macsecStatus_->cpStatusHas(intfId)) {
    allocateIndexesForIntf(intfId);
  } else {
    deallocateIndexesForIntf(intfId);
  }
  // A port is settled before its subinterfaces, so that they see its egress record.
  if (intfId == parent) {
    updateAllSubIntfIndexes(parent);
  }
}

void IndexFapSm::updateAllSubIntfIndexes(Portix::IntfId parentIntfId) {
  ORU_TRACE(8, " ParentIntfId: {}", parentIntfId);
  // clang-format off
  ORU_ASSERT(!Portix::SubIntfId::isSubIntfId( parentIntfId ));
  // clang-format on
  // The MACsec status iterates in interface order, where a port's subinterfaces follow the port
  // itself: the walk starts there and ends at the first key of another port. handleIntf never
  // changes the MACsec status, so the walk is not disturbed by its own work.
  for (auto entry = macsecStatus_->cpStatusIterFrom(parentIntfId); entry; ++entry) {
    Portix::IntfId const intfId = entry.key();
    if (intfId == parentIntfId) {
      continue;
    }
    if (Portix::SubIntfId::parentIntfId(intfId) != parentIntfId) {
      break;
    }
    handleIntf(intfId);
  }
}

bool IndexFapSm::hasAllocatedSubinterface(Portix::IntfId intfId) {
  ORU_TRACE(8, " intfId: {}", intfId);
  Portix::IntfId const parent = indexHelper_->getParentIntfId(intfId);
  if (indexFapStatus_->esecIndexInfoSubIntfCount(parent) == 0) {
    return false;
  }
  // Naming one of them costs a walk of the egress records, made only for the trace.
  if (traceHandle().enabled(4)) {
    for (auto record = indexFapStatus_->esecIndexInfoIter(); record; ++record) {
      Portix::IntfId const holder = record.key().intfId();
      if (Portix::SubIntfId::isSubIntfId(holder) &&
          Portix::SubIntfId::parentIntfId(holder) == parent) {
        ORU_TRACE(4, "{} has an allocated subinterface: {}", parent, holder);
        break;
      }
    }
  }
  return true;
}

}  // namespace OruMacSec
