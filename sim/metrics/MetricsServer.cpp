#include "sim/metrics/MetricsServer.h"

#include <prometheus/collectable.h>
#include <prometheus/exposer.h>

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace sim {

namespace {

class InputCollectable : public prometheus::Collectable {
 public:
  explicit InputCollectable(MetricsServer::Input input) : input_(std::move(input)) {}

  std::vector<prometheus::MetricFamily> Collect() const override {
    // An exception must not reach the HTTP server's C code, which cannot pass it on.
    try {
      return metricFamilies(input_());
    } catch (std::exception const& error) {
      std::cerr << std::string("warning: metrics: ") + error.what() + '\n';
      return {};
    }
  }

 private:
  MetricsServer::Input const input_;
};

bool isHostCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-';
}

}  // namespace

Endpoint parseEndpoint(std::string_view text) {
  auto const colon = text.rfind(':');
  std::string_view const host = text.substr(0, colon);
  if (colon == std::string_view::npos || host.empty() ||
      !std::all_of(host.begin(), host.end(), isHostCharacter)) {
    throw std::invalid_argument(
        "expected <host>:<port> (a host name or IPv4 address, then a port), not \"" +
        std::string(text) + "\"");
  }
  std::string_view const port = text.substr(colon + 1);
  unsigned number = 0;
  auto const [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
  if (error != std::errc() || end != port.data() + port.size() || number == 0 || number > 65535) {
    throw std::invalid_argument("the port must be a number from 1 to 65535, not \"" +
                                std::string(port) + "\"");
  }
  return {std::string(host), static_cast<std::uint16_t>(number)};
}

MetricsServer::MetricsServer(std::string const& endpoint, Input input)
    : collectable_(std::make_shared<InputCollectable>(std::move(input))) {
  Endpoint const where = parseEndpoint(endpoint);
  // The server's threads inherit the signal mask of the thread that starts them: with every signal
  // blocked there, a Ctrl-C or SIGTERM sent to the process reaches the thread that waits for it.
  sigset_t all;
  sigset_t previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  try {
    exposer_ = std::make_unique<prometheus::Exposer>(where.host + ':' + std::to_string(where.port));
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  } catch (std::exception const&) {
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    // The HTTP server gives no reason of its own.
    throw std::runtime_error("cannot serve metrics at " + endpoint +
                             ": cannot listen there (the port is in use, or the address is not "
                             "one of this machine's)");
  }
  exposer_->RegisterCollectable(collectable_);
}

MetricsServer::~MetricsServer() = default;

}  // namespace sim
