#include "OruMacSec/testing/Invariants.h"

#include <fmt/format.h>
#include <array>
#include <map>
#include <set>

#include "OruMacSec/NamedEntries.h"

namespace OruMacSec::testing {

namespace {

bool names(TableIndex index) {
  return index != TableIndex::unused() && index != TableIndex::invalid();
}

std::string fapName(IndexFapSm const& machine) {
  return fmt::format("FAP {}", machine.logicalFapId().value());
}

void checkRecords(IndexFapSm const& machine, std::vector<std::string>& problems) {
  auto const& status = *machine.indexFapStatus();
  auto const& policy = *machine.indexHelper();
  std::string const fap = fapName(machine);
  std::map<Portix::IntfId, std::uint32_t> served;
  for (auto record = status.esecIndexInfoIter(); record; ++record) {
    Portix::IntfId const id = record.key().intfId();
    std::string const intf = Portix::valueToStrep(id);
    if (!status.isecIndexInfoHas(record.key())) {
      problems.push_back(fmt::format("{}: {} has an egress record without ingress", fap, intf));
      continue;
    }
    auto const ingress = status.isecIndexInfo(record.key());
    if (ingress.engineInstance() != record->engineInstance() ||
        record->engineInstance() != policy.intfIdToEngineInstance(id)) {
      problems.push_back(fmt::format("{}: {} records engines {} and {}, the policy says {}", fap,
                                     intf, record->engineInstance(), ingress.engineInstance(),
                                     policy.intfIdToEngineInstance(id)));
    }
    if (!names(record->esecScIndex()) || !names(ingress.isecSpIndex()) ||
        !names(ingress.msSubportNum()) || !names(ingress.isecScIndex())) {
      problems.push_back(fmt::format("{}: {} publishes an unused or invalid index", fap, intf));
    }
    if (Portix::SubIntfId::isSubIntfId(id)) {
      ++served[Portix::SubIntfId::parentIntfId(id)];
    }
    if (!policy.useStaticIndexAllocation()) {
      bool const eligible = machine.intfIdCol()->intfIdHas(policy.getParentIntfId(id)) &&
                            machine.macsecStatus()->cpStatusHas(id);
      if (!eligible) {
        problems.push_back(
            fmt::format("{}: {} holds dynamic indexes without its port in the set "
                        "and MACsec on",
                        fap, intf));
      }
    }
  }
  if (status.isecIndexInfoSize() != status.esecIndexInfoSize()) {
    problems.push_back(fmt::format("{}: {} ingress records for {} egress records", fap,
                                   status.isecIndexInfoSize(), status.esecIndexInfoSize()));
  }
  for (auto const& [port, count] : served) {
    if (status.esecIndexInfoSubIntfCount(port) != count) {
      problems.push_back(fmt::format("{}: {} counts {} served subinterfaces, the records {}", fap,
                                     Portix::valueToStrep(port),
                                     status.esecIndexInfoSubIntfCount(port), count));
    }
  }
  for (auto record = status.esecLoopbackDisabledIndexInfoIter(); record; ++record) {
    Portix::IntfId const port = record.key().intfId();
    std::string const intf = Portix::valueToStrep(port);
    if (!policy.esecDisabledIndexPerPortRequired() || Portix::SubIntfId::isSubIntfId(port) ||
        status.esecIndexInfoHas(record.key()) || !names(record->esecScIndex()) ||
        record->engineInstance() != policy.intfIdToEngineInstance(port)) {
      problems.push_back(fmt::format("{}: disabled entry {} of {} should not exist", fap,
                                     record->esecScIndex().value(), intf));
    }
  }
}

void checkBookings(IndexFapSm const& machine, std::vector<std::string>& problems) {
  auto const& status = *machine.indexFapStatus();
  auto const& policy = *machine.indexHelper();
  // Per engine, per table (egress SC, ingress SC, ingress SP, sub-port): the entries named.
  std::map<U16, std::array<std::multiset<U16>, 4>> named;
  forEachNamedEntry(status, policy, [&](U16 engine, EngineTable table, U16 index) {
    named[engine][std::size_t(table)].insert(index);
  });
  std::string const fap = fapName(machine);
  for (auto const& [engine, tables] : named) {
    auto const resources = machine.oruMacSecEngineResources(engine);
    if (!resources) {
      problems.push_back(
          fmt::format("{}: records name engine {}, which does not exist", fap, engine));
      continue;
    }
    Nubis::Ptr<TableResources> const actual[] = {resources->esecScIndex(), resources->isecScIndex(),
                                                 resources->isecSpIndex(),
                                                 resources->msSubportNum()};
    for (std::size_t t = 0; t < 4; ++t) {
      std::set<U16> const distinct(tables[t].begin(), tables[t].end());
      if (distinct.size() != tables[t].size()) {
        problems.push_back(fmt::format("{}: engine {} table {} has an entry named twice", fap,
                                       engine, actual[t]->name()));
      }
      std::set<U16> booked;
      for (auto entry = actual[t]->allocatedIndexIter(); entry; ++entry) {
        booked.insert(entry.key());
      }
      if (booked != distinct) {
        problems.push_back(fmt::format("{}: engine {} table {} books {} entries, {} are named", fap,
                                       engine, actual[t]->name(), booked.size(), distinct.size()));
      }
    }
  }
}

}  // namespace

std::vector<std::string> checkFap(IndexFapSm const& machine) {
  std::vector<std::string> problems;
  checkRecords(machine, problems);
  checkBookings(machine, problems);
  return problems;
}

std::vector<std::string> checkAgent(IndexSm const& agent) {
  std::vector<std::string> problems;
  auto const& faps = *agent.logicalFapCol();
  auto const& status = *agent.indexStatus();
  if (agent.indexFapSmSize() != faps.logicalFapSize() ||
      status.indexFapStatusSize() != faps.logicalFapSize()) {
    problems.push_back(fmt::format("{} FAPs exist, {} are served and {} published",
                                   faps.logicalFapSize(), agent.indexFapSmSize(),
                                   status.indexFapStatusSize()));
  }
  for (auto machine = agent.indexFapSmIter(); machine; ++machine) {
    if (!faps.logicalFapHas(machine.key()) ||
        status.indexFapStatus(machine.key()) != machine.value()->indexFapStatus()) {
      problems.push_back(
          fmt::format("FAP {} is served without its input or its status", machine.key().value()));
    }
    auto const found = checkFap(*machine.value());
    problems.insert(problems.end(), found.begin(), found.end());
  }
  return problems;
}

}  // namespace OruMacSec::testing
