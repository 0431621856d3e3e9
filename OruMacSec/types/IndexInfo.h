// The published index records of one interface: its egress record (EsecIndexInfo) and its ingress
// record (IsecIndexInfo). Both are value records keyed by the interface, with their fields in the
// order and widths the hardware-programming code reads. Records compare equal field by field.
//
// EsecIndexInfo also serves a port's egress disabled entry: a further entry of the same engine's
// egress secure-channel table.
#pragma once

#include <iosfwd>

#include "OruMacSec/types/SecIntfId.h"
#include "OruMacSec/types/TableIndex.h"
#include "platform/Vok/Types.h"

namespace OruMacSec {

class EsecIndexInfo {
 public:
  // A record with no interface and no index chosen.
  EsecIndexInfo() = default;
  EsecIndexInfo(SecIntfId secIntfId, TableIndex esecScIndex, U16 engineInstance)
      : secIntfId_(secIntfId), esecScIndex_(esecScIndex), engineInstance_(engineInstance) {}

  SecIntfId secIntfId() const { return secIntfId_; }
  // Index in the egress secure-channel table.
  TableIndex esecScIndex() const { return esecScIndex_; }
  // The engine instance whose tables hold the index.
  U16 engineInstance() const { return engineInstance_; }

  friend bool operator==(EsecIndexInfo const& a, EsecIndexInfo const& b) {
    return a.secIntfId_ == b.secIntfId_ && a.esecScIndex_ == b.esecScIndex_ &&
           a.engineInstance_ == b.engineInstance_;
  }
  friend bool operator!=(EsecIndexInfo const& a, EsecIndexInfo const& b) { return !(a == b); }

 private:
  SecIntfId secIntfId_;
  TableIndex esecScIndex_;
  U16 engineInstance_ = 0;
};

class IsecIndexInfo {
 public:
  // A record with no interface and no index chosen.
  IsecIndexInfo() = default;
  IsecIndexInfo(SecIntfId secIntfId, TableIndex isecSpIndex, TableIndex msSubportNum,
                TableIndex isecScIndex, U16 engineInstance)
      : secIntfId_(secIntfId),
        isecSpIndex_(isecSpIndex),
        msSubportNum_(msSubportNum),
        isecScIndex_(isecScIndex),
        engineInstance_(engineInstance) {}

  SecIntfId secIntfId() const { return secIntfId_; }
  // Index in the ingress secure-policy table.
  TableIndex isecSpIndex() const { return isecSpIndex_; }
  // Index in the sub-port policy table: the interface's MACsec sub-port number.
  TableIndex msSubportNum() const { return msSubportNum_; }
  // Index in the ingress secure-channel table.
  TableIndex isecScIndex() const { return isecScIndex_; }
  // The engine instance whose tables hold the indexes.
  U16 engineInstance() const { return engineInstance_; }

  friend bool operator==(IsecIndexInfo const& a, IsecIndexInfo const& b) {
    return a.secIntfId_ == b.secIntfId_ && a.isecSpIndex_ == b.isecSpIndex_ &&
           a.msSubportNum_ == b.msSubportNum_ && a.isecScIndex_ == b.isecScIndex_ &&
           a.engineInstance_ == b.engineInstance_;
  }
  friend bool operator!=(IsecIndexInfo const& a, IsecIndexInfo const& b) { return !(a == b); }

 private:
  SecIntfId secIntfId_;
  TableIndex isecSpIndex_;
  TableIndex msSubportNum_;
  TableIndex isecScIndex_;
  U16 engineInstance_ = 0;
};

// Field-by-field text forms, for test failure messages and tools.
std::ostream& operator<<(std::ostream& out, EsecIndexInfo const& info);
std::ostream& operator<<(std::ostream& out, IsecIndexInfo const& info);

}  // namespace OruMacSec
