// The switch the benchmarks run on: logical FAPs with their ports and MACsec subinterfaces, built
// for either design of the per-FAP state machine (the component's, or the baseline's).
#pragma once

#include <string>
#include <vector>

#include "OruMacSec/OruMacSecIndexSm.h"

namespace bench {

// Two engines (ports by number modulo 2), tables of the largest size a chip may have.
class BenchPolicy : public OruMacSec::IndexHelper {
 public:
  BenchPolicy(LogicalFap::LogicalFapId id, bool perPort)
      : IndexHelper(id, kTableSize, kTableSize), perPort_(perPort) {}

  static constexpr U16 kTableSize = 65533;

  U16 intfIdToEngineInstance(Portix::IntfId id) const override { return U16(id.portNumber() % 2); }
  U16 numEngineInstances() const override { return 2; }
  bool useStaticIndexAllocation() const override { return false; }
  U16 staticIndex(Portix::IntfId) const override { return 0; }
  bool esecDisabledIndexPerPortRequired() const override { return perPort_; }

 private:
  bool const perPort_;
};

inline Portix::IntfId port(std::uint32_t n) {
  return Portix::IntfId::fromNumbers(n);
}
inline Portix::IntfId sub(std::uint32_t n, std::uint32_t m) {
  return Portix::IntfId::fromNumbers(n, m);
}

// FAP `fapId` owns `ports` ports from `firstPort` on, each with `subsPerPort` subinterfaces that
// run MACsec.
struct FapLayout {
  U16 fapId;
  std::uint32_t firstPort;
  std::uint32_t ports;
  std::uint32_t subsPerPort;
};

// Shared state of the switch and the per-FAP state machines of one design.
template <class FapSm>
struct World {
  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> faps{new LogicalFap::LogicalFapOrderedCol};
  Nubis::Ptr<Macsec::Status> macsec{new Macsec::Status};
  Nubis::Ptr<OruMacSec::IndexStatus> status{new OruMacSec::IndexStatus};
  std::vector<Nubis::Ptr<FapSm>> machines;
  std::vector<Nubis::Ptr<OruMacSec::IndexHelper>> policies;

  // Enters the inputs of one FAP (its ports in its set, MACsec on every subinterface).
  void addInputs(FapLayout const& layout) {
    auto const set = faps->logicalFapIs(LogicalFap::LogicalFapId(layout.fapId));
    for (std::uint32_t p = layout.firstPort; p < layout.firstPort + layout.ports; ++p) {
      set->intfIdIs(port(p));
      for (std::uint32_t m = 1; m <= layout.subsPerPort; ++m) {
        macsec->cpStatusIs(sub(p, m));
      }
    }
  }

  // Starts the FAP's state machine over the current inputs and published status.
  Nubis::Ptr<FapSm> start(U16 fapId, bool perPort) {
    LogicalFap::LogicalFapId const id(fapId);
    Nubis::Ptr<OruMacSec::IndexHelper> const policy(new BenchPolicy(id, perPort));
    auto const published =
        status->indexFapStatusIs(id, 2, BenchPolicy::kTableSize, BenchPolicy::kTableSize);
    auto machine = FapSm::IndexFapSmIs(id, faps->logicalFap(id), macsec, published, policy);
    machines.push_back(machine);
    policies.push_back(policy);
    return machine;
  }

  // A switch of four FAPs: FAP 1 with `subinterfaces` MACsec subinterfaces on 64 ports, FAPs 2
  // to 4 with 256 each on ports of their own.
  static constexpr std::uint32_t kPorts = 64;
  void buildFourFaps(std::uint32_t subinterfaces, bool perPort) {
    addInputs({1, 1, kPorts, subinterfaces / kPorts});
    for (U16 f = 2; f <= 4; ++f) {
      addInputs({f, 1000u * f, 16, 16});
    }
    for (U16 f = 1; f <= 4; ++f) {
      start(f, perPort);
    }
  }
};

}  // namespace bench
