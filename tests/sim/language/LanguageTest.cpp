#include <gmock/gmock.h>

#include "sim/language/Grammar.h"
#include "sim/language/Words.h"

namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

sim::Syntax const kShow{"show",
                        {"show [<fap>] [json]", "show utilization [<fap>] [json]",
                         "show interface <interfaces>... [json]"}};
sim::Syntax const kChip{"chip", {"chip <fap> [engines=<n>] [static=yes|no]"}};
sim::Syntax const kFap{"fap", {"fap add <fap> [<interfaces>...]", "fap del <fap>"}};
sim::Syntax const kLogs{"logs", {"logs all|<count>"}};

sim::Arguments read(sim::Syntax const& syntax, std::string_view line) {
  return sim::readArguments(syntax, sim::words(line));
}

TEST(Grammar, ReadsALineByTheFormThatFitsIt) {
  auto const show = read(kShow, "show 3 json");
  EXPECT_EQ(show.fap(), 3);
  EXPECT_TRUE(show.has("json"));
  EXPECT_FALSE(show.has("utilization"));
  // A word a form spells out is never a value: "json" is not a FAP, "utilization" picks a form.
  EXPECT_FALSE(read(kShow, "show json").has("fap"));
  EXPECT_TRUE(read(kShow, "show utilization").has("utilization"));
  auto const interfaces = read(kShow, "show interface Ethernet1-2 Ethernet5.1 json");
  EXPECT_THAT(interfaces.values("interfaces"), ElementsAre("Ethernet1-2", "Ethernet5.1"));
  EXPECT_EQ(interfaces.interfaces().size(), 3u);
  EXPECT_TRUE(interfaces.has("json"));
  // Parameters come in any order; the last of two counts.
  auto const chip = read(kChip, "chip 2 static=yes engines=3 engines=4");
  EXPECT_EQ(chip.number("engines", 1, 8), 4u);
  EXPECT_TRUE(chip.yesNo("static"));
  EXPECT_TRUE(read(kLogs, "logs all").has("all"));
  EXPECT_EQ(read(kLogs, "logs 7").number("count", 0, 9), 7u);
  // Values are read when asked for, each with its own error.
  EXPECT_THAT([] { read(kShow, "show 70000").fap(); },
              ThrowsMessage<sim::ScenarioError>(
                  StartsWith(R"(a logical FAP must be a number from 0 to 65535, not "70000")")));
  EXPECT_THAT([] { read(kChip, "chip 1 static=maybe").yesNo("static"); },
              ThrowsMessage<sim::ScenarioError>(StartsWith(R"(static must be yes or no)")));
  EXPECT_THAT([] { read(kLogs, "logs 10").number("count", 0, 9); },
              ThrowsMessage<sim::ScenarioError>(StartsWith("count must be a number from 0 to 9")));
}

TEST(Grammar, SaysWhyNoFormFitsAndWhatMayFollow) {
  std::pair<sim::Syntax const*, std::pair<char const*, char const*>> const cases[] = {
      {&kFap, {"fap move 1", R"(unknown action "fap move"; usage: fap add)"}},
      {&kFap, {"fap del", "usage: fap add <fap> [<interfaces>...] | fap del <fap>"}},
      {&kShow, {"show utilization 1 2", "usage: show [<fap>] [json] | show utilization"}},
      {&kShow, {"show interface", "usage: show"}},
      {&kChip, {"chip 1 colour=red", R"(unknown parameter "colour"; usage: chip <fap>)"}},
      {&kChip, {"chip engines=1", "usage: chip"}},
      {&kLogs, {"logs", "usage: logs all|<count>"}},
  };
  for (auto const& [syntax, test] : cases) {
    sim::Syntax const& form = *syntax;
    std::string_view const line = test.first;
    EXPECT_THAT([&] { read(form, line); },
                ThrowsMessage<sim::ScenarioError>(StartsWith(test.second)))
        << line;
  }
  auto const after = [](sim::Syntax const& syntax, std::string_view line) {
    return sim::expectedAfter(syntax, sim::words(line));
  };
  EXPECT_THAT(after(kShow, "show").words, ElementsAre("json", "utilization", "interface"));
  EXPECT_THAT(after(kShow, "show").values, ElementsAre("fap"));
  EXPECT_THAT(after(kShow, "show interface Ethernet1").values, ElementsAre("interfaces"));
  EXPECT_THAT(after(kShow, "show interface Ethernet1").words, ElementsAre("json"));
  EXPECT_THAT(after(kFap, "fap del").values, ElementsAre("fap"));
  EXPECT_THAT(after(kFap, "fap del 1").values, ::testing::IsEmpty());
  EXPECT_THAT(after(kFap, "fap add 1").values, ElementsAre("interfaces"));
  EXPECT_THAT(after(kChip, "chip 1 engines=2").words, ::testing::IsEmpty());
}

TEST(Words, ExpandsRangesAndListsAndRefusesMalformedInterfaces) {
  auto const names = [](std::string_view token) {
    std::vector<std::string> out;
    for (Portix::IntfId const id : sim::expandInterfaces(token)) {
      out.push_back(Portix::valueToStrep(id));
    }
    return out;
  };
  EXPECT_THAT(names("Ethernet3,1-2.5,7"), ElementsAre("Ethernet3.5", "Ethernet3.7", "Ethernet1.5",
                                                      "Ethernet1.7", "Ethernet2.5", "Ethernet2.7"));
  EXPECT_THAT(names("Ethernet4294967295"), ElementsAre("Ethernet4294967295"));
  std::vector<std::pair<std::string, std::string>> cases = {
      {"Ethernet3-1", R"(the range in "Ethernet3-1" runs backwards)"},
      {"Ethernet1,3-2", R"(the range in "Ethernet1,3-2" runs backwards)"},
      {"Ethernet1,2.1-1048576", R"("Ethernet1,2.1-1048576" names 2097152 interfaces)"},
      {"Ethernet1-1048577", R"("Ethernet1-1048577" names 1048577 interfaces; at most)"},
  };
  for (std::string bad :
       {"eth1", "Ethernet", "Ethernet0", "Ethernet01", "Ethernet1.0", "Ethernet1.", "Ethernet1.2.3",
        "Ethernet1-", "Ethernet4294967296", "Ethernet1,", "Ethernet,1"}) {
    cases.push_back({bad, "malformed interface \"" + bad + "\" (expected"});
  }
  for (auto const& [token, expected] : cases) {
    EXPECT_THAT([&token = token] { sim::expandInterfaces(token); },
                ThrowsMessage<sim::ScenarioError>(StartsWith(expected)));
  }
  EXPECT_EQ(sim::traceLevels("1,4-5"),
            Vok::traceLevelBit(1) | Vok::traceLevelBit(4) | Vok::traceLevelBit(5));
  EXPECT_THAT([] { sim::traceLevels("10"); },
              ThrowsMessage<sim::ScenarioError>(StartsWith("a trace level must be a number")));
}

}  // namespace
