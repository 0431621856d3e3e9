// The duties of a chip policy that the index manager relies on and does not check itself, checked
// against the policy's own answers before the manager acts on them.
//
// A policy that breaks one of them makes the manager publish entries twice, book them in the wrong
// engine or stop the process deep inside a notification handler; checked here first, a broken duty
// is reported with its name and the answers that break it.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "OruMacSec/OruMacSecIndexSm.h"

namespace OruMacSec::testing {

// The facts a policy states about its chip.
struct ChipFacts {
  U16 engines = 0;
  U16 isecDisabledIndex = 0;
  U16 esecDisabledIndex = 0;
  bool staticChip = false;
  bool perPortDisabled = false;

  static ChipFacts of(IndexHelper const& policy);
  friend bool operator==(ChipFacts const& a, ChipFacts const& b);
  friend bool operator!=(ChipFacts const& a, ChipFacts const& b) { return !(a == b); }
  // "2 engines, ingress disabled index 6, egress disabled index 6, dynamic, shared disabled index"
  std::string text() const;
};

// The inputs of one logical FAP as they will be when the manager acts.
struct FapInputs {
  std::set<Portix::IntfId> members;
  std::set<Portix::IntfId> macsec;
};

// A duty the policy breaks, and how.
struct Breach {
  std::string duty;
  std::string detail;
};

// Checks the answers `policy` gives for FAP `fap` with these inputs, the FAP's published status
// (null when it has none) and the facts fixed for it while its status exists (none when it has
// no status yet). The duties, in the order checked:
// - "a policy describes the FAP it is made for": logicalFapId() is `fap`;
// - "the chip's facts stay fixed while its status exists": engine count, disabled indexes, static
//   or dynamic, shared or per-port disabled entries, as `fixed`;
// - "disabled indexes inside the tables": the ingress disabled index, which sizes every table, at
//   most TableIndex::max(); a shared egress disabled index at most the ingress one;
// - "an engine instance that exists", for every interface that may hold indexes or holds them, and
//   every port with a disabled entry;
// - "a port and its subinterfaces share an engine";
// - "an interface keeps its engine while it holds indexes" (as published), and a port while it
//   holds a disabled entry;
// - on static chips, "a static index stays as published" for every interface holding indexes,
//   "static indexes apart from the disabled indexes" and "static indexes unique per engine" for
//   every index inside the tables.
std::optional<Breach> checkDuties(IndexHelper const& policy, LogicalFap::LogicalFapId fap,
                                  FapInputs const& inputs, IndexFapStatus const* published,
                                  std::optional<ChipFacts> const& fixed);

}  // namespace OruMacSec::testing
