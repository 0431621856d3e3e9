#include "sim/StatusTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace sim {

namespace {

using Row = std::vector<std::string>;

// Writes rows under a header, each column as wide as its widest cell; the first column
// left-aligned, the others right-aligned.
void printTable(std::ostream& out, Row const& header, std::vector<Row> const& rows) {
  std::vector<std::size_t> widths(header.size());
  for (std::size_t c = 0; c < header.size(); ++c) {
    widths[c] = header[c].size();
    for (Row const& row : rows) {
      widths[c] = std::max(widths[c], row[c].size());
    }
  }
  auto const line = [&](Row const& row) {
    std::string text = "  " + fmt::format("{:<{}}", row[0], widths[0]);
    for (std::size_t c = 1; c < row.size(); ++c) {
      text += fmt::format("  {:>{}}", row[c], widths[c]);
    }
    out << text << '\n';
  };
  line(header);
  for (Row const& row : rows) {
    line(row);
  }
}

std::string text(OruMacSec::TableIndex index) {
  return std::to_string(index.value());
}

void printFap(std::ostream& out, OruMacSec::IndexFapStatus const& status,
              OruMacSec::IndexSm const* agent) {
  out << fmt::format("FAP {}: {} engine{}, egress disabled index {}, ingress disabled index {}\n",
                     status.logicalFapId().value(), status.numEngineInstances(),
                     status.numEngineInstances() == 1 ? "" : "s", status.esecDisabledIndex(),
                     status.isecDisabledIndex());
  auto const machine = agent != nullptr ? agent->indexFapSm(status.logicalFapId()) : nullptr;
  if (machine) {
    std::vector<std::string> engines;
    for (U16 e = 0; e < status.numEngineInstances(); ++e) {
      auto const engine = machine->oruMacSecEngineResources(e);
      bool const full = engine && engine->hwResourcesFull();
      engines.push_back(fmt::format("engine {}: {}", e, full ? "full" : "normal"));
    }
    if (!engines.empty()) {
      out << "  " << fmt::format("{}", fmt::join(engines, ", ")) << '\n';
    }
  }

  // Interfaces in interface order; a record without its partner shows "-" for what is missing.
  std::map<Portix::IntfId, Row> interfaces;
  auto const rowOf = [&](Portix::IntfId id) -> Row& {
    auto& row = interfaces[id];
    if (row.empty()) {
      row = {Portix::valueToStrep(id), "-", "-", "-", "-", "-"};
    }
    return row;
  };
  for (auto record = status.esecIndexInfoIter(); record; ++record) {
    Row& row = rowOf(record.key().intfId());
    row[1] = std::to_string(record->engineInstance());
    row[2] = text(record->esecScIndex());
  }
  for (auto record = status.isecIndexInfoIter(); record; ++record) {
    Row& row = rowOf(record.key().intfId());
    row[1] = std::to_string(record->engineInstance());
    row[3] = text(record->isecScIndex());
    row[4] = text(record->isecSpIndex());
    row[5] = text(record->msSubportNum());
  }
  if (interfaces.empty()) {
    out << "  no interface holds indexes\n";
  } else {
    std::vector<Row> rows;
    for (auto& entry : interfaces) {
      rows.push_back(std::move(entry.second));
    }
    printTable(out, {"interface", "engine", "egress SC", "ingress SC", "ingress SP", "sub-port"},
               rows);
  }

  std::map<Portix::IntfId, Row> disabled;
  for (auto record = status.esecLoopbackDisabledIndexInfoIter(); record; ++record) {
    disabled[record.key().intfId()] = {Portix::valueToStrep(record.key().intfId()),
                                       std::to_string(record->engineInstance()),
                                       text(record->esecScIndex())};
  }
  if (!disabled.empty()) {
    std::vector<Row> rows;
    for (auto& entry : disabled) {
      rows.push_back(std::move(entry.second));
    }
    printTable(out, {"disabled egress entry of", "engine", "egress SC"}, rows);
  }
}

}  // namespace

void printStatus(std::ostream& out, OruMacSec::IndexStatus const& status,
                 OruMacSec::IndexSm const* agent, std::optional<U16> fapId) {
  if (fapId) {
    auto const fap = status.indexFapStatus(LogicalFap::LogicalFapId(*fapId));
    if (!fap) {
      out << "FAP " << *fapId << ": nothing published\n";
      return;
    }
    printFap(out, *fap, agent);
    return;
  }
  std::map<U16, Nubis::Ptr<OruMacSec::IndexFapStatus>> sorted;
  for (auto entry = status.indexFapStatusIter(); entry; ++entry) {
    sorted[entry.key().value()] = entry.value();
  }
  if (sorted.empty()) {
    out << "nothing published\n";
  }
  for (auto const& entry : sorted) {
    printFap(out, *entry.second, agent);
  }
}

}  // namespace sim
