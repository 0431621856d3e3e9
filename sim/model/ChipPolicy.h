// The simulator's chip policies: what the scenario's `chip` lines configure per logical FAP.
//
// Engine of an interface: its port number modulo the engine count, so a port and its
// subinterfaces share an engine. Static index of EthernetN.M (M = 0 for the port):
// ((N - 1) div engines) * 16 + M, unique per engine for M up to 15. An interface whose index
// would be a subinterface number above 15, reach the table size (the reserved ingress disabled
// index) or hit the shared egress disabled index gets 65535, which the index manager refuses as
// beyond its tables.
#pragma once

#include <string>

#include "OruMacSec/IndexHelper.h"

namespace sim {

struct ChipSettings {
  U16 engines = 1;         // kMinEngines to kMaxEngines
  U16 isecDisabled = 255;  // the ingress disabled index, also the largest index of every table
  U16 esecDisabled = 255;
  bool perPortDisabled = false;
  bool staticAllocation = false;

  friend bool operator==(ChipSettings const& a, ChipSettings const& b) {
    return a.engines == b.engines && a.isecDisabled == b.isecDisabled &&
           a.esecDisabled == b.esecDisabled && a.perPortDisabled == b.perPortDisabled &&
           a.staticAllocation == b.staticAllocation;
  }
  friend bool operator!=(ChipSettings const& a, ChipSettings const& b) { return !(a == b); }
};

// What is wrong with `settings` (an engine count or ingress disabled index beyond the limits of
// Limits.h), or an empty text.
std::string chipSettingsProblem(ChipSettings const& settings);

class ChipPolicy : public OruMacSec::IndexHelper {
 public:
  static constexpr std::uint32_t kStaticStride = 16;

  // `settings` must have no problem.
  ChipPolicy(LogicalFap::LogicalFapId fapId, ChipSettings const& settings);

  U16 intfIdToEngineInstance(Portix::IntfId intfId) const override;
  U16 numEngineInstances() const override { return settings_.engines; }
  bool useStaticIndexAllocation() const override { return settings_.staticAllocation; }
  U16 staticIndex(Portix::IntfId intfId) const override;
  bool esecDisabledIndexPerPortRequired() const override { return settings_.perPortDisabled; }

 private:
  ChipSettings const settings_;
};

}  // namespace sim
