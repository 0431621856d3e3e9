// The root of the published index status: one IndexFapStatus per logical FAP served.
//
// The published status belongs to the shared state, not to the state machines that write it: it
// outlives them, and a state machine started later finds what an earlier one published.
#pragma once

#include <cstddef>

#include "OruMacSec/types/IndexFapStatus.h"
#include "platform/LogicalFap/LogicalFapId.h"
#include "platform/Nubis/Collection.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Nubis/Publisher.h"
#include "platform/Vok/Types.h"

namespace OruMacSec {

class IndexStatus : public Nubis::Node {
 public:
  static constexpr Nubis::AttrId kIndexFapStatusAttr = 130;

  using FapCollection = Nubis::Collection<LogicalFap::LogicalFapId, Nubis::Ptr<IndexFapStatus>>;

  IndexStatus() : publisher_(*this), indexFapStatus_(*this, kIndexFapStatusAttr) {}

  bool indexFapStatusHas(LogicalFap::LogicalFapId id) const { return indexFapStatus_.has(id); }
  // The FAP's status, or null.
  Nubis::Ptr<IndexFapStatus> indexFapStatus(LogicalFap::LogicalFapId id) const {
    return indexFapStatus_.get(id);
  }
  std::size_t indexFapStatusSize() const { return indexFapStatus_.size(); }
  FapCollection::Iterator indexFapStatusIter() const { return indexFapStatus_.iter(); }

  // Creates the FAP's status with these constructor values when absent. When present, returns the
  // existing entry unchanged, with all its records, whatever values are passed.
  Nubis::Ptr<IndexFapStatus> indexFapStatusIs(LogicalFap::LogicalFapId id, U16 numEngineInstances,
                                              U16 esecDisabledIndex, U16 isecDisabledIndex);
  // Removes the FAP's status with all its records; returns it (null when absent).
  Nubis::Ptr<IndexFapStatus> indexFapStatusDel(LogicalFap::LogicalFapId id) {
    return indexFapStatus_.del(id);
  }
  void indexFapStatusDelAll() { indexFapStatus_.delAll(); }

  Nubis::Publisher* publisher() const override { return &publisher_; }
  Nubis::TypeData const& typeData() const override;

 private:
  mutable Nubis::Publisher publisher_;
  FapCollection indexFapStatus_;
};

}  // namespace OruMacSec
