// The MACsec status of the interfaces: input state that the MACsec agent writes.
//
// An interface has MACsec enabled exactly when the collection `cpStatus` holds an entry for it;
// what the entry holds does not matter to index management. Adding or removing an entry notifies
// attribute `cpStatus` (259) with the IntfId. The collection iterates in ascending IntfId order,
// so the subinterfaces of a port are found right after the port (cpStatusIterFrom).
#pragma once

#include <cstddef>

#include "platform/Nubis/OrderedCollection.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Nubis/Publisher.h"
#include "platform/Portix/IntfId.h"

namespace Macsec {

// The control-plane status of MACsec on one interface.
class CpStatus : public Nubis::Node {
 public:
  explicit CpStatus(Portix::IntfId intfId) : intfId_(intfId) {}
  Portix::IntfId intfId() const { return intfId_; }
  Nubis::TypeData const& typeData() const override;

 private:
  Portix::IntfId const intfId_;
};

class Status : public Nubis::Node {
 public:
  static constexpr Nubis::AttrId kCpStatusAttr = 259;

  Status() : publisher_(*this), cpStatus_(*this, kCpStatusAttr) {}

  bool cpStatusHas(Portix::IntfId id) const { return cpStatus_.has(id); }
  Nubis::Ptr<CpStatus> cpStatus(Portix::IntfId id) const { return cpStatus_.get(id); }
  std::size_t cpStatusSize() const { return cpStatus_.size(); }
  using CpStatusIterator = Nubis::OrderedCollection<Portix::IntfId, Nubis::Ptr<CpStatus>>::Iterator;
  CpStatusIterator cpStatusIter() const { return cpStatus_.iter(); }
  // A walk from the first interface not less than `from` on.
  CpStatusIterator cpStatusIterFrom(Portix::IntfId from) const { return cpStatus_.iterFrom(from); }

  // Creates the interface's entry, or returns the existing one.
  Nubis::Ptr<CpStatus> cpStatusIs(Portix::IntfId id);
  Nubis::Ptr<CpStatus> cpStatusDel(Portix::IntfId id) { return cpStatus_.del(id); }
  void cpStatusDelAll() { cpStatus_.delAll(); }

  Nubis::Publisher* publisher() const override { return &publisher_; }
  Nubis::TypeData const& typeData() const override;

 private:
  mutable Nubis::Publisher publisher_;
  Nubis::OrderedCollection<Portix::IntfId, Nubis::Ptr<CpStatus>> cpStatus_;
};

}  // namespace Macsec
