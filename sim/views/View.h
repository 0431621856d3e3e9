// What a view of the switch gives: a JSON object (the documented schema that `show ... json` and
// --json print) and its text form, rendered from that object so that the two never disagree.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace sim {

struct View {
  nlohmann::json object;
  std::string text;
};

}  // namespace sim
