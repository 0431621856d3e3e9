// The index state machine of one logical FAP.
//
// It owns the tables of the FAP's engine instances, follows the FAP's interface set and the MACsec
// status of all interfaces, and keeps the FAP's published index records in line with them: every
// interface whose port is in the set and that runs MACsec (or every interface whose port is in the
// set, on a chip with fixed indexes) holds one entry in each of the four tables of its engine,
// published as its egress and ingress records; every other interface holds none. On chips that need
// them, a port whose subinterfaces hold indexes while it holds none gets an egress disabled entry.
//
// Construction runs the whole start-up: the engines' tables are made and the disabled indexes
// reserved, every index named by the published records (left by an earlier run) is booked again,
// and every member of the interface set is reconciled in ascending order. Only then does the
// factory switch notifications on. Destruction frees nothing one by one and leaves the published
// records as they are: they outlive the state machine.
//
// All of it runs on the reactor thread. The operations below the lifecycle ones are the state
// machine's steps; the host does not call them, they are public for tests and tools.
#pragma once

#include <cstddef>

#include "OruMacSec/EngineResources.h"
#include "OruMacSec/IndexHelper.h"
#include "OruMacSec/types/IndexFapStatus.h"
#include "OruMacSec/types/IndexInfo.h"
#include "OruMacSec/types/TableIndex.h"
#include "platform/LogicalFap/LogicalFap.h"
#include "platform/Macsec/Status.h"
#include "platform/Nubis/Collection.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Nubis/StateMachine.h"
#include "platform/Portix/IntfId.h"

namespace OruMacSec {

class IndexFapSm : public Nubis::StateMachine {
 public:
  using EngineCollection = Nubis::Collection<U16, Nubis::Ptr<EngineResources>>;

  // Constructs the state machine (running its start-up) and switches its notifications on.
  static Nubis::Ptr<IndexFapSm> IndexFapSmIs(
      LogicalFap::LogicalFapId logicalFapId,
      Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const& intfIdCol,
      Nubis::Ptr<Macsec::Status const> const& macsecStatus,
      Nubis::Ptr<IndexFapStatus> const& indexFapStatus, Nubis::Ptr<IndexHelper> const& indexHelper);

  // Subscribes to the non-null inputs and runs the start-up; notifications stay off.
  // `intfIdCol`, `indexFapStatus` and `indexHelper` must not be null.
  IndexFapSm(LogicalFap::LogicalFapId logicalFapId,
             Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const& intfIdCol,
             Nubis::Ptr<Macsec::Status const> const& macsecStatus,
             Nubis::Ptr<IndexFapStatus> const& indexFapStatus,
             Nubis::Ptr<IndexHelper> const& indexHelper);
  ~IndexFapSm() override;

  LogicalFap::LogicalFapId logicalFapId() const { return logicalFapId_; }
  Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const& intfIdCol() const { return intfIdCol_; }
  Nubis::Ptr<Macsec::Status const> const& macsecStatus() const { return macsecStatus_; }
  Nubis::Ptr<IndexFapStatus> const& indexFapStatus() const { return indexFapStatus_; }
  Nubis::Ptr<IndexHelper> const& indexHelper() const { return indexHelper_; }

  // One EngineResources per engine instance, keyed by its number; lookup of a missing engine
  // gives null. After start-up it holds exactly the engines 0 to numEngineInstances() - 1.
  Nubis::Ptr<EngineResources> oruMacSecEngineResources(U16 engineInstance) const {
    return oruMacSecEngineResources_.get(engineInstance);
  }
  bool oruMacSecEngineResourcesHas(U16 engineInstance) const {
    return oruMacSecEngineResources_.has(engineInstance);
  }
  std::size_t oruMacSecEngineResourcesSize() const { return oruMacSecEngineResources_.size(); }
  EngineCollection::Iterator oruMacSecEngineResourcesIter() const {
    return oruMacSecEngineResources_.iter();
  }
  // Returns the engine's entry, creating it (no tables, not full) when absent.
  Nubis::Ptr<EngineResources> oruMacSecEngineResourcesIs(U16 engineInstance);
  Nubis::Ptr<EngineResources> oruMacSecEngineResourcesDel(U16 engineInstance) {
    return oruMacSecEngineResources_.del(engineInstance);
  }
  void oruMacSecEngineResourcesDelAll() { oruMacSecEngineResources_.delAll(); }

  // Switches the subscriptions to both inputs on or off; nothing when the flag already has the
  // value. Subscriptions made at construction are not made twice.
  void hasNotificationActiveIs(bool active);

  // --- Start-up ---

