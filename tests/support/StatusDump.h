// A canonical text of everything index management keeps: the published status of every FAP and,
// for the FAPs served, the entries booked in each engine's tables. Two hosts whose dumps are equal
// publish the same indexes and will hand out the same ones next.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "support/IndexHost.h"

namespace testsupport {

// Sorted lines, one string.
inline std::string joined(std::vector<std::string> lines) {
  std::sort(lines.begin(), lines.end());
  std::string out;
  for (auto const& line : lines) {
    out += line + "\n";
  }
  return out;
}

inline std::string publishedDump(OruMacSec::IndexStatus const& status) {
  std::vector<std::string> lines;
  for (auto fapEntry = status.indexFapStatusIter(); fapEntry; ++fapEntry) {
    auto const& fap = *fapEntry.value();
    auto const prefix = fmt::format("fap {} ", fap.logicalFapId().value());
    lines.push_back(prefix + fmt::format("engines {} esec {} isec {}", fap.numEngineInstances(),
                                         fap.esecDisabledIndex(), fap.isecDisabledIndex()));
    for (auto r = fap.esecIndexInfoIter(); r; ++r) {
      lines.push_back(prefix + fmt::format("{} egress {} engine {}", r.key(), r->esecScIndex(),
                                           r->engineInstance()));
    }
    for (auto r = fap.isecIndexInfoIter(); r; ++r) {
      lines.push_back(prefix + fmt::format("{} ingress sp {} subport {} sc {} engine {}", r.key(),
                                           r->isecSpIndex(), r->msSubportNum(), r->isecScIndex(),
                                           r->engineInstance()));
    }
    for (auto r = fap.esecLoopbackDisabledIndexInfoIter(); r; ++r) {
      lines.push_back(prefix + fmt::format("{} disabled {} engine {}", r.key(), r->esecScIndex(),
                                           r->engineInstance()));
    }
  }
  return joined(lines);
}

inline std::string bookingDump(OruMacSec::IndexSm const& sm) {
  auto const booked = [](Nubis::Ptr<OruMacSec::TableResources> const& table) {
    std::string out;
    for (auto entry = table->allocatedIndexIter(); entry; ++entry) {
      out += fmt::format(" {}", entry.key());
    }
    return out;
  };
  std::vector<std::string> lines;
  for (auto machine = sm.indexFapSmIter(); machine; ++machine) {
    for (auto engine = machine.value()->oruMacSecEngineResourcesIter(); engine; ++engine) {
      auto const& e = *engine.value();
      lines.push_back(fmt::format("fap {} engine {} esecSc{} | isecSc{} | isecSp{} | subport{}",
                                  machine.key().value(), engine.key(), booked(e.esecScIndex()),
                                  booked(e.isecScIndex()), booked(e.isecSpIndex()),
                                  booked(e.msSubportNum())));
    }
  }
  return joined(lines);
}

}  // namespace testsupport
