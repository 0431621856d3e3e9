#include "platform/LogicalFap/LogicalFap.h"

#include <ostream>

namespace LogicalFap {

std::ostream& operator<<(std::ostream& out, LogicalFapId id) {
  return out << id.value();
}

Nubis::TypeData const& IntfIdOrderedCol::typeData() const {
  static Nubis::TypeData const data{"LogicalFap::IntfIdOrderedCol"};
  return data;
}

Nubis::Ptr<IntfIdOrderedCol> LogicalFapOrderedCol::logicalFapIs(LogicalFapId id) {
  return logicalFap_.findOrAdd(
      id, [id] { return Nubis::Ptr<IntfIdOrderedCol>(new IntfIdOrderedCol(id)); });
}

Nubis::TypeData const& LogicalFapOrderedCol::typeData() const {
  static Nubis::TypeData const data{"LogicalFap::LogicalFapOrderedCol"};
  return data;
}

}  // namespace LogicalFap
