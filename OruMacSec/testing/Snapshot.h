// What index management keeps, copied out at one moment: per logical FAP, its published facts and
// records and, while an agent serves it, the entries booked in each table of each engine.
//
// Two snapshots taken around an event tell what the event changed; the checks below compare them.
// The canonical texts are equal for two switches exactly when they publish the same indexes and
// will hand out the same ones next.
#pragma once

#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "OruMacSec/OruMacSecIndexSm.h"
#include "OruMacSec/types/EngineTable.h"

namespace OruMacSec::testing {

struct FapSnapshot {
  // The published facts.
  U16 engines = 0;
  U16 esecDisabledIndex = 0;
  U16 isecDisabledIndex = 0;
  // The published records, by interface; `disabled` holds the ports' egress disabled entries.
  std::map<Portix::IntfId, EsecIndexInfo> egress;
  std::map<Portix::IntfId, IsecIndexInfo> ingress;
  std::map<Portix::IntfId, EsecIndexInfo> disabled;
  // While served: the policy's kind of chip, and per engine the entries booked in each table (in
  // the order of kEngineTables).
  bool served = false;
  bool staticChip = false;
  bool sharedDisabledIndex = false;
  std::map<U16, std::array<std::set<U16>, kEngineTables.size()>> booked;
};

struct Snapshot {
  std::map<U16, FapSnapshot> faps;

  // The published status and, when `agent` is not null, what it books for the FAPs it serves.
  static Snapshot of(IndexStatus const& status, IndexSm const* agent);

  // Sorted lines, one per published fact or record ("fap 1 Ethernet2 egress 0 engine 1").
  std::string publishedText() const;
  // Sorted lines, one per engine of a served FAP with its booked entries per table.
  std::string bookedText() const;
};

// Whether a dynamic chip handed out the lowest free entry each time during the events between the
// two snapshots: in every table of every dynamic FAP served after them, no entry below a newly
// booked one was free both before and after (reserved disabled indexes are not handed out). One
// sentence per entry that breaks it.
std::vector<std::string> checkLowestFree(Snapshot const& before, Snapshot const& after);

// Whether a restart between the snapshots kept the records of every interface that is still a
// member of its FAP's set, with its port: they are published unchanged after it. One sentence per
// interface that lost or changed its records.
std::vector<std::string> checkRestartKept(Snapshot const& before, Snapshot const& after,
                                          LogicalFap::LogicalFapOrderedCol const& faps);

}  // namespace OruMacSec::testing
