// The simulator's Prometheus metrics: what an operator's monitoring scrapes to follow how full the
// hardware tables are, which interfaces were refused, and how much the switch has changed.
//
// The metrics are built from the views' JSON objects (the documented schema of `show utilization
// json` and `show summary json`), so they say exactly what the views say; nothing here decides how
// full a table is or which interface is refused. docs/operator-view.md lists the metrics.
#pragma once

#include <prometheus/metric_family.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <vector>

namespace sim {

// What the metrics are made of, read from a session at the moment of a scrape.
struct MetricsInput {
  nlohmann::json utilization =
      nlohmann::json::array();                       // utilizationView(...).object["utilization"]
  nlohmann::json summary = nlohmann::json::array();  // summaryView(...).object["summary"]
  std::uint64_t thresholdEvents = 0;
  std::optional<std::uint64_t> committedChanges;  // none without a state database
};

// The metric families of `input`, each with its help text: the table gauges (one sample per FAP,
// engine and table of the utilisation), the refused interfaces per FAP of the summary, and the two
// counters. Every family is present, with no sample when the input has nothing for it.
std::vector<prometheus::MetricFamily> metricFamilies(MetricsInput const& input);

}  // namespace sim
