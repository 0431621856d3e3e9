#include "sim/metrics/Metrics.h"

#include <string>

namespace sim {

namespace {

using json = nlohmann::json;
using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;

struct TableGauge {
  char const* name;
  char const* key;  // the field of the utilisation view's table object
  char const* help;
};

constexpr TableGauge kTableGauges[] = {
    {"macsec_index_table_used", "used",
     "Entries booked in a MACsec engine's hardware table, reserved disabled indexes included."},
    {"macsec_index_table_free", "free",
     "Entries a MACsec engine's hardware table can still hand out before it counts as full."},
    {"macsec_index_table_max_limit", "max-limit",
     "Entries a MACsec engine's hardware table holds when full (its largest index)."},
    {"macsec_index_table_high_watermark", "high-watermark",
     "The most entries a MACsec engine's hardware table has held since its FAP was added (kept "
     "in the state database across restarts)."},
    {"macsec_index_table_threshold_exceeded", "used-threshold-upper-exceeded",
     "1 while a MACsec engine's hardware table is over its upper use threshold (from the "
     "THRESHOLD_EXCEEDED event until the THRESHOLD_CLEAR one), else 0."},
};

// A label value from a JSON number or string.
std::string labelValue(json const& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

double sampleValue(json const& value) {
  return value.is_boolean() ? (value.get<bool>() ? 1.0 : 0.0) : value.get<double>();
}

MetricFamily family(char const* name, char const* help, MetricType type) {
  return {name, help, type, {}};
}

ClientMetric counterSample(std::uint64_t value) {
  ClientMetric sample;
  sample.counter.value = double(value);
  return sample;
}

}  // namespace

std::vector<MetricFamily> metricFamilies(MetricsInput const& input) {
  std::vector<MetricFamily> families;
  for (TableGauge const& gauge : kTableGauges) {
    MetricFamily out = family(gauge.name, gauge.help, MetricType::Gauge);
    for (json const& table : input.utilization) {
      ClientMetric sample;
      sample.label = {{"fap", labelValue(table["fap"])},
                      {"engine", labelValue(table["engine"])},
                      {"table", labelValue(table["table"])}};
      sample.gauge.value = sampleValue(table[gauge.key]);
      out.metric.push_back(std::move(sample));
    }
    families.push_back(std::move(out));
  }
  MetricFamily refused = family(
      "macsec_index_refused_interfaces",
      "Interfaces of a logical FAP that should hold indexes and hold none.", MetricType::Gauge);
  for (json const& fap : input.summary) {
    ClientMetric sample;
    sample.label = {{"fap", labelValue(fap["fap"])}};
    sample.gauge.value = fap["refused"].get<double>();
    refused.metric.push_back(std::move(sample));
  }
  families.push_back(std::move(refused));
  families.push_back(family("macsec_index_threshold_events_total",
                            "Threshold events (THRESHOLD_EXCEEDED and THRESHOLD_CLEAR) reported "
                            "by every writer of the state database (without one, since the "
                            "simulator started).",
                            MetricType::Counter));
  families.back().metric.push_back(counterSample(input.thresholdEvents));
  families.push_back(family("macsec_index_committed_changes_total",
                            "Changes of published records committed to the state database by "
                            "every writer: the entries of its change feed.",
                            MetricType::Counter));
  if (input.committedChanges) {
    families.back().metric.push_back(counterSample(*input.committedChanges));
  }
  return families;
}

}  // namespace sim