  // Engine set-up, bookkeeping rebuild, then the sweep over the interface set.
  void handleInitialized();
  // Makes the four tables of engines 0 to numEngineInstances() - 1, in ascending order, each sized
  // by the policy's isecDisabledIndex, and reserves each engine's disabled indexes before the next
  // engine is made.
  void initializeEngineResources();
  // Reserves the ingress disabled index in the ingress secure-policy and sub-port tables and, when
  // ports share one egress disabled index, that index in the egress table.
  void reserveDisabledIndexes(U16 engineInstance);
  // Books every index named by the published records (interface records first, then ports'
  // disabled entries) in the tables of the engine the policy gives now. Publishes nothing. Every
  // egress record must have its ingress partner.
  void initializeBookkeeping();
  // Reconciles every member of the interface set in ascending order. A member added or removed
  // meanwhile does not disturb the walk: it goes on with the first member above the one handled.
  void handleIntf();

  // --- Reconciliation ---

  // Brings the records of `intfId` in line with its inputs (port in the set, MACsec status, static
  // chip); for a port, then re-examines its subinterfaces that have a MACsec status. Calling it
  // again with unchanged inputs changes nothing.
  void handleIntf(Portix::IntfId intfId);
  // Reconciles every subinterface of `parentIntfId` that has a MACsec status. `parentIntfId` must
  // be a port.
  void updateAllSubIntfIndexes(Portix::IntfId parentIntfId);
  // Whether some subinterface of the port of `intfId` holds a published egress record.
  bool hasAllocatedSubinterface(Portix::IntfId intfId);

  // --- Allocation and release ---

  // Gives `intfId` the lowest free entry of each of the four tables of its engine and publishes
  // its records, egress first; or, when a table is full, publishes nothing, marks the engine full
  // and raises MACSEC_INTERFACE_HW_RESOURCE_FULL. Nothing when both records exist.
  void allocateIndexesForIntf(Portix::IntfId intfId);
  // Books the policy's fixed index in all four tables and publishes both records with it. Nothing
  // when both records exist. An index beyond the tables' largest index is refused (traced at level
  // 1, nothing published); an index already booked is refused by each table that holds it (traced)
  // and published all the same: keeping static indexes unique is the chip policy's duty.
  void allocateStaticIndexesForIntf(Portix::IntfId intfId);
  // Frees the entries named by the records of `intfId` (only entries that an existing record
  // names) and removes both records; then keeps the port's egress disabled entry in line.
  void deallocateIndexesForIntf(Portix::IntfId intfId);
  // Marks the four entries the records name as in use in the engine serving `intfId`; an entry
  // already in use stays so, and the others are still booked.
  void addIntfToBookkeeping(Portix::IntfId intfId, EsecIndexInfo const& esecInfo,
                            IsecIndexInfo const& isecInfo);
  // Marks them free again (a record that does not name `intfId`, as a missing one, names no
  // entry), and ends the engine's full state with MACSEC_INTERFACE_HW_RESOURCE_NORMAL.
  void removeIntfFromBookkeeping(Portix::IntfId intfId, EsecIndexInfo const& esecInfo,
                                 IsecIndexInfo const& isecInfo);

  // --- Egress disabled entries (chips that need one per port) ---

  // For a subinterface being allocated: unused() when its port needs no disabled entry (it has one,
  // or an egress record of its own); invalid() when the egress table cannot hold both the port's
  // disabled entry and the subinterface's own (nothing changed); otherwise the port's disabled
  // entry has been taken and published, and the result is the free egress entry the subinterface
  // is to take as its own (not yet booked).
  TableIndex maybeAllocateEsecDisabledIndex(Portix::IntfId intfId);
  // Whether giving `intfId` its entries takes an egress disabled entry for its port first, and so
  // two entries of the egress table: on chips that need one per port, for a subinterface whose
  // port holds neither its own egress record nor a disabled entry.
  bool needsEsecDisabledIndex(Portix::IntfId intfId) const;
  // Gives port `intfId` the lowest free egress entry as its disabled entry and publishes it.
  void addIntfToEsecLoopbackDisabledIndexInfo(Portix::IntfId intfId);
  // Frees the disabled entry of port `intfId`, which must have one, and removes its record.
  void removeIntfFromEsecLoopbackDisabledIndexInfo(Portix::IntfId intfId);

  Nubis::TypeData const& typeData() const override;

 private:
  static constexpr char const kTraceClass[] = "IndexFapSm";

  static void intfIdColDispatch(Nubis::Notification const& notification);
  static void macsecStatusDispatch(Nubis::Notification const& notification);
  static void dispatchIntf(Nubis::Notification const& notification, Nubis::AttrId followed);

  // The engine that serves `intfId` by the policy's answer now; the engine must exist.
  Nubis::Ptr<EngineResources> engineResourcesFor(Portix::IntfId intfId) const;

  LogicalFap::LogicalFapId const logicalFapId_;
  Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> intfIdCol_;
  Nubis::Ptr<Macsec::Status const> macsecStatus_;
  Nubis::Ptr<IndexFapStatus> indexFapStatus_;
  Nubis::Ptr<IndexHelper> indexHelper_;
  EngineCollection oruMacSecEngineResources_;
  Nubis::Subscriber intfIdColSlot_;
  Nubis::Subscriber macsecStatusSlot_;
};

}  // namespace OruMacSec
