// The four hardware tables of a MACsec engine instance, as readers of the published records and
// tools name them.
//
// Every interface that holds indexes holds one entry in each of the four tables of its engine; the
// index manager visits them in the order of kEngineTables (egress secure channel, ingress secure
// channel, ingress secure policy, sub-port policy). Each table has the name its traces print
// ("EsecScTable", ...) and the upper-case identifier of the hardware-full trace ("ESEC_SC_TABLE",
// ...). The egress record publishes the egress table's index, the ingress record the other three.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "OruMacSec/types/IndexInfo.h"
#include "OruMacSec/types/TableIndex.h"

namespace OruMacSec {

enum class EngineTable : std::uint8_t { kEsecSc, kIsecSc, kIsecSp, kMsSubport };

// The four tables in the order the index manager visits them.
inline constexpr std::array<EngineTable, 4> kEngineTables = {
    EngineTable::kEsecSc, EngineTable::kIsecSc, EngineTable::kIsecSp, EngineTable::kMsSubport};

// The table's name, as traces print it: "EsecScTable", "IsecScTcam", "IsecSpTcam",
// "SubPortPolicyTable".
constexpr std::string_view tableName(EngineTable table) {
  constexpr std::array<std::string_view, 4> kNames = {"EsecScTable", "IsecScTcam", "IsecSpTcam",
                                                      "SubPortPolicyTable"};
  return kNames[std::size_t(table)];
}

// The table's identifier in the hardware-full trace: "ESEC_SC_TABLE", "ISEC_SC_TABLE",
// "ISEC_SP_TABLE", "SUB_PORT_POLICY_TABLE".
constexpr std::string_view tableHardwareId(EngineTable table) {
  constexpr std::array<std::string_view, 4> kIds = {"ESEC_SC_TABLE", "ISEC_SC_TABLE",
                                                    "ISEC_SP_TABLE", "SUB_PORT_POLICY_TABLE"};
  return kIds[std::size_t(table)];
}

// Whether the egress record publishes the table's index (the ingress record publishes the rest).
constexpr bool isEgressTable(EngineTable table) {
  return table == EngineTable::kEsecSc;
}

// The index an ingress record names in `table`, one of the three ingress tables.
inline TableIndex ingressIndex(IsecIndexInfo const& record, EngineTable table) {
  return table == EngineTable::kIsecSc   ? record.isecScIndex()
         : table == EngineTable::kIsecSp ? record.isecSpIndex()
                                         : record.msSubportNum();
}

// How many entries a table of largest index `maxIndex` can still hand out while it holds `used`
// entries: a table counts as full once it holds `maxIndex` of them.
constexpr std::size_t freeEntryCount(std::size_t used, U16 maxIndex) {
  return used >= maxIndex ? 0 : maxIndex - used;
}

}  // namespace OruMacSec
