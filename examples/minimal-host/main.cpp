// The smallest real host of the MACsec index manager: one chip layer, one agent, one logical FAP.
//
// It builds the shared state a forwarding agent works on (the logical FAPs with their interface
// sets, the MACsec status, the published index status), starts the index manager over it,
// switches MACsec on for a few interfaces, prints the records the manager published, then stops
// the agent and starts a new one over the same state: the records, and so the indexes the
// hardware was programmed with, stay as they were.
#include <cstdio>

#include "OruMacSec/OruMacSecIndexSm.h"
#include "TwoEngineChip.h"

namespace {

// The host's index manager: it hands each logical FAP its chip policy. A FAP keeps the object it
// is served with for as long as it is served (a new one would be refused); a FAP not served, or
// served anew by a new agent, gets a new one.
class Agent : public OruMacSec::IndexSm {
 public:
  using IndexSm::IndexSm;
  Nubis::Ptr<OruMacSec::IndexHelper> getIndexHelper(LogicalFap::LogicalFapId fapId) override {
    if (auto const served = indexFapSm(fapId)) {
      return served->indexHelper();
    }
    return Nubis::Ptr<OruMacSec::IndexHelper>(new TwoEngineChip(fapId));
  }
};

// Starting an agent: notifications on, then its start-up, which keeps what earlier agents
// published. Stopping it is dropping the last reference.
Nubis::Ptr<Agent> startAgent(Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> const& faps,
                             Nubis::Ptr<OruMacSec::IndexStatus> const& status,
                             Nubis::Ptr<Macsec::Status> const& macsec) {
  Nubis::Ptr<Agent> agent(new Agent(faps, status, macsec));
  agent->hasNotificationActiveIs(true);
  agent->handleInitialized();
  return agent;
}

// Walks a FAP's published egress records (key(): the interface, value(): the record) and reads
// each one's ingress partner. Iteration order carries no meaning.
void printRecords(OruMacSec::IndexStatus const& status, LogicalFap::LogicalFapId fapId) {
  auto const fap = status.indexFapStatus(fapId);
  std::printf("  interface      engine  egress SC  ingress SC  ingress SP  sub-port\n");
  for (auto egress = fap->esecIndexInfoIter(); egress; ++egress) {
    Portix::IntfId const intf = egress.key().intfId();
    OruMacSec::EsecIndexInfo const& record = egress.value();
    OruMacSec::IsecIndexInfo const ingress = fap->isecIndexInfo(egress.key());
    std::printf("  %-13s  %6u  %9u  %10u  %10u  %8u\n", Portix::valueToStrep(intf).c_str(),
                unsigned(record.engineInstance()), unsigned(record.esecScIndex().value()),
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

  // Interfaces are named by numbers: Ethernet<port>, or Ethernet<port>.<sub> (the text form
  // parses too: Portix::IntfId("Ethernet2.1")).
  Portix::IntfId const ethernet1 = Portix::IntfId::fromNumbers(1);
  Portix::IntfId const ethernet2 = Portix::IntfId::fromNumbers(2);
  Portix::IntfId const ethernet2dot1 = Portix::IntfId::fromNumbers(2, 1);
  Portix::IntfId const ethernet3 = Portix::IntfId::fromNumbers(3);

  LogicalFap::LogicalFapId const fapId(1);
  auto const interfaces = faps->logicalFapIs(fapId);
  for (Portix::IntfId const intf : {ethernet1, ethernet2, ethernet2dot1, ethernet3}) {
    interfaces->intfIdIs(intf);
  }
  for (Portix::IntfId const intf : {ethernet1, ethernet2dot1, ethernet3}) {
    macsec->cpStatusIs(intf);
  }
  // The FAP's entry announced again, as the agent that owns the collection may do: the FAP keeps
  // its policy object.
  agent->handleLogicalFapId(fapId);
  std::printf("published by the first agent:\n");
  printRecords(*status, fapId);

  // A restart: the agent goes, the shared state stays, a new agent rebuilds from it.
  agent = nullptr;
  agent = startAgent(faps, status, macsec);
  std::printf("after a restart:\n");
  printRecords(*status, fapId);
  return 0;
}
