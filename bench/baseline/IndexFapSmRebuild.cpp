// IndexFapSm: rebuilding the tables' bookkeeping from the published status at start-up.
//
// The tables' allocated sets do not survive a restart of the agent; the published records do.
// Booking every published index again before any interface is reconciled is what lets the
// interfaces keep their indexes: reconciliation then finds them already served.
#include "OruMacSec/OruMacSecTrace.h"
#include "bench/baseline/IndexFapSm.h"

namespace OruMacSecBaseline {

void IndexFapSm::initializeBookkeeping() {
  ORU_TRACE(8, "");
  // The stale-status cleanup that runs before any FAP starts leaves no unpaired record.
  for (auto iter = indexFapStatus_->esecIndexInfoIter(); iter; ++iter) {
    // clang-format off
    ORU_ASSERT(indexFapStatus()->isecIndexInfoHas( iter.key() ));
    // clang-format on
    IsecIndexInfo const isecInfo = indexFapStatus_->isecIndexInfo(iter.key());
    addIntfToBookkeeping(iter.key().intfId(), iter.value(), isecInfo);
  }
  // Disabled entries after all interface records; a refused booking (an index named twice) is
  // only traced by the table, and the index stays booked once.
  for (auto iter = indexFapStatus_->esecLoopbackDisabledIndexInfoIter(); iter; ++iter) {
    Nubis::Ptr<EngineResources> const engine = engineResourcesFor(iter.key().intfId());
    engine->esecScIndex()->allocateIndex(iter.value().esecScIndex().value());
  }
}

}  // namespace OruMacSecBaseline
