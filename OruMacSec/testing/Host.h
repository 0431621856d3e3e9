// A host of the index manager for tests, by the project and by authors of a host or a chip layer:
// the shared state a forwarding agent works on, and an agent whose chip layer is a factory of
// policies.
//
// The shared state (the logical FAPs with their interface sets, the MACsec status and the
// published index status) outlives any agent, as it does on a switch; an agent is built over it,
// started, and stopped by destroying it.
#pragma once

#include <functional>
#include <map>

#include "OruMacSec/OruMacSecIndexSm.h"

namespace OruMacSec::testing {

// Makes the chip policy of one logical FAP. A host asks it again only for a FAP it does not serve.
using PolicyFactory = std::function<Nubis::Ptr<IndexHelper>(LogicalFap::LogicalFapId)>;

// An IndexSm whose chip layer is a policy factory. It hands out one policy object per FAP for as
// long as the FAP is served, as every host must, and a new one from the factory when the FAP is
// served anew (it joined the collection again, or this agent starts).
class PolicyIndexSm : public IndexSm {
 public:
  PolicyIndexSm(Nubis::Ptr<LogicalFap::LogicalFapOrderedCol const> const& faps,
                Nubis::Ptr<IndexStatus> const& status,
                Nubis::Ptr<Macsec::Status const> const& macsec, PolicyFactory factory);

  // The policy a served FAP is served with. For a FAP not served, the policy it will be served
  // with: made by the factory on the first call, the same object on later calls, so that a test
  // may examine it before the agent acts on it.
  Nubis::Ptr<IndexHelper> getIndexHelper(LogicalFap::LogicalFapId logicalFapId) override;
  // Serves or stops serving the FAP, as IndexSm does. A policy made for the FAP beforehand is then
  // either the one it is served with or dropped.
  void handleLogicalFapId(LogicalFap::LogicalFapId logicalFapId) override;
  using IndexSm::handleLogicalFapId;

 private:
  PolicyFactory factory_;
  std::map<U16, Nubis::Ptr<IndexHelper>> unserved_;
};

// The shared state of a switch and, while one runs, the agent over it.
struct Host {
  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol> faps{new LogicalFap::LogicalFapOrderedCol};
  Nubis::Ptr<Macsec::Status> macsec{new Macsec::Status};
  Nubis::Ptr<IndexStatus> status{new IndexStatus};
  Nubis::Ptr<PolicyIndexSm> agent;

  // Replaces the agent by a new one over the shared state, with its policies from `factory`. The
  // new agent follows the FAP collection but serves no FAP until it is started.
  void build(PolicyFactory factory);
  // Starts the agent last built, as a host does: notifications on, then its start-up, which keeps
  // the indexes published by earlier agents.
  void start();
  // Stops the agent by destroying it; the shared state, published status included, stays.
  void stop() { agent = nullptr; }
};

}  // namespace OruMacSec::testing
