// The simulator's metrics endpoint: serves the metrics of Metrics.h over HTTP at
// http://<host>:<port>/metrics for Prometheus to scrape, through the pull exporter of the
// Prometheus client library. The values are read when a scrape comes, never kept between scrapes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "sim/metrics/Metrics.h"

namespace prometheus {
class Collectable;
class Exposer;
}  // namespace prometheus

namespace sim {

struct Endpoint {
  std::string host;
  std::uint16_t port;
};

// Reads "<host>:<port>": a host name or IPv4 address, and a port from 1 to 65535. Throws
// std::invalid_argument saying what is wrong with `text`.
Endpoint parseEndpoint(std::string_view text);

class MetricsServer {
 public:
  using Input = std::function<MetricsInput()>;

  // Listens on `endpoint` ("<host>:<port>") and, until destroyed, answers every scrape with the
  // metrics of what `input` returns at that moment. `input` runs on the server's threads, possibly
  // two at a time, and must be safe for that; when it throws, that scrape gets no metrics and the
  // error goes to standard error. The server's threads take no signal: those sent to the process
  // reach its other threads. Throws std::invalid_argument for a malformed endpoint and
  // std::runtime_error when it cannot listen there (the port in use, an address not of this host).
  MetricsServer(std::string const& endpoint, Input input);
  ~MetricsServer();
  MetricsServer(MetricsServer const&) = delete;
  MetricsServer& operator=(MetricsServer const&) = delete;

 private:
  std::shared_ptr<prometheus::Collectable> collectable_;
  std::unique_ptr<prometheus::Exposer> exposer_;  // stops serving before the input goes
};

}  // namespace sim
