#include "sim/store/RecordJson.h"

namespace sim {

namespace {

std::string name(OruMacSec::SecIntfId id) {
  return Portix::valueToStrep(id.intfId());
}

}  // namespace

nlohmann::json egressJson(OruMacSec::EsecIndexInfo const& record) {
  return {{"interface", name(record.secIntfId())},
          {"esec-sc", record.esecScIndex().value()},
          {"engine", record.engineInstance()}};
}

nlohmann::json ingressJson(OruMacSec::IsecIndexInfo const& record) {
  return {{"interface", name(record.secIntfId())},
          {"isec-sp", record.isecSpIndex().value()},
          {"sub-port", record.msSubportNum().value()},
          {"isec-sc", record.isecScIndex().value()},
          {"engine", record.engineInstance()}};
}

nlohmann::json disabledJson(OruMacSec::EsecIndexInfo const& record) {
  return {{"port", name(record.secIntfId())},
          {"esec-sc", record.esecScIndex().value()},
          {"engine", record.engineInstance()}};
}

nlohmann::json fapStatusJson(OruMacSec::IndexFapStatus const& status) {
  return {{"fap", status.logicalFapId().value()},
          {"engines", status.numEngineInstances()},
          {"esec-disabled", status.esecDisabledIndex()},
          {"isec-disabled", status.isecDisabledIndex()}};
}

}  // namespace sim
