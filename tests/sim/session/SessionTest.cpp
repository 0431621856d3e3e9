#include <gmock/gmock.h>

#include <sstream>

#include "sim/session/Commands.h"
#include "sim/session/Completion.h"
#include "sim/session/Session.h"

namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

TEST(Session, RefusesABadLineSayingWhatIsWrongAndRunsNothingOfIt) {
  std::ostringstream out;
  sim::Session session({}, out, out);
  session.runLine("fap add 1 Ethernet1", false);
  std::pair<char const*, char const*> const cases[] = {
      {"fapp add 1", R"(unknown command "fapp" ("help" lists the commands))"},
      {"agent pause", R"(unknown action "agent pause"; usage: agent stop|start|restart)"},
      {"macsec on", "usage: macsec on|off <interfaces>... | macsec retry"},
      {"help chipp", R"(no command "chipp")"},
      {"chip 1 isec-disabled=65534",
       R"(isec-disabled must be a number from 0 to 65533, not "65534")"},
      {"chip 2 engines=0", R"(engines must be a number from 1 to 1024, not "0")"},
      {"threshold 1 lower=5", R"(unknown parameter "lower"; usage: threshold)"},
      {"threshold all upper=50 clear=60", "the clear threshold (60%) must be below"},
      {"trace 10", R"(a trace level must be a number from 0 to 9, not "10")"},
      // Every value is read before anything changes: Ethernet2 does not join.
      {"intf add 1 Ethernet2 eth3", R"(malformed interface "eth3")"},
      {"intf add 2 Ethernet1", "logical FAP 2 does not exist"},
  };
  for (auto const& test : cases) {
    char const* const line = test.first;
    EXPECT_THAT([&] { session.runLine(line, false); },
                ::testing::ThrowsMessage<std::runtime_error>(StartsWith(test.second)));
  }
  EXPECT_FALSE(session.host()
                   .faps()
                   .logicalFap(LogicalFap::LogicalFapId(1))
                   ->intfIdHas(Portix::IntfId("Ethernet2")));
  // help lists each command's forms, as the table gives them.
  std::size_t forms = 0;
  for (sim::Command const& command : sim::commands()) {
    forms += command.syntax.forms.size();
  }
  sim::View const help = sim::helpView("");
  EXPECT_EQ(help.object["help"].size(), sim::commands().size());
  EXPECT_EQ(std::count(help.text.begin(), help.text.end(), '\n'), long(forms + 2));
}

TEST(Session, CompletesFromTheUsageFormsAndTheSwitch) {
  std::ostringstream out;
  sim::Session session({}, out, out);
  session.runLine("fap add 7 Ethernet1-2 Ethernet2.1", false);
  session.runLine("macsec on Ethernet9.4", false);
  auto const complete = [&](std::string_view line) {
    auto const space = line.rfind(' ');
    return sim::completions(session.host(), line,
                            space == std::string_view::npos ? line : line.substr(space + 1));
  };
  EXPECT_THAT(complete("ma"), ElementsAre("macsec"));
  EXPECT_THAT(complete("macsec "), ElementsAre("off", "on", "retry"));
  EXPECT_THAT(complete("macsec on Ethernet2"), ElementsAre("Ethernet2", "Ethernet2.1"));
  EXPECT_THAT(complete("macsec on Ethernet1 Ethernet9"), ElementsAre("Ethernet9.4"));
  EXPECT_THAT(complete("show u"), ElementsAre("utilization"));
  EXPECT_THAT(complete("show interface Ethernet1 j"), ElementsAre("json"));
  EXPECT_THAT(complete("help t"), ElementsAre("threshold", "trace"));
  EXPECT_THAT(complete("fap del "), ElementsAre("7"));
  EXPECT_THAT(complete("fap del 7 "), ::testing::IsEmpty());
  EXPECT_THAT(complete("nosuch "), ::testing::IsEmpty());
}

}  // namespace
