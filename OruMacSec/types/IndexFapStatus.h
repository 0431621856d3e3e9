// The published index status of one logical FAP.
//
// It holds the FAP's engine count and its two disabled indexes (fixed when the entry is created),
// and three record collections: the egress and ingress records of every interface that holds
// indexes, and the egress disabled entries of ports. Records are stored under the key they carry.
// Every change of a collection is announced with the attribute's identifier and the key, for the
// code that programs the hardware. Iteration order carries no meaning; iterators survive deletion.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "OruMacSec/types/IndexInfo.h"
#include "OruMacSec/types/SecIntfId.h"
#include "platform/LogicalFap/LogicalFapId.h"
#include "platform/Nubis/Collection.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/Publisher.h"
#include "platform/Portix/IntfId.h"
#include "platform/Vok/Types.h"

namespace OruMacSec {

class IndexFapStatus : public Nubis::Node {
 public:
  static constexpr Nubis::AttrId kEsecIndexInfoAttr = 134;
  static constexpr Nubis::AttrId kIsecIndexInfoAttr = 135;
  static constexpr Nubis::AttrId kEsecLoopbackDisabledIndexInfoAttr = 136;

  using EsecCollection = Nubis::Collection<SecIntfId, EsecIndexInfo>;
  using IsecCollection = Nubis::Collection<SecIntfId, IsecIndexInfo>;

  IndexFapStatus(LogicalFap::LogicalFapId logicalFapId, U16 numEngineInstances,
                 U16 esecDisabledIndex, U16 isecDisabledIndex);

  LogicalFap::LogicalFapId logicalFapId() const { return logicalFapId_; }
  U16 numEngineInstances() const { return numEngineInstances_; }
  U16 esecDisabledIndex() const { return esecDisabledIndex_; }
  U16 isecDisabledIndex() const { return isecDisabledIndex_; }

  // Egress records of the interfaces that hold indexes. Lookup of a missing key gives a default
  // record (no interface, no index).
  bool esecIndexInfoHas(SecIntfId id) const { return esecIndexInfo_.has(id); }
  EsecIndexInfo esecIndexInfo(SecIntfId id) const { return esecIndexInfo_.get(id); }
  std::size_t esecIndexInfoSize() const { return esecIndexInfo_.size(); }
  EsecCollection::Iterator esecIndexInfoIter() const { return esecIndexInfo_.iter(); }
  void esecIndexInfoIs(EsecIndexInfo const& info);
  void esecIndexInfoDel(SecIntfId id);
  void esecIndexInfoDelAll();
  // How many subinterfaces of `port` hold an egress record: derived from the keys, so that a
  // writer learns in constant time whether a port still has a served subinterface.
  std::uint32_t esecIndexInfoSubIntfCount(Portix::IntfId port) const;

  // Ingress records of the same interfaces.
  bool isecIndexInfoHas(SecIntfId id) const { return isecIndexInfo_.has(id); }
  IsecIndexInfo isecIndexInfo(SecIntfId id) const { return isecIndexInfo_.get(id); }
  std::size_t isecIndexInfoSize() const { return isecIndexInfo_.size(); }
  IsecCollection::Iterator isecIndexInfoIter() const { return isecIndexInfo_.iter(); }
  void isecIndexInfoIs(IsecIndexInfo const& info) { isecIndexInfo_.set(info.secIntfId(), info); }
  void isecIndexInfoDel(SecIntfId id) { isecIndexInfo_.del(id); }
  void isecIndexInfoDelAll() { isecIndexInfo_.delAll(); }

  // Ports that hold an egress disabled entry, with that entry.
  bool esecLoopbackDisabledIndexInfoHas(SecIntfId id) const {
    return esecLoopbackDisabledIndexInfo_.has(id);
  }
  EsecIndexInfo esecLoopbackDisabledIndexInfo(SecIntfId id) const {
    return esecLoopbackDisabledIndexInfo_.get(id);
  }
  std::size_t esecLoopbackDisabledIndexInfoSize() const {
    return esecLoopbackDisabledIndexInfo_.size();
  }
  EsecCollection::Iterator esecLoopbackDisabledIndexInfoIter() const {
    return esecLoopbackDisabledIndexInfo_.iter();
  }
  void esecLoopbackDisabledIndexInfoIs(EsecIndexInfo const& info) {
    esecLoopbackDisabledIndexInfo_.set(info.secIntfId(), info);
  }
  void esecLoopbackDisabledIndexInfoDel(SecIntfId id) { esecLoopbackDisabledIndexInfo_.del(id); }
  void esecLoopbackDisabledIndexInfoDelAll() { esecLoopbackDisabledIndexInfo_.delAll(); }

  Nubis::Publisher* publisher() const override { return &publisher_; }
  Nubis::TypeData const& typeData() const override;

 private:
  LogicalFap::LogicalFapId const logicalFapId_;
  U16 const numEngineInstances_;
  U16 const esecDisabledIndex_;
  U16 const isecDisabledIndex_;
  mutable Nubis::Publisher publisher_;
  EsecCollection esecIndexInfo_;
  // Subinterfaces holding egress records, counted per port (ports without any are absent).
  std::unordered_map<Portix::IntfId, std::uint32_t> esecSubIntfCount_;
  IsecCollection isecIndexInfo_;
  EsecCollection esecLoopbackDisabledIndexInfo_;
};

}  // namespace OruMacSec
