// The chip policy of one logical FAP: the facts about the MACsec hardware that index management
// cannot know by itself. A chip-specific layer derives from it; IndexSm's derivation hands out one
// object per logical FAP through getIndexHelper.
//
// What a derivation must honour:
// - intfIdToEngineInstance gives an engine below numEngineInstances(), maps a port and all its
//   subinterfaces to the same engine, and does not change its answer for an interface while the
//   interface holds indexes (release asks again). An engine that does not exist stops the process.
// - numEngineInstances(), isecDisabledIndex and esecDisabledIndex do not change while the FAP's
//   published status exists (they are its constructor values). 0 engines is allowed.
// - isecDisabledIndex is also the size (maxIndex) of every table of every engine of the FAP.
// - With useStaticIndexAllocation(), staticIndex gives each interface of an engine its own index,
//   within 0..isecDisabledIndex and apart from the reserved disabled indexes.
#pragma once

#include "platform/LogicalFap/LogicalFapId.h"
#include "platform/Nubis/Node.h"
#include "platform/Portix/IntfId.h"
#include "platform/Vok/Types.h"

namespace OruMacSec {

class IndexHelper : public Nubis::Node {
 public:
  // Note the order: ingress disabled index first, egress second.
  IndexHelper(LogicalFap::LogicalFapId logicalFapId, U16 isecDisabledIndex, U16 esecDisabledIndex)
      : logicalFapId_(logicalFapId),
        isecDisabledIndex_(isecDisabledIndex),
        esecDisabledIndex_(esecDisabledIndex) {}

  LogicalFap::LogicalFapId logicalFapId() const { return logicalFapId_; }
  // The ingress disabled index, reserved in the ingress secure-policy and sub-port tables of every
  // engine, and the size of every table.
  U16 isecDisabledIndex() const { return isecDisabledIndex_; }
  // The shared egress disabled index, reserved in every engine's egress table unless each port
  // needs one of its own.
  U16 esecDisabledIndex() const { return esecDisabledIndex_; }

  // The engine instance whose tables serve `intfId`.
  virtual U16 intfIdToEngineInstance(Portix::IntfId intfId) const = 0;
  // The number of MACsec engine instances of the FAP.
  virtual U16 numEngineInstances() const = 0;
  // True when every interface has a fixed index (staticIndex) instead of the lowest free one.
  virtual bool useStaticIndexAllocation() const = 0;
  // The fixed index of `intfId` in all four tables of its engine; asked only for static chips.
  virtual U16 staticIndex(Portix::IntfId intfId) const = 0;
  // True when every port needs an egress disabled index of its own while subinterfaces of it hold
  // indexes and it holds none; false when the shared esecDisabledIndex serves all ports.
  virtual bool esecDisabledIndexPerPortRequired() const = 0;

  // The port of a subinterface; any other interface unchanged.
  Portix::IntfId getParentIntfId(Portix::IntfId intfId) const {
    return Portix::SubIntfId::isSubIntfId(intfId) ? Portix::SubIntfId::parentIntfId(intfId)
                                                  : intfId;
  }

 private:
  LogicalFap::LogicalFapId const logicalFapId_;
  U16 const isecDisabledIndex_;
  U16 const esecDisabledIndex_;
};

}  // namespace OruMacSec
