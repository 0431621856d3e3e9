#include "platform/Macsec/Status.h"

namespace Macsec {

Nubis::TypeData const& CpStatus::typeData() const {
  static Nubis::TypeData const data{"Macsec::CpStatus"};
  return data;
}

Nubis::Ptr<CpStatus> Status::cpStatusIs(Portix::IntfId id) {
  return cpStatus_.findOrAdd(id, [id] { return Nubis::Ptr<CpStatus>(new CpStatus(id)); });
}

Nubis::TypeData const& Status::typeData() const {
  static Nubis::TypeData const data{"Macsec::Status"};
  return data;
}

}  // namespace Macsec
