#include "sim/ChipPolicy.h"

#include <fmt/format.h>

namespace sim {

namespace {

std::uint64_t portNumber(Portix::IntfId intfId) {
  return intfId.value() >> 32;
}
std::uint64_t subNumber(Portix::IntfId intfId) {
  return intfId.value() & 0xffffffffu;
}

}  // namespace

std::string chipLine(U16 fapId, ChipSettings const& settings) {
  return fmt::format(
      "chip {} engines={} isec-disabled={} esec-disabled={} per-port-disabled={} static={}", fapId,
      settings.engines, settings.isecDisabled, settings.esecDisabled,
      settings.perPortDisabled ? "yes" : "no", settings.staticAllocation ? "yes" : "no");
}

ChipPolicy::ChipPolicy(LogicalFap::LogicalFapId fapId, ChipSettings const& settings)
    : IndexHelper(fapId, settings.isecDisabled, settings.esecDisabled), settings_(settings) {}

U16 ChipPolicy::intfIdToEngineInstance(Portix::IntfId intfId) const {
  return U16(portNumber(intfId) % settings_.engines);
}

U16 ChipPolicy::staticIndex(Portix::IntfId intfId) const {
  std::uint64_t const sub = subNumber(intfId);
  if (sub >= kStaticStride) {
    return 0xFFFF;
  }
  std::uint64_t const index = (portNumber(intfId) - 1) / settings_.engines * kStaticStride + sub;
  // The reserved disabled indexes are no interface's: an index that reaches them is none at all.
  bool const reserved = index >= settings_.isecDisabled ||
                        (!settings_.perPortDisabled && index == settings_.esecDisabled);
  return reserved ? U16(0xFFFF) : U16(index);
}

}  // namespace sim
