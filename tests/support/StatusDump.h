// A canonical text of everything index management keeps: the published status of every FAP and,
// for the FAPs served, the entries booked in each engine's tables. Two hosts whose dumps are equal
// publish the same indexes and will hand out the same ones next.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "support/IndexHost.h"

namespace testsupport {

inline std::string bookedText(Nubis::Ptr<OruMacSec::TableResources> const& table) {
  std::vector<U16> booked;
  for (auto entry = table->allocatedIndexIter(); entry; ++entry) {
    booked.push_back(entry.key());
  }
  std::sort(booked.begin(), booked.end());
  std::string out;
  for (U16 const index : booked) {
    out += " " + std::to_string(index);
  }
  return out;
}

inline std::string publishedDump(OruMacSec::IndexStatus const& status) {
  std::vector<std::string> lines;
  for (auto fapEntry = status.indexFapStatusIter(); fapEntry; ++fapEntry) {
    auto const& fapStatus = *fapEntry.value();
    std::string const prefix = "fap " + std::to_string(fapStatus.logicalFapId().value()) + " ";
    lines.push_back(prefix + "engines " + std::to_string(fapStatus.numEngineInstances()) +
                    " esec " + std::to_string(fapStatus.esecDisabledIndex()) + " isec " +
                    std::to_string(fapStatus.isecDisabledIndex()));
    for (auto r = fapStatus.esecIndexInfoIter(); r; ++r) {
      lines.push_back(prefix + Portix::valueToStrep(r.key().intfId()) + " egress " +
                      std::to_string(r->esecScIndex().value()) + " engine " +
                      std::to_string(r->engineInstance()));
    }
    for (auto r = fapStatus.isecIndexInfoIter(); r; ++r) {
      lines.push_back(prefix + Portix::valueToStrep(r.key().intfId()) + " ingress sp " +
                      std::to_string(r->isecSpIndex().value()) + " subport " +
                      std::to_string(r->msSubportNum().value()) + " sc " +
                      std::to_string(r->isecScIndex().value()) + " engine " +
                      std::to_string(r->engineInstance()));
    }
    for (auto r = fapStatus.esecLoopbackDisabledIndexInfoIter(); r; ++r) {
      lines.push_back(prefix + Portix::valueToStrep(r.key().intfId()) + " disabled " +
                      std::to_string(r->esecScIndex().value()) + " engine " +
                      std::to_string(r->engineInstance()));
    }
  }
  std::sort(lines.begin(), lines.end());
  std::string out;
  for (auto const& line : lines) {
    out += line + "\n";
  }
  return out;
}

inline std::string bookingDump(OruMacSec::IndexSm const& sm) {
  std::vector<std::string> lines;
  for (auto machine = sm.indexFapSmIter(); machine; ++machine) {
    for (auto engine = machine.value()->oruMacSecEngineResourcesIter(); engine; ++engine) {
      auto const& resources = *engine.value();
      std::string const prefix = "fap " + std::to_string(machine.key().value()) + " engine " +
                                 std::to_string(engine.key());
      lines.push_back(prefix + " esecSc" + bookedText(resources.esecScIndex()) + " | isecSc" +
                      bookedText(resources.isecScIndex()) + " | isecSp" +
                      bookedText(resources.isecSpIndex()) + " | subport" +
                      bookedText(resources.msSubportNum()));
    }
  }
  std::sort(lines.begin(), lines.end());
  std::string out;
  for (auto const& line : lines) {
    out += line + "\n";
  }
  return out;
}

}  // namespace testsupport
