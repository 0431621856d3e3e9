// The platform's diagnostics: rate-limited logs that render lazily, leveled traces, the ring
// trace, printf-style rendering of pre-rendered arguments, and interface names.
#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Portix/IntfId.h"
#include "platform/Vok/Log.h"
#include "platform/Vok/Printf.h"
#include "platform/Vok/RingTrace.h"
#include "platform/Vok/Trace.h"

namespace {

// A log argument that counts how often it was turned into text.
struct Rendered {
  std::string text;
  int* renders;
};
std::ostream& operator<<(std::ostream& out, Rendered const& value) {
  ++*value.renders;
  return out << value.text;
}

struct LogRecorder : Vok::LogSink {
  LogRecorder() { Vok::logSinkAdd(*this); }
  ~LogRecorder() override {
    Vok::logSinkRemove(*this);
    Vok::logClockIs(nullptr);
  }
  void logWritten(Vok::LogRecord const& record) override { texts.emplace_back(record.text); }
  std::vector<std::string> texts;
};

Vok::LogDescriptor const kDescriptor{"TEST_PORT_EVENT", "Event on %s: %s (%d%%)", "explanation",
                                     "\x01", 6};

TEST(LogHandle, RateLimitsPerEventAndRendersTheRestOnlyWhenWritten) {
  LogRecorder recorder;
  double now = 100.0;
  Vok::logClockIs([&] { return now; });
  // One message per 10 s for each value of the first argument.
  Vok::LogHandle handle(kDescriptor, Vok::Seconds(10), 1.0, 1u, 0u);
  int keyRenders = 0;
  int detailRenders = 0;
  Rendered const port{"Ethernet1", &keyRenders};
  Rendered const detail{"down", &detailRenders};

  Vok::logMessage(handle, port, detail, 50);
  Vok::logMessage(handle, port, detail, 60);                      // same event: dropped
  Vok::logMessage(handle, std::string("Ethernet2"), detail, 70);  // another event
  EXPECT_EQ(recorder.texts, (std::vector<std::string>{"Event on Ethernet1: down (50%)",
                                                      "Event on Ethernet2: down (70%)"}));
  EXPECT_EQ(keyRenders, 2);     // the identifying argument is rendered to decide
  EXPECT_EQ(detailRenders, 2);  // the rest only for messages that were written

  now += 10.0;  // the interval has passed: the event may be written again
  Vok::logMessage(handle, port, detail, 80);
  EXPECT_EQ(recorder.texts.back(), "Event on Ethernet1: down (80%)");
}

TEST(LogHandle, ZeroIntervalLetsEveryMessageThrough) {
  LogRecorder recorder;
  Vok::logClockIs([] { return 0.0; });
  Vok::LogHandle handle(kDescriptor, Vok::Seconds(0), 1.0, 0u, 0u);
  for (int i = 0; i < 5; ++i) {
    Vok::logMessage(handle, "Ethernet1", "up", i);
  }
  EXPECT_EQ(recorder.texts.size(), 5u);
}

TEST(RenderPrintf, EachConversionTakesTheNextArgument) {
  EXPECT_EQ(Vok::renderPrintf("%s=%-5d %u%% %lu", {"a", "1", "2", "3"}), "a=1 2% 3");
  EXPECT_EQ(Vok::renderPrintf("%s and %s", {"only"}), "only and ");
}

struct TraceRecorder : Vok::TraceSink {
  TraceRecorder() { Vok::traceSinkAdd(*this); }
  ~TraceRecorder() override { Vok::traceSinkRemove(*this); }
  void traceWritten(Vok::TraceRecord const& record) override {
    written.push_back(std::to_string(record.level) + " " + std::string(record.text));
  }
  std::vector<std::string> written;
};

TEST(TraceHandle, WritesOnlyEnabledLevelsAndRendersNothingOtherwise) {
  TraceRecorder recorder;
  Vok::traceLevelsIs("TestHandle", Vok::traceLevelBit(1) | Vok::traceLevelBit(9));
  Vok::TraceHandle handle("TestHandle", true);  // configured levels win over "all on"
  Vok::TraceHandle other("OtherHandle", false);
  int renders = 0;
  auto const counted = [&] { return ++renders; };

  VOK_TRACE(handle, 1, "file", "Class", "level {}", counted());
  VOK_TRACE(handle, 4, "file", "Class", "level {}", counted());
  VOK_TRACE(handle, 9, "file", "Class", "level {}", counted());
  VOK_TRACE(other, 1, "file", "Class", "other {}", counted());
  EXPECT_EQ(recorder.written, (std::vector<std::string>{"1 level 1", "9 level 2"}));
  EXPECT_EQ(renders, 2);

  Vok::traceLevelsIs("TestHandle", 0);  // reaches handles that exist already
  VOK_TRACE(handle, 1, "file", "Class", "level {}", counted());
  EXPECT_EQ(recorder.written.size(), 2u);
  EXPECT_FALSE(Vok::TraceHandle("Unconfigured", false).enabled(0));
  EXPECT_EQ(Vok::TraceHandle("AllOn", true).levels(), Vok::kAllTraceLevels);
}

TEST(RingTrace, KeepsTheNewestMessagesOldestFirst) {
  Vok::RingTrace ring(3);
  for (int i = 1; i <= 5; ++i) {
    ring.write("message %d of %s", {std::to_string(i), "five"});
  }
  EXPECT_EQ(ring.messages(), (std::vector<std::string>{"message 3 of five", "message 4 of five",
                                                       "message 5 of five"}));
  ring.clear();
  EXPECT_TRUE(ring.messages().empty());
}

TEST(IntfId, ParsesNamesOrdersPortsBeforeTheirSubinterfacesAndRoundTrips) {
  using Portix::IntfId;
  std::vector<std::string> const ascending{"Ethernet1",   "Ethernet2",
                                           "Ethernet2.1", "Ethernet2.10",
                                           "Ethernet10",  "Ethernet4294967295.4294967295"};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    IntfId const id(ascending[i]);
    EXPECT_EQ(Portix::valueToStrep(id), ascending[i]);
    EXPECT_EQ(IntfId::fromValue(id.value()), id);
    if (i > 0) {
      EXPECT_LT(IntfId(ascending[i - 1]), id) << ascending[i];
    }
  }
  IntfId const sub("Ethernet2.10");
  EXPECT_TRUE(Portix::SubIntfId::isSubIntfId(sub));
  EXPECT_FALSE(Portix::SubIntfId::isSubIntfId(IntfId("Ethernet2")));
  EXPECT_EQ(Portix::SubIntfId::parentIntfId(sub), IntfId("Ethernet2"));
  EXPECT_EQ(std::hash<IntfId>()(sub), std::hash<IntfId>()(IntfId("Ethernet2.10")));
}

TEST(IntfId, RefusesMalformedNamesNamingTheText) {
  for (char const* bad :
       {"", "Ethernet", "Ethernet0", "Ethernet01", "Ethernet1.", "Ethernet1.0", "Ethernet1.2.3",
        "Ethernet4294967296", "ethernet1", "Ethernet-1", "Ethernet1 "}) {
    try {
      Portix::IntfId const id(bad);
      ADD_FAILURE() << "accepted \"" << bad << "\"";
    } catch (std::invalid_argument const& error) {
      EXPECT_NE(std::string(error.what()).find("\"" + std::string(bad) + "\""), std::string::npos);
    }
  }
}

}  // namespace
