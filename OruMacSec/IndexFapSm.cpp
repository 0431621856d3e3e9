// IndexFapSm: lifecycle, notifications and engine set-up.
#include "OruMacSec/IndexFapSm.h"

#include "OruMacSec/OruMacSecTrace.h"

namespace OruMacSec {

Nubis::Ptr<IndexFapSm> IndexFapSm::IndexFapSmIs(
    LogicalFap::LogicalFapId logicalFapId,
    Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const& intfIdCol,
    Nubis::Ptr<Macsec::Status const> const& macsecStatus,
    Nubis::Ptr<IndexFapStatus> const& indexFapStatus, Nubis::Ptr<IndexHelper> const& indexHelper) {
  Nubis::Ptr<IndexFapSm> machine(
      new IndexFapSm(logicalFapId, intfIdCol, macsecStatus, indexFapStatus, indexHelper));
  machine->hasNotificationActiveIs(true);
  return machine;
}

IndexFapSm::IndexFapSm(LogicalFap::LogicalFapId logicalFapId,
                       Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const& intfIdCol,
                       Nubis::Ptr<Macsec::Status const> const& macsecStatus,
                       Nubis::Ptr<IndexFapStatus> const& indexFapStatus,
                       Nubis::Ptr<IndexHelper> const& indexHelper)
    : logicalFapId_(logicalFapId),
      intfIdCol_(intfIdCol),
      macsecStatus_(macsecStatus),
      indexFapStatus_(indexFapStatus),
      indexHelper_(indexHelper),
      oruMacSecEngineResources_(*this, 135),
      intfIdColSlot_(*this),
      macsecStatusSlot_(*this) {
  follow(intfIdColSlot_, intfIdCol_.get(), intfIdColDispatch);
  follow(macsecStatusSlot_, macsecStatus_.get(), macsecStatusDispatch);
  handleInitialized();
}

IndexFapSm::~IndexFapSm() {
  hasNotificationActiveIs(false);
  vokDoZombieReactors(true);
  unfollow(intfIdColSlot_);
  unfollow(macsecStatusSlot_);
  oruMacSecEngineResources_.delAll();
  indexHelper_ = nullptr;
  indexFapStatus_ = nullptr;
  macsecStatus_ = nullptr;
  intfIdCol_ = nullptr;
}

Nubis::Ptr<EngineResources> IndexFapSm::oruMacSecEngineResourcesIs(U16 engineInstance) {
  return oruMacSecEngineResources_.findOrAdd(engineInstance, [engineInstance] {
    return Nubis::Ptr<EngineResources>(new EngineResources(engineInstance));
  });
}

void IndexFapSm::hasNotificationActiveIs(bool active) {
  if (hasNotificationActive() == active) {
    return;
  }
  nodeFlagSet(Nubis::NodeFlag::notificationActive, active);
  if (active) {
    follow(intfIdColSlot_, intfIdCol_.get(), intfIdColDispatch);
    follow(macsecStatusSlot_, macsecStatus_.get(), macsecStatusDispatch);
  } else {
    unfollow(intfIdColSlot_);
    unfollow(macsecStatusSlot_);
  }
}

void IndexFapSm::intfIdColDispatch(Nubis::Notification const& notification) {
  dispatchIntf(notification, LogicalFap::IntfIdOrderedCol::kIntfIdAttr);
}

void IndexFapSm::macsecStatusDispatch(Nubis::Notification const& notification) {
  dispatchIntf(notification, Macsec::Status::kCpStatusAttr);
}

// Both inputs are keyed by interface and lead to the same reconciliation of that interface.
void IndexFapSm::dispatchIntf(Nubis::Notification const& notification, Nubis::AttrId followed) {
  if (auto* const machine = dispatchTarget<IndexFapSm>(notification, followed)) {
    machine->handleIntf(notification.key.as<Portix::IntfId>());
  }
}

void IndexFapSm::handleInitialized() {
  ORU_TRACE(8, "");
  initializeEngineResources();
  initializeBookkeeping();
  handleIntf();
}

void IndexFapSm::initializeEngineResources() {
  ORU_TRACE(8, "");
  U16 const engineCount = indexHelper_->numEngineInstances();
  for (U16 engineInstance = 0; engineInstance < engineCount; ++engineInstance) {
    ORU_TRACE(4, " engine instance: {}", engineInstance);
    Nubis::Ptr<EngineResources> const engine = oruMacSecEngineResourcesIs(engineInstance);
    U16 const size = indexHelper_->isecDisabledIndex();
    engine->esecScIndexIs(Vok::String(tableName(EngineTable::kEsecSc)), size);
    engine->isecScIndexIs(Vok::String(tableName(EngineTable::kIsecSc)), size);
    engine->isecSpIndexIs(Vok::String(tableName(EngineTable::kIsecSp)), size);
    engine->msSubportNumIs(Vok::String(tableName(EngineTable::kMsSubport)), size);
    reserveDisabledIndexes(engineInstance);
  }
}

void IndexFapSm::reserveDisabledIndexes(U16 engineInstance) {
  ORU_TRACE(8, " engine instance: {}", engineInstance);
  Nubis::Ptr<EngineResources> const engineInstanceResources =
      oruMacSecEngineResources_.get(engineInstance);
  ORU_ASSERT(engineInstanceResources);
  U16 const isecDisabledIndex = indexHelper_->isecDisabledIndex();
  U16 const esecDisabledIndex = indexHelper_->esecDisabledIndex();
  // A refused reservation (index already booked) is only traced by the table.
  if (!indexHelper_->esecDisabledIndexPerPortRequired()) {
    ORU_ASSERT(engineInstanceResources->esecScIndex());
    engineInstanceResources->esecScIndex()->allocateIndex(esecDisabledIndex);
  }
  ORU_ASSERT(engineInstanceResources->isecSpIndex());
  engineInstanceResources->isecSpIndex()->allocateIndex(isecDisabledIndex);
  ORU_ASSERT(engineInstanceResources->msSubportNum());
  engineInstanceResources->msSubportNum()->allocateIndex(isecDisabledIndex);
}

void IndexFapSm::handleIntf() {
  ORU_TRACE(8, "");
  for (auto member = intfIdCol_->intfIdIter(); member; ++member) {
    handleIntf(*member);
  }
}

Nubis::Ptr<EngineResources> IndexFapSm::engineResourcesFor(Portix::IntfId intfId) const {
  Nubis::Ptr<EngineResources> engine =
      oruMacSecEngineResources_.get(indexHelper_->intfIdToEngineInstance(intfId));
  ORU_ASSERT(engine && "the chip policy names an engine instance that does not exist");
  return engine;
}

Nubis::TypeData const& IndexFapSm::typeData() const {
  static Nubis::TypeData const data{"OruMacSec::IndexFapSm"};
  return data;
}

}  // namespace OruMacSec
