#include "OruMacSec/testing/Host.h"

#include <utility>

namespace OruMacSec::testing {

PolicyIndexSm::PolicyIndexSm(Nubis::Ptr<LogicalFap::LogicalFapOrderedCol const> const& faps,
                             Nubis::Ptr<IndexStatus> const& status,
                             Nubis::Ptr<Macsec::Status const> const& macsec, PolicyFactory factory)
    : IndexSm(faps, status, macsec), factory_(std::move(factory)) {}

Nubis::Ptr<IndexHelper> PolicyIndexSm::getIndexHelper(LogicalFap::LogicalFapId logicalFapId) {
  // A served FAP keeps the object it is served with: another one would be refused.
  if (auto const machine = indexFapSm(logicalFapId)) {
    return machine->indexHelper();
  }
  auto& next = unserved_[logicalFapId.value()];
  if (!next) {
    next = factory_(logicalFapId);
  }
  return next;
}

void PolicyIndexSm::handleLogicalFapId(LogicalFap::LogicalFapId logicalFapId) {
  IndexSm::handleLogicalFapId(logicalFapId);
  unserved_.erase(logicalFapId.value());
}

void Host::build(PolicyFactory factory) {
  // The old agent goes first, so that two agents never follow the same state.
  agent = nullptr;
  agent = Nubis::Ptr<PolicyIndexSm>(new PolicyIndexSm(faps, status, macsec, std::move(factory)));
}

void Host::start() {
  agent->hasNotificationActiveIs(true);
  agent->handleInitialized();
}

}  // namespace OruMacSec::testing
