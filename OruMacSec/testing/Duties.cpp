#include "OruMacSec/testing/Duties.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

namespace OruMacSec::testing {

namespace {

Breach breach(std::string duty, std::string detail) {
  return Breach{std::move(duty), std::move(detail)};
}

// Every interface the manager may ask about: those that may hold indexes with these inputs
// (members and interfaces with MACsec whose port is in the set; on dynamic chips only those with
// MACsec) and those that hold them now.
std::set<Portix::IntfId> asked(IndexHelper const& policy, FapInputs const& inputs,
                               IndexFapStatus const* published) {
  std::set<Portix::IntfId> interfaces;
  auto const mayHold = [&](Portix::IntfId intf) {
    if (inputs.members.count(policy.getParentIntfId(intf)) != 0 &&
        (inputs.macsec.count(intf) != 0 ||
         (policy.useStaticIndexAllocation() && inputs.members.count(intf) != 0))) {
      interfaces.insert(intf);
    }
  };
  for (Portix::IntfId const intf : inputs.members) {
    mayHold(intf);
  }
  for (Portix::IntfId const intf : inputs.macsec) {
    mayHold(intf);
  }
  if (published != nullptr) {
    for (auto record = published->esecIndexInfoIter(); record; ++record) {
      interfaces.insert(record.key().intfId());
    }
  }
  return interfaces;
}

std::optional<Breach> checkEngines(IndexHelper const& policy, LogicalFap::LogicalFapId fap,
                                   std::set<Portix::IntfId> const& interfaces,
                                   IndexFapStatus const* published) {
  U16 const engines = policy.numEngineInstances();
  std::set<Portix::IntfId> all = interfaces;
  if (published != nullptr) {
    for (auto record = published->esecLoopbackDisabledIndexInfoIter(); record; ++record) {
      all.insert(record.key().intfId());
    }
  }
  for (Portix::IntfId const intf : all) {
    U16 const engine = policy.intfIdToEngineInstance(intf);
    if (engine >= engines) {
      return breach("an engine instance that exists",
                    fmt::format("FAP {} puts {} on engine {}, and has {} engines", fap, intf,
                                engine, engines));
    }
  }
  for (Portix::IntfId const intf : interfaces) {
    U16 const engine = policy.intfIdToEngineInstance(intf);
    U16 const portEngine = policy.intfIdToEngineInstance(policy.getParentIntfId(intf));
    if (engine != portEngine) {
      return breach("a port and its subinterfaces share an engine",
                    fmt::format("FAP {} puts {} on engine {} and its port on engine {}", fap, intf,
                                engine, portEngine));
    }
  }
  if (published == nullptr) {
    return std::nullopt;
  }
  auto const keeps = [&](auto iter, char const* what) -> std::optional<Breach> {
    for (auto record = iter; record; ++record) {
      Portix::IntfId const intf = record.key().intfId();
      U16 const engine = policy.intfIdToEngineInstance(intf);
      if (engine != record->engineInstance()) {
        return breach("an interface keeps its engine while it holds indexes",
                      fmt::format("FAP {} puts {} on engine {}, and it holds {} on engine {}", fap,
                                  intf, engine, what, record->engineInstance()));
      }
    }
    return std::nullopt;
  };
  if (auto found = keeps(published->esecIndexInfoIter(), "indexes")) {
    return found;
  }
  return keeps(published->esecLoopbackDisabledIndexInfoIter(), "a disabled entry");
}

std::optional<Breach> checkStaticIndexes(IndexHelper const& policy, LogicalFap::LogicalFapId fap,
                                         std::set<Portix::IntfId> const& interfaces,
                                         IndexFapStatus const* published) {
  U16 const largest = policy.isecDisabledIndex();
  bool const shared = !policy.esecDisabledIndexPerPortRequired();
  std::map<std::pair<U16, U16>, Portix::IntfId> owners;
  for (Portix::IntfId const intf : interfaces) {
    U16 const index = policy.staticIndex(intf);
    U16 const engine = policy.intfIdToEngineInstance(intf);
    SecIntfId const key(intf);
    if (published != nullptr && published->esecIndexInfoHas(key) &&
        published->esecIndexInfo(key).esecScIndex() != TableIndex(index)) {
      return breach("a static index stays as published",
                    fmt::format("FAP {} gives {} static index {}, and it holds {}", fap, intf,
                                index, published->esecIndexInfo(key).esecScIndex()));
    }
    // An index beyond the tables is refused by the manager: the policy's way to give none.
    if (index > largest) {
      continue;
    }
    if (index == largest || (shared && index == policy.esecDisabledIndex())) {
      return breach(
          "static indexes apart from the disabled indexes",
          fmt::format("FAP {} gives {} static index {}, a disabled index", fap, intf, index));
    }
    auto const [owner, fresh] = owners.emplace(std::make_pair(engine, index), intf);
    if (!fresh) {
      return breach("static indexes unique per engine",
                    fmt::format("FAP {} gives {} and {} static index {} on engine {}", fap,
                                owner->second, intf, index, engine));
    }
  }
  return std::nullopt;
}

}  // namespace

ChipFacts ChipFacts::of(IndexHelper const& policy) {
  return ChipFacts{policy.numEngineInstances(), policy.isecDisabledIndex(),
                   policy.esecDisabledIndex(), policy.useStaticIndexAllocation(),
                   policy.esecDisabledIndexPerPortRequired()};
}

bool operator==(ChipFacts const& a, ChipFacts const& b) {
  return a.engines == b.engines && a.isecDisabledIndex == b.isecDisabledIndex &&
         a.esecDisabledIndex == b.esecDisabledIndex && a.staticChip == b.staticChip &&
         a.perPortDisabled == b.perPortDisabled;
}

std::string ChipFacts::text() const {
  return fmt::format("{} engines, ingress disabled index {}, egress disabled index {}, {}, {}",
                     engines, isecDisabledIndex, esecDisabledIndex,
                     staticChip ? "static" : "dynamic",
                     perPortDisabled ? "per-port disabled entries" : "shared disabled index");
}

std::optional<Breach> checkDuties(IndexHelper const& policy, LogicalFap::LogicalFapId fap,
                                  FapInputs const& inputs, IndexFapStatus const* published,
                                  std::optional<ChipFacts> const& fixed) {
  if (policy.logicalFapId() != fap) {
    return breach(
        "a policy describes the FAP it is made for",
        fmt::format("the policy made for FAP {} describes FAP {}", fap, policy.logicalFapId()));
  }
  ChipFacts const facts = ChipFacts::of(policy);
  if (fixed && facts != *fixed) {
    return breach("the chip's facts stay fixed while its status exists",
                  fmt::format("FAP {} had {}; now {}", fap, fixed->text(), facts.text()));
  }
  if (facts.isecDisabledIndex > TableIndex::max().value() ||
      (!facts.perPortDisabled && facts.esecDisabledIndex > facts.isecDisabledIndex)) {
    return breach("disabled indexes inside the tables",
                  fmt::format("FAP {} has {}; the largest index is {}", fap, facts.text(),
                              std::min(facts.isecDisabledIndex, TableIndex::max().value())));
  }
  std::set<Portix::IntfId> const interfaces = asked(policy, inputs, published);
  if (auto found = checkEngines(policy, fap, interfaces, published)) {
    return found;
  }
  if (!facts.staticChip) {
    return std::nullopt;
  }
  return checkStaticIndexes(policy, fap, interfaces, published);
}

}  // namespace OruMacSec::testing
