// IndexSm: removing published status that no longer matches the input, at start.
//
// What an earlier run of the agent published is found again after a restart. Before any FAP's
// state machine rebuilds its bookkeeping from it, whatever the input no longer justifies goes, so
// that the rebuild sees only records of interfaces still in their FAP, each with its partner.
// Removals are silent.
#include "OruMacSec/IndexSm.h"
#include "OruMacSec/OruMacSecTrace.h"

namespace OruMacSec {

namespace {

// Walks one record collection and removes each record whose interface is not itself a member of
// the FAP's set (a subinterface's records stay only if the subinterface is, not merely its port),
// and each record whose partner in the other collection is missing.
template <class Iterator, class Remove, class HasPartner>
void removeStaleRecords(Iterator record, LogicalFap::IntfIdOrderedCol const& members,
                        Remove const& remove, HasPartner const& hasPartner) {
  for (; record; ++record) {
    SecIntfId const key = record.key();
    if (!members.intfIdHas(key.intfId())) {
      remove(key);
    }
    if (!hasPartner(key)) {
      remove(key);
    }
  }
}

}  // namespace

void IndexSm::cleanupStaleStatus() {
  ORU_TRACE(8, "");
  // Both passes delete entries of the collections they walk; the iterators survive that.
  for (auto fap = indexStatus_->indexFapStatusIter(); fap; ++fap) {
    LogicalFap::LogicalFapId const logicalFapId = fap.value()->logicalFapId();
    if (!logicalFapCol_->logicalFapHas(logicalFapId)) {
      indexStatus_->indexFapStatusDel(logicalFapId);
    }
  }
  for (auto fap = indexStatus_->indexFapStatusIter(); fap; ++fap) {
    IndexFapStatus& status = *fap.value();
    Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const intfIdCol =
        logicalFapCol_->logicalFap(status.logicalFapId());
    removeStaleRecords(
        status.esecIndexInfoIter(), *intfIdCol,
        [&status](SecIntfId key) { status.esecIndexInfoDel(key); },
        [&status](SecIntfId key) { return status.isecIndexInfoHas(key); });
    // After the egress walk, so that an ingress record whose partner just went goes too.
    removeStaleRecords(
        status.isecIndexInfoIter(), *intfIdCol,
        [&status](SecIntfId key) { status.isecIndexInfoDel(key); },
        [&status](SecIntfId key) { return status.esecIndexInfoHas(key); });
  }
}

}  // namespace OruMacSec
