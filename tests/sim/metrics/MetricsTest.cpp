#include <gmock/gmock.h>
#include <prometheus/text_serializer.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "sim/metrics/Metrics.h"
#include "sim/metrics/MetricsServer.h"
#include "sim/metrics/SessionMetrics.h"

namespace {

using ::testing::HasSubstr;

// Runs Prometheus's own checker over `text`; its findings, or empty when it finds none.
std::string promtoolFindings(std::string const& text) {
  std::string const path = ::testing::TempDir() + "metrics.prom";
  std::ofstream(path) << text;
  std::string findings;
  FILE* const pipe = popen(("promtool check metrics < " + path + " 2>&1").c_str(), "r");
  char buffer[256];
  while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
    findings += buffer;
  }
  int const status = pclose(pipe);
  return status == 0 ? findings : findings + "(promtool failed)";
}

std::string scrape(sim::MetricsInput const& input) {
  return prometheus::TextSerializer().Serialize(sim::metricFamilies(input));
}

TEST(Metrics, SaySampleBySampleWhatTheViewsSayAlikeForWriterAndReaderAndPassPromtool) {
  std::string const path = ::testing::TempDir() + "metrics-" + std::to_string(::getpid()) + ".db";
  std::remove(path.c_str());
  std::ostringstream out;
  sim::SessionOptions writing;
  writing.statePath = path;
  sim::Session writer(writing, out, out);
  sim::SessionOptions reading = writing;
  reading.readOnly = true;
  sim::Session reader(reading, out, out);
  sim::SessionMetrics writerMetrics(writer);
  sim::SessionMetrics readerMetrics(reader);
  for (char const* line : {"chip 1 isec-disabled=4 esec-disabled=4", "fap add 1 Ethernet1-4",
                           "macsec on Ethernet1-4", "macsec off Ethernet1", "show"}) {
    writer.runLine(line, false);
    // The reader loads the database again after each commit, and only then.
    EXPECT_EQ(scrape(readerMetrics.input()), scrape(writerMetrics.input())) << line;
  }
  EXPECT_ANY_THROW(writer.runLine("fap add 1", false));  // refused: nothing committed
  std::string const text = scrape(writerMetrics.input());
  EXPECT_EQ(scrape(readerMetrics.input()), text);
  std::string const esec = R"({fap="1",engine="0",table="EsecScTable"} )";
  std::string const isecSc = R"({fap="1",engine="0",table="IsecScTcam"} )";
  for (std::string const& sample :
       {"macsec_index_table_used" + esec + "3", "macsec_index_table_free" + esec + "1",
        "macsec_index_table_max_limit" + esec + "4",
        "macsec_index_table_high_watermark" + esec + "4",
        "macsec_index_table_threshold_exceeded" + esec + "1",
        "macsec_index_table_threshold_exceeded" + isecSc + "0",
        std::string(R"(macsec_index_refused_interfaces{fap="1"} 1)"),
        std::string("macsec_index_threshold_events_total 3"),
        // FAP 1's status, two records each for Ethernet1-3, then Ethernet1's two deleted
        std::string("macsec_index_committed_changes_total 9")}) {
    EXPECT_THAT(text, HasSubstr("\n" + sample + "\n"));
  }
  if (std::system("promtool --version > /dev/null 2>&1") != 0) {
    GTEST_SKIP() << "promtool (Debian package prometheus) is not installed";
  }
  EXPECT_EQ(promtoolFindings(text), "");
  // With nothing to show, every family is still described.
  EXPECT_EQ(promtoolFindings(scrape({})), "");
}

TEST(MetricsServer, TakesAHostAndPortAndSaysWhatIsWrongWithAnythingElse) {
  sim::Endpoint const endpoint = sim::parseEndpoint("localhost:9464");
  EXPECT_EQ(endpoint.host, "localhost");
  EXPECT_EQ(endpoint.port, 9464);
  std::pair<char const*, char const*> const cases[] = {
      {"127.0.0.1", R"(expected <host>:<port> (a host name or IPv4 address, then a port), not)"},
      {":9464", "expected <host>:<port>"},
      {"127.0.0.1:9464,127.0.0.1:9465", "expected <host>:<port>"},
      {"a,b:9464", "expected <host>:<port>"},
      {"localhost:0", R"(the port must be a number from 1 to 65535, not "0")"},
      {"localhost:65536", "the port must be"},
      {"localhost:+80", "the port must be"},
      {"localhost:", R"(the port must be a number from 1 to 65535, not "")"},
  };
  for (auto const& test : cases) {
    EXPECT_THAT([&] { sim::parseEndpoint(test.first); },
                ::testing::ThrowsMessage<std::invalid_argument>(HasSubstr(test.second)))
        << test.first;
  }
}

}  // namespace
