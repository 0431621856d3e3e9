#include "sim/model/ChipPolicy.h"

#include <fmt/format.h>

#include "sim/model/Limits.h"

namespace sim {

std::string chipSettingsProblem(ChipSettings const& settings) {
  if (settings.engines < kMinEngines || settings.engines > kMaxEngines) {
    return fmt::format("engines must be a number from {} to {}, not {}", kMinEngines, kMaxEngines,
                       settings.engines);
  }
  if (settings.isecDisabled > kMaxIsecDisabled) {
    return fmt::format("isec-disabled must be a number from 0 to {}, not {}", kMaxIsecDisabled,
                       settings.isecDisabled);
  }
  return "";
}

ChipPolicy::ChipPolicy(LogicalFap::LogicalFapId fapId, ChipSettings const& settings)
    : IndexHelper(fapId, settings.isecDisabled, settings.esecDisabled), settings_(settings) {}

U16 ChipPolicy::intfIdToEngineInstance(Portix::IntfId intfId) const {
  return U16(intfId.portNumber() % settings_.engines);
}

U16 ChipPolicy::staticIndex(Portix::IntfId intfId) const {
  std::uint32_t const sub = intfId.subNumber();  // 0 for the port
  if (sub >= kStaticStride) {
    return 0xFFFF;
  }
  std::uint64_t const index = (intfId.portNumber() - 1) / settings_.engines * kStaticStride + sub;
  // The reserved disabled indexes are no interface's: an index that reaches them is none at all.
  bool const reserved = index >= settings_.isecDisabled ||
                        (!settings_.perPortDisabled && index == settings_.esecDisabled);
  return reserved ? U16(0xFFFF) : U16(index);
}

}  // namespace sim
