// The invariants of index management, checked against a running agent: what must hold whenever
// no handler runs, whatever happened before, with any chip policy that keeps its duties. Each
// check returns the problems it found as sentences (none when all is well), so that a test of any
// framework can report them.
#pragma once

#include <string>
#include <vector>

#include "OruMacSec/OruMacSecIndexSm.h"

namespace OruMacSec::testing {

// One served FAP: its records come in egress/ingress pairs on one engine (the policy's) and name
// no unused or invalid index; within each engine no entry is named twice (reserved disabled
// indexes included) and each table books exactly the named entries; the per-port count of served
// subinterfaces agrees with the records; on a dynamic chip an interface holds records only while
// its port is in the set and it has MACsec; disabled entries exist only on per-port chips, for
// ports without an egress record of their own.
std::vector<std::string> checkFap(IndexFapSm const& machine);

// The whole agent: a FAP is served, with published status, exactly when it is in the collection,
// and every served FAP passes checkFap.
std::vector<std::string> checkAgent(IndexSm const& agent);

}  // namespace OruMacSec::testing
