// The logical FAPs of the switch and the interfaces of each: input state that other agents write.
//
// LogicalFapOrderedCol holds one IntfIdOrderedCol per logical FAP in its collection `logicalFap`;
// each IntfIdOrderedCol holds the FAP's interfaces in the ordered set `intfId`. Adding or removing
// a FAP notifies attribute `logicalFap` (130) of the collection with the FAP's id; adding or
// removing an interface notifies attribute `intfId` (131) of the FAP's set with the IntfId.
#pragma once

#include <cstddef>

#include "platform/LogicalFap/LogicalFapId.h"
#include "platform/Nubis/Collection.h"
#include "platform/Nubis/OrderedSet.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Nubis/Publisher.h"
#include "platform/Portix/IntfId.h"

namespace LogicalFap {

class IntfIdOrderedCol : public Nubis::Node {
 public:
  static constexpr Nubis::AttrId kLogicalFapIdAttr = 130;
  static constexpr Nubis::AttrId kIntfIdAttr = 131;

  explicit IntfIdOrderedCol(LogicalFapId logicalFapId)
      : logicalFapId_(logicalFapId), publisher_(*this), intfId_(*this, kIntfIdAttr) {}

  LogicalFapId logicalFapId() const { return logicalFapId_; }

  // The interface set, iterated in ascending IntfId order.
  bool intfIdHas(Portix::IntfId id) const { return intfId_.has(id); }
  std::size_t intfIdSize() const { return intfId_.size(); }
  Nubis::OrderedSet<Portix::IntfId>::Iterator intfIdIter() const { return intfId_.iter(); }
  void intfIdIs(Portix::IntfId id) { intfId_.add(id); }
  void intfIdDel(Portix::IntfId id) { intfId_.del(id); }
  void intfIdDelAll() { intfId_.delAll(); }

  Nubis::Publisher* publisher() const override { return &publisher_; }
  Nubis::TypeData const& typeData() const override;

 private:
  LogicalFapId const logicalFapId_;
  mutable Nubis::Publisher publisher_;
  Nubis::OrderedSet<Portix::IntfId> intfId_;
};

class LogicalFapOrderedCol : public Nubis::Node {
 public:
  static constexpr Nubis::AttrId kLogicalFapAttr = 130;

  LogicalFapOrderedCol() : publisher_(*this), logicalFap_(*this, kLogicalFapAttr) {}

  bool logicalFapHas(LogicalFapId id) const { return logicalFap_.has(id); }
  // The FAP's interface set, or null when the FAP does not exist.
  Nubis::Ptr<IntfIdOrderedCol> logicalFap(LogicalFapId id) const { return logicalFap_.get(id); }
  std::size_t logicalFapSize() const { return logicalFap_.size(); }
  using LogicalFapIterator =
      Nubis::Collection<LogicalFapId, Nubis::Ptr<IntfIdOrderedCol>>::Iterator;
  LogicalFapIterator logicalFapIter() const { return logicalFap_.iter(); }

  // Creates the FAP with an empty interface set, or returns the existing one.
  Nubis::Ptr<IntfIdOrderedCol> logicalFapIs(LogicalFapId id);
  Nubis::Ptr<IntfIdOrderedCol> logicalFapDel(LogicalFapId id) { return logicalFap_.del(id); }
  void logicalFapDelAll() { logicalFap_.delAll(); }

  Nubis::Publisher* publisher() const override { return &publisher_; }
  Nubis::TypeData const& typeData() const override;

 private:
  mutable Nubis::Publisher publisher_;
  Nubis::Collection<LogicalFapId, Nubis::Ptr<IntfIdOrderedCol>> logicalFap_;
};

}  // namespace LogicalFap
