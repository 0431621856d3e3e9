// The four hardware tables of one MACsec engine instance, and whether the engine has run out of
// entries.
//
// An index is meaningful only together with its engine: each engine has its own egress
// secure-channel table (esecScIndex), ingress secure-channel table (isecScIndex), ingress
// secure-policy table (isecSpIndex) and sub-port policy table (msSubportNum). The tables are
// shared references: a caller may hold one for the duration of a call.
#pragma once

#include "OruMacSec/TableResources.h"
#include "OruMacSec/types/EngineTable.h"
#include "platform/Nubis/Node.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Vok/Types.h"

namespace OruMacSec {

class EngineResources : public Nubis::Node {
 public:
  // No tables yet, not full.
  explicit EngineResources(U16 engineInstance) : engineInstance_(engineInstance) {}
  // Releases the tables in the order egress SC, ingress SC, ingress SP, sub-port.
  ~EngineResources() override;

  U16 engineInstance() const { return engineInstance_; }

  // For each table x: x() reads it (may be null); xIs(name, maxIndex) returns the table held if it
  // has exactly this name and size, with its allocations, and otherwise replaces it with a new,
  // empty one (the old table's allocations are not carried over); xDel() hands the table to the
  // caller and leaves the attribute null.
  Nubis::Ptr<TableResources> const& esecScIndex() const { return esecScIndex_; }
  Nubis::Ptr<TableResources> esecScIndexIs(Vok::String const& name, U16 maxIndex) {
    return tableIs(esecScIndex_, name, maxIndex);
  }
  Nubis::Ptr<TableResources> esecScIndexDel() { return std::move(esecScIndex_); }

  Nubis::Ptr<TableResources> const& isecScIndex() const { return isecScIndex_; }
  Nubis::Ptr<TableResources> isecScIndexIs(Vok::String const& name, U16 maxIndex) {
    return tableIs(isecScIndex_, name, maxIndex);
  }
  Nubis::Ptr<TableResources> isecScIndexDel() { return std::move(isecScIndex_); }

  Nubis::Ptr<TableResources> const& isecSpIndex() const { return isecSpIndex_; }
  Nubis::Ptr<TableResources> isecSpIndexIs(Vok::String const& name, U16 maxIndex) {
    return tableIs(isecSpIndex_, name, maxIndex);
  }
  Nubis::Ptr<TableResources> isecSpIndexDel() { return std::move(isecSpIndex_); }

  Nubis::Ptr<TableResources> const& msSubportNum() const { return msSubportNum_; }
  Nubis::Ptr<TableResources> msSubportNumIs(Vok::String const& name, U16 maxIndex) {
    return tableIs(msSubportNum_, name, maxIndex);
  }
  Nubis::Ptr<TableResources> msSubportNumDel() { return std::move(msSubportNum_); }

  // The table attribute that holds `table` (the attribute named above, may be null).
  Nubis::Ptr<TableResources> const& table(EngineTable table) const;

  // True while the engine is known to have run out of entries. Not published.
  bool hwResourcesFull() const { return hwResourcesFull_; }
  void hwResourcesFullIs(bool full) { hwResourcesFull_ = full; }

  Nubis::TypeData const& typeData() const override;

 private:
  static Nubis::Ptr<TableResources> tableIs(Nubis::Ptr<TableResources>& table,
                                            Vok::String const& name, U16 maxIndex);

  U16 const engineInstance_;
  Nubis::Ptr<TableResources> esecScIndex_;
  Nubis::Ptr<TableResources> isecScIndex_;
  Nubis::Ptr<TableResources> isecSpIndex_;
  Nubis::Ptr<TableResources> msSubportNum_;
  bool hwResourcesFull_ = false;
};

}  // namespace OruMacSec
