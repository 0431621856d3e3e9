// The published records as JSON objects, as the exported state lists them and the change feed
// carries them: one writer of each record's form, so that the two never disagree.
//
//   egress    {"interface", "esec-sc", "engine"}
//   ingress   {"interface", "isec-sp", "sub-port", "isec-sc", "engine"}
//   disabled  {"port", "esec-sc", "engine"}           (a port's egress disabled entry)
//   fap       {"fap", "engines", "esec-disabled", "isec-disabled"}   (a FAP's published status)
#pragma once

#include <nlohmann/json.hpp>

#include "OruMacSec/types/IndexFapStatus.h"

namespace sim {

nlohmann::json egressJson(OruMacSec::EsecIndexInfo const& record);
nlohmann::json ingressJson(OruMacSec::IsecIndexInfo const& record);
nlohmann::json disabledJson(OruMacSec::EsecIndexInfo const& record);
// The FAP's status without its records.
nlohmann::json fapStatusJson(OruMacSec::IndexFapStatus const& status);

}  // namespace sim
