// The smallest real host of the MACsec index manager: one chip layer, one agent, one logical FAP.
//
// It builds the shared state a forwarding agent works on (the logical FAPs with their interface
// sets, the MACsec status, the published index status), starts the index manager over it,
// switches MACsec on for a few interfaces, prints the records the manager published, then stops
// the agent and starts a new one over the same state: the records, and so the indexes the
// hardware was programmed with, stay as they were.
#include <cstdio>
#include <string>

#include "OruMacSec/OruMacSecIndexSm.h"

namespace {

// The chip layer: a chip with two engines of 64-entry tables; even ports on engine 0, odd ports
// on engine 1 (a port and its subinterfaces share an engine), the lowest free entry for each
// interface, and one egress disabled index shared by all ports.
class TwoEngineChip : public OruMacSec::IndexHelper {
 public:
  explicit TwoEngineChip(LogicalFap::LogicalFapId fapId)
      : IndexHelper(fapId, /*isecDisabledIndex=*/64, /*esecDisabledIndex=*/64) {}

  U16 numEngineInstances() const override { return 2; }
  U16 intfIdToEngineInstance(Portix::IntfId intfId) const override {
    return U16(intfId.portNumber() % 2);
  }
  bool useStaticIndexAllocation() const override { return false; }
  U16 staticIndex(Portix::IntfId) const override {
    return OruMacSec::TableIndex::invalid().value();
  }
  bool esecDisabledIndexPerPortRequired() const override { return false; }
};

// The host's index manager: it hands each logical FAP its chip layer.
class Agent : public OruMacSec::IndexSm {
 public:
  using IndexSm::IndexSm;
  Nubis::Ptr<OruMacSec::IndexHelper> getIndexHelper(LogicalFap::LogicalFapId fapId) override {
    return Nubis::Ptr<OruMacSec::IndexHelper>(new TwoEngineChip(fapId));
  }
};

Nubis::Ptr<Agent> startAgent(Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> const& faps,
                             Nubis::Ptr<OruMacSec::IndexStatus> const& status,
                             Nubis::Ptr<Macsec::Status> const& macsec) {
  Nubis::Ptr<Agent> agent(new Agent(faps, status, macsec));
  agent->hasNotificationActiveIs(true);
  agent->handleInitialized();
  return agent;
}

void printRecords(OruMacSec::IndexStatus const& status, LogicalFap::LogicalFapId fapId) {
  auto const fap = status.indexFapStatus(fapId);
  std::printf("  interface      engine  egress SC  ingress SC  ingress SP  sub-port\n");
  for (auto egress = fap->esecIndexInfoIter(); egress; ++egress) {
    OruMacSec::IsecIndexInfo const ingress = fap->isecIndexInfo(egress.key());
    std::printf("  %-13s  %6u  %9u  %10u  %10u  %8u\n",
                Portix::valueToStrep(egress.key().intfId()).c_str(),
                unsigned(egress->engineInstance()), unsigned(egress->esecScIndex().value()),
                unsigned(ingress.isecScIndex().value()), unsigned(ingress.isecSpIndex().value()),
                unsigned(ingress.msSubportNum().value()));
  }
}

}  // namespace

int main() {
  // The shared state: owned by the host, outliving any agent.
  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> faps(new LogicalFap::LogicalFapOrderedCol);
  Nubis::Ptr<OruMacSec::IndexStatus> status(new OruMacSec::IndexStatus);
  Nubis::Ptr<Macsec::Status> macsec(new Macsec::Status);

  Nubis::Ptr<Agent> agent = startAgent(faps, status, macsec);

  LogicalFap::LogicalFapId const fapId(1);
  auto const interfaces = faps->logicalFapIs(fapId);
  for (char const* name : {"Ethernet1", "Ethernet2", "Ethernet2.1", "Ethernet3"}) {
    interfaces->intfIdIs(Portix::IntfId(name));
  }
  for (char const* name : {"Ethernet1", "Ethernet2.1", "Ethernet3"}) {
    macsec->cpStatusIs(Portix::IntfId(name));
  }
  std::printf("published by the first agent:\n");
  printRecords(*status, fapId);

  // A restart: the agent goes, the shared state stays, a new agent rebuilds from it.
  agent = nullptr;
  agent = startAgent(faps, status, macsec);
  std::printf("after a restart:\n");
  printRecords(*status, fapId);
  return 0;
}
