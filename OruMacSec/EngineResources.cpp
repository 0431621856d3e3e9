#include "OruMacSec/EngineResources.h"

namespace OruMacSec {

EngineResources::~EngineResources() {
  esecScIndex_ = nullptr;
  isecScIndex_ = nullptr;
  isecSpIndex_ = nullptr;
  msSubportNum_ = nullptr;
}

Nubis::Ptr<TableResources> const& EngineResources::table(EngineTable table) const {
  switch (table) {
    case EngineTable::kEsecSc:
      return esecScIndex_;
    case EngineTable::kIsecSc:
      return isecScIndex_;
    case EngineTable::kIsecSp:
      return isecSpIndex_;
    case EngineTable::kMsSubport:
      break;
  }
  return msSubportNum_;
}

Nubis::Ptr<TableResources> EngineResources::tableIs(Nubis::Ptr<TableResources>& table,
                                                    Vok::String const& name, U16 maxIndex) {
  if (!table || table->maxIndex() != maxIndex || table->name() != name) {
    table = Nubis::Ptr<TableResources>(new TableResources(name, maxIndex));
  }
  return table;
}

Nubis::TypeData const& EngineResources::typeData() const {
  static Nubis::TypeData const data{"OruMacSec::EngineResources"};
  return data;
}

}  // namespace OruMacSec
