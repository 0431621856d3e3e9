// The entries of a logical FAP's engine tables that its published status and chip policy account
// for: what a reader of the records alone (a monitor, a tool over a copy of the state) knows an
// agent serving the FAP books.
//
// Every engine's tables hold the chip's reserved disabled indexes (the ingress one in the ingress
// secure-policy and sub-port tables; the shared egress one in the egress table, unless the chip
// gives each port an egress disabled entry of its own) and one entry per table for each record,
// on the engine the policy gives the record's interface (the record's own engine field is not
// read, as an agent's rebuild after a restart does not read it). While an agent serves the FAP,
// its tables book exactly these entries, each once; a table counts as full once it holds
// `maxIndex` entries (the chip's ingress disabled index).
#pragma once

#include "OruMacSec/IndexHelper.h"
#include "OruMacSec/types/EngineTable.h"
#include "OruMacSec/types/IndexFapStatus.h"

namespace OruMacSec {

// Calls visit(engine, table, index) for each entry `status` and `policy` account for: first the
// reserved disabled indexes of engines 0 to numEngineInstances() - 1, then each record's entries.
// An entry named twice is visited twice; the order of the records carries no meaning. An engine
// number may be one the policy does not have (a policy that breaks its duties).
template <class Visit>
void forEachNamedEntry(IndexFapStatus const& status, IndexHelper const& policy, Visit&& visit) {
  for (U16 engine = 0; engine < policy.numEngineInstances(); ++engine) {
    if (!policy.esecDisabledIndexPerPortRequired()) {
      visit(engine, EngineTable::kEsecSc, policy.esecDisabledIndex());
    }
    visit(engine, EngineTable::kIsecSp, policy.isecDisabledIndex());
    visit(engine, EngineTable::kMsSubport, policy.isecDisabledIndex());
  }
  auto const engineOf = [&](SecIntfId id) { return policy.intfIdToEngineInstance(id.intfId()); };
  for (auto record = status.esecIndexInfoIter(); record; ++record) {
    visit(engineOf(record.key()), EngineTable::kEsecSc, record->esecScIndex().value());
  }
  for (auto record = status.isecIndexInfoIter(); record; ++record) {
    for (EngineTable const table : kEngineTables) {
      if (!isEgressTable(table)) {
        visit(engineOf(record.key()), table, ingressIndex(*record, table).value());
      }
    }
  }
  for (auto record = status.esecLoopbackDisabledIndexInfoIter(); record; ++record) {
    visit(engineOf(record.key()), EngineTable::kEsecSc, record->esecScIndex().value());
  }
}

// Whether `intf`, taking indexes now, would first take its port's egress disabled entry: on a chip
// with an egress disabled entry per port, a subinterface whose port has neither that entry nor an
// egress record of its own. Such a subinterface needs two free egress entries.
inline bool needsEsecDisabledEntry(IndexFapStatus const& status, IndexHelper const& policy,
                                   Portix::IntfId intf) {
  if (!policy.esecDisabledIndexPerPortRequired() || !Portix::SubIntfId::isSubIntfId(intf)) {
    return false;
  }
  // An existing disabled entry is shared by all subinterfaces; a port with its own egress record
  // needs none.
  SecIntfId const port(Portix::SubIntfId::parentIntfId(intf));
  return !status.esecLoopbackDisabledIndexInfoHas(port) && !status.esecIndexInfoHas(port);
}

}  // namespace OruMacSec
