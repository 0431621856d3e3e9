// The top-level MACsec index state machine, the object a host agent creates.
//
// It follows the collection of logical FAPs and keeps, for every FAP in it, the FAP's published
// IndexFapStatus and its IndexFapSm, which does the index work of that FAP. A FAP that disappears
// loses its state machine first, then its published status with all records.
//
// The host derives it, implementing getIndexHelper, constructs it with the FAP collection, the
// published IndexStatus root and the MACsec status, calls handleInitialized() once, and destroys it
// (drops the last reference) to stop. Starting removes published status that no longer matches the
// input, then serves every FAP present, keeping the indexes published by an earlier run. Stopping
// switches notifications off, destroys the per-FAP state machines and leaves the published status
// untouched. Everything runs on the reactor thread.
//
// What getIndexHelper must honour: it is called for FAPs present in the collection and returns a
// non-null policy for that FAP; for one FAP it returns the same object for as long as the FAP's
// IndexFapSm exists (another object stops the process with the reinstantiation error).
#pragma once

#include <cstddef>

#include "OruMacSec/IndexFapSm.h"
#include "OruMacSec/IndexHelper.h"
#include "OruMacSec/types/IndexStatus.h"
#include "platform/LogicalFap/LogicalFap.h"
#include "platform/Macsec/Status.h"
#include "platform/Nubis/Collection.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Nubis/StateMachine.h"
#include "platform/Vok/Error.h"

namespace OruMacSec {

class IndexSm : public Nubis::StateMachine {
 public:
  using FapSmCollection = Nubis::Collection<LogicalFap::LogicalFapId, Nubis::Ptr<IndexFapSm>>;

  // Subscribes to `logicalFapCol` (when not null); notifications flow from here on, whether or not
  // hasNotificationActiveIs(true) is called. handleInitialized() and everything after it need all
  // three references.
  IndexSm(Nubis::Ptr<LogicalFap::LogicalFapOrderedCol const> const& logicalFapCol,
          Nubis::Ptr<IndexStatus> const& indexStatus,
          Nubis::Ptr<Macsec::Status const> const& macsecStatus);
  ~IndexSm() override;

  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol const> const& logicalFapCol() const {
    return logicalFapCol_;
  }
  Nubis::Ptr<IndexStatus> const& indexStatus() const { return indexStatus_; }
  Nubis::Ptr<Macsec::Status const> const& macsecStatus() const { return macsecStatus_; }

  // The chip policy of a FAP present in the collection; supplied by the chip-specific layer.
  virtual Nubis::Ptr<IndexHelper> getIndexHelper(LogicalFap::LogicalFapId logicalFapId) = 0;

  // Serves FAP `logicalFapId` if it is present in the collection (a FAP already served is left as
  // it is), or stops serving it and removes its published status if it is not.
  virtual void handleLogicalFapId(LogicalFap::LogicalFapId logicalFapId);
  // Handles every FAP present in the collection.
  void handleLogicalFapId();
  // Removes published status that no longer matches the input: the status of FAPs that are gone,
  // records of interfaces that are not themselves in their FAP's set, and unpaired records.
  // Disabled entries of ports are kept.
  void cleanupStaleStatus();
  // The start hook: the cleanup, then every FAP present.
  void handleInitialized();

  // The per-FAP state machines; lookup of a FAP not served gives null.
  Nubis::Ptr<IndexFapSm> indexFapSm(LogicalFap::LogicalFapId logicalFapId) const {
    return indexFapSm_.get(logicalFapId);
  }
  bool indexFapSmHas(LogicalFap::LogicalFapId logicalFapId) const {
    return indexFapSm_.has(logicalFapId);
  }
  std::size_t indexFapSmSize() const { return indexFapSm_.size(); }
  FapSmCollection::Iterator indexFapSmIter() const { return indexFapSm_.iter(); }
  // Returns the FAP's state machine, creating, starting and activating it when absent. An existing
  // one made from other inputs or another policy object raises Vok::MutatorReinstantiatingError.
  Nubis::Ptr<IndexFapSm> indexFapSmIs(
      LogicalFap::LogicalFapId logicalFapId,
      Nubis::Ptr<LogicalFap::IntfIdOrderedCol const> const& intfIdCol,
      Nubis::Ptr<Macsec::Status const> const& macsecStatus,
      Nubis::Ptr<IndexFapStatus> const& indexFapStatus, Nubis::Ptr<IndexHelper> const& indexHelper);
  // Removes the FAP's state machine and returns it (null when absent); it is destroyed when the
  // caller drops it.
  Nubis::Ptr<IndexFapSm> indexFapSmDel(LogicalFap::LogicalFapId logicalFapId) {
    return indexFapSm_.del(logicalFapId);
  }
  void indexFapSmDelAll() { indexFapSm_.delAll(); }

  // Switches the subscription to the FAP collection on or off, then passes the value on to every
  // IndexFapSm; nothing when the flag already has the value.
  void hasNotificationActiveIs(bool active);

  Nubis::TypeData const& typeData() const override;

 private:
  static constexpr char const kTraceClass[] = "IndexSm";

  static void logicalFapColDispatch(Nubis::Notification const& notification);

  Nubis::Ptr<LogicalFap::LogicalFapOrderedCol const> logicalFapCol_;
  Nubis::Ptr<IndexStatus> indexStatus_;
  Nubis::Ptr<Macsec::Status const> macsecStatus_;
  FapSmCollection indexFapSm_;
  Nubis::Subscriber logicalFapColSlot_;
};

}  // namespace OruMacSec
