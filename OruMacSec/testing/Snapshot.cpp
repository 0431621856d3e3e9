#include "OruMacSec/testing/Snapshot.h"

#include <fmt/format.h>

#include <algorithm>

namespace OruMacSec::testing {

namespace {

// Sorted lines, one string.
std::string joined(std::vector<std::string> lines) {
  std::sort(lines.begin(), lines.end());
  std::string out;
  for (auto const& line : lines) {
    out += line + "\n";
  }
  return out;
}

std::string entries(std::set<U16> const& booked) {
  std::string out;
  for (U16 const entry : booked) {
    out += fmt::format(" {}", entry);
  }
  return out;
}

// The entries the component reserves in a table, which are never handed out.
bool reserved(FapSnapshot const& fap, EngineTable table, U16 entry) {
  if (isEgressTable(table)) {
    return fap.sharedDisabledIndex && entry == fap.esecDisabledIndex;
  }
  return table != EngineTable::kIsecSc && entry == fap.isecDisabledIndex;
}

}  // namespace

Snapshot Snapshot::of(IndexStatus const& status, IndexSm const* agent) {
  Snapshot snapshot;
  for (auto entry = status.indexFapStatusIter(); entry; ++entry) {
    IndexFapStatus const& published = *entry.value();
    FapSnapshot& fap = snapshot.faps[entry.key().value()];
    fap.engines = published.numEngineInstances();
    fap.esecDisabledIndex = published.esecDisabledIndex();
    fap.isecDisabledIndex = published.isecDisabledIndex();
    for (auto record = published.esecIndexInfoIter(); record; ++record) {
      fap.egress[record.key().intfId()] = record.value();
    }
    for (auto record = published.isecIndexInfoIter(); record; ++record) {
      fap.ingress[record.key().intfId()] = record.value();
    }
    for (auto record = published.esecLoopbackDisabledIndexInfoIter(); record; ++record) {
      fap.disabled[record.key().intfId()] = record.value();
    }
  }
  if (agent == nullptr) {
    return snapshot;
  }
  for (auto machine = agent->indexFapSmIter(); machine; ++machine) {
    FapSnapshot& fap = snapshot.faps[machine.key().value()];
    IndexHelper const& policy = *machine.value()->indexHelper();
    fap.served = true;
    fap.staticChip = policy.useStaticIndexAllocation();
    fap.sharedDisabledIndex = !policy.esecDisabledIndexPerPortRequired();
    for (auto engine = machine.value()->oruMacSecEngineResourcesIter(); engine; ++engine) {
      auto& tables = fap.booked[engine.key()];
      for (EngineTable const table : kEngineTables) {
        for (auto booked = engine.value()->table(table)->allocatedIndexIter(); booked; ++booked) {
          tables[std::size_t(table)].insert(booked.key());
        }
      }
    }
  }
  return snapshot;
}

std::string Snapshot::publishedText() const {
  std::vector<std::string> lines;
  for (auto const& [id, fap] : faps) {
    auto const prefix = fmt::format("fap {} ", id);
    lines.push_back(prefix + fmt::format("engines {} esec {} isec {}", fap.engines,
                                         fap.esecDisabledIndex, fap.isecDisabledIndex));
    for (auto const& [intf, r] : fap.egress) {
      lines.push_back(prefix + fmt::format("{} egress {} engine {}", intf, r.esecScIndex(),
                                           r.engineInstance()));
    }
    for (auto const& [intf, r] : fap.ingress) {
      lines.push_back(prefix + fmt::format("{} ingress sp {} subport {} sc {} engine {}", intf,
                                           r.isecSpIndex(), r.msSubportNum(), r.isecScIndex(),
                                           r.engineInstance()));
    }
    for (auto const& [intf, r] : fap.disabled) {
      lines.push_back(prefix + fmt::format("{} disabled {} engine {}", intf, r.esecScIndex(),
                                           r.engineInstance()));
    }
  }
  return joined(lines);
}

std::string Snapshot::bookedText() const {
  std::vector<std::string> lines;
  for (auto const& [id, fap] : faps) {
    for (auto const& [engine, tables] : fap.booked) {
      lines.push_back(fmt::format("fap {} engine {} esecSc{} | isecSc{} | isecSp{} | subport{}", id,
                                  engine, entries(tables[0]), entries(tables[1]),
                                  entries(tables[2]), entries(tables[3])));
    }
  }
  return joined(lines);
}

std::vector<std::string> checkLowestFree(Snapshot const& before, Snapshot const& after) {
  std::vector<std::string> problems;
  for (auto const& [id, fap] : after.faps) {
    if (!fap.served || fap.staticChip) {
      continue;
    }
    auto const old = before.faps.find(id);
    for (auto const& [engine, tables] : fap.booked) {
      for (EngineTable const table : kEngineTables) {
        std::set<U16> const& now = tables[std::size_t(table)];
        std::set<U16> was;
        if (old != before.faps.end() && old->second.booked.count(engine) != 0) {
          was = old->second.booked.at(engine)[std::size_t(table)];
        }
        // An entry booked by the events was the lowest free one when it was taken: every entry
        // below it was booked then, so before or after the events (none is taken and given back
        // within one event).
        for (U16 const entry : now) {
          if (was.count(entry) != 0 || reserved(fap, table, entry)) {
            continue;
          }
          for (U16 below = 0; below < entry; ++below) {
            if (was.count(below) == 0 && now.count(below) == 0) {
              problems.push_back(
                  fmt::format("FAP {}: engine {} table {} handed out entry {} while {} was free",
                              id, engine, tableName(table), entry, below));
              break;
            }
          }
        }
      }
    }
  }
  return problems;
}

std::vector<std::string> checkRestartKept(Snapshot const& before, Snapshot const& after,
                                          LogicalFap::LogicalFapOrderedCol const& faps) {
  std::vector<std::string> problems;
  for (auto const& [id, fap] : before.faps) {
    auto const members = faps.logicalFap(LogicalFap::LogicalFapId(id));
    auto const now = after.faps.find(id);
    if (!members || now == after.faps.end()) {
      continue;
    }
    for (auto const& [intf, egress] : fap.egress) {
      bool const member = members->intfIdHas(intf) &&
                          members->intfIdHas(Portix::IntfId::fromNumbers(intf.portNumber()));
      if (!member || fap.ingress.count(intf) == 0) {
        continue;
      }
      auto const kept = now->second.egress.find(intf);
      auto const keptIngress = now->second.ingress.find(intf);
      if (kept == now->second.egress.end() || kept->second != egress ||
          keptIngress == now->second.ingress.end() || keptIngress->second != fap.ingress.at(intf)) {
        problems.push_back(
            fmt::format("FAP {}: {} lost or changed its indexes across the restart", id, intf));
      }
    }
  }
  return problems;
}

}  // namespace OruMacSec::testing
