#include "OruMacSec/IndexSm.h"

#include <fmt/format.h>

#include "OruMacSec/OruMacSecTrace.h"
#include "platform/Vok/Error.h"

namespace OruMacSec {

IndexSm::IndexSm(Nubis::Ptr<LogicalFap::LogicalFapOrderedCol const> const& logicalFapCol,
                 Nubis::Ptr<IndexStatus> const& indexStatus,
                 Nubis::Ptr<Macsec::Status const> const& macsecStatus)
    : logicalFapCol_(logicalFapCol),
      indexStatus_(indexStatus),
      macsecStatus_(macsecStatus),
      indexFapSm_(*this, 133),
      logicalFapColSlot_(*this) {
  follow(logicalFapColSlot_, logicalFapCol_.get(), logicalFapColDispatch);
}

IndexSm::~IndexSm() {
  hasNotificationActiveIs(false);
  vokDoZombieReactors(true);
  unfollow(logicalFapColSlot_);
  indexFapSm_.delAll();
  macsecStatus_ = nullptr;
  indexStatus_ = nullptr;
  logicalFapCol_ = nullptr;
}

void IndexSm::handleInitialized() {
  ORU_TRACE(8, "");
  cleanupStaleStatus();
  handleLogicalFapId();
}

void IndexSm::handleLogicalFapId() {
  ORU_TRACE(8, "");
  for (auto entry = logicalFapCol_->logicalFapIter(); entry; ++entry) {
    handleLogicalFapId(entry.value()->logicalFapId());
  }
}

void IndexSm::handleLogicalFapId(LogicalFap::LogicalFapId logicalFapId) {
  ORU_TRACE(8, " logicalFapId: {}", logicalFapId);
  Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const intfIdCol =
      logicalFapCol_->logicalFap(logicalFapId);
  if (!intfIdCol) {
    // The state machine goes first (it stops following its inputs), then the published status.
    indexFapSmDel(logicalFapId);
    indexStatus_->indexFapStatusDel(logicalFapId);
    return;
  }
  Nubis::Ptr<IndexHelper> const indexHelper = getIndexHelper(logicalFapId);
  ORU_ASSERT(indexHelper && "getIndexHelper gives a chip policy for every FAP present");
  Nubis::Ptr<IndexFapStatus> const indexFapStatus = indexStatus_->indexFapStatusIs(
      logicalFapId, indexHelper->numEngineInstances(), indexHelper->esecDisabledIndex(),
      indexHelper->isecDisabledIndex());
  indexFapSmIs(logicalFapId, intfIdCol, macsecStatus_, indexFapStatus, indexHelper);
}

namespace {

std::string describe(Nubis::Node const* node) {
  if (node == nullptr) {
    return "null";
  }
  return fmt::format("{} at {}", node->typeData().name, static_cast<void const*>(node));
}

}  // namespace

Nubis::Ptr<IndexFapSm> IndexSm::indexFapSmIs(
    LogicalFap::LogicalFapId logicalFapId,
    Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const& intfIdCol,
    Nubis::Ptr<Macsec::Status const> const& macsecStatus,
    Nubis::Ptr<IndexFapStatus> const& indexFapStatus, Nubis::Ptr<IndexHelper> const& indexHelper) {
  Nubis::Ptr<IndexFapSm> existing = indexFapSm_.get(logicalFapId);
  if (!existing) {
    Nubis::Ptr<IndexFapSm> created = IndexFapSm::IndexFapSmIs(logicalFapId, intfIdCol, macsecStatus,
                                                              indexFapStatus, indexHelper);
    indexFapSm_.set(logicalFapId, created);
    return created;
  }
  struct Argument {
    char const* name;
    Nubis::Node const* existing;
    Nubis::Node const* given;
  };
  Argument const arguments[] = {
      {"intfIdCol", existing->intfIdCol().get(), intfIdCol.get()},
      {"macsecStatus", existing->macsecStatus().get(), macsecStatus.get()},
      {"indexFapStatus", existing->indexFapStatus().get(), indexFapStatus.get()},
      {"indexHelper", existing->indexHelper().get(), indexHelper.get()},
  };
  for (Argument const& argument : arguments) {
    if (argument.existing != argument.given) {
      Vok::Impl::throwMutatorReinstantiating("IndexFapSm", argument.name,
                                             fmt::format("IndexFapSm of logical FAP {} ({})",
                                                         logicalFapId, describe(argument.existing)),
                                             describe(argument.given));
    }
  }
  return existing;
}

void IndexSm::hasNotificationActiveIs(bool active) {
  if (hasNotificationActive() == active) {
    return;
  }
  nodeFlagSet(Nubis::NodeFlag::notificationActive, active);
  if (active) {
    follow(logicalFapColSlot_, logicalFapCol_.get(), logicalFapColDispatch);
  } else {
    unfollow(logicalFapColSlot_);
  }
  for (auto machine = indexFapSm_.iter(); machine; ++machine) {
    machine.value()->hasNotificationActiveIs(active);
  }
}

void IndexSm::logicalFapColDispatch(Nubis::Notification const& notification) {
  auto* const machine =
      dispatchTarget<IndexSm>(notification, LogicalFap::LogicalFapOrderedCol::kLogicalFapAttr);
  if (machine != nullptr) {
    machine->handleLogicalFapId(notification.key.as<LogicalFap::LogicalFapId>());
  }
}

Nubis::TypeData const& IndexSm::typeData() const {
  static Nubis::TypeData const data{"OruMacSec::IndexSm"};
  return data;
}

}  // namespace OruMacSec
