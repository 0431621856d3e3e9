#include "sim/session/Commands.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>

#include "OruMacSec/OruMacSecTrace.h"
#include "sim/language/Words.h"
#include "sim/model/Limits.h"
#include "sim/views/Standing.h"

namespace sim {

namespace {

using Intfs = std::vector<Portix::IntfId>;

std::optional<U16> optionalFap(Arguments const& a) {
  return a.has("fap") ? std::optional<U16>(a.fap()) : std::nullopt;
}

// Warns of the subinterfaces that run MACsec while only their port's membership serves them.
void warnServedThroughPort(CommandContext& s, Intfs const& interfaces, bool joined) {
  Intfs const found = s.host.servedOnlyThroughPort(interfaces, joined);
  if (found.empty()) {
    return;
  }
  Portix::IntfId const first = found.front();
  if (found.size() == 1) {
    s.transcript.warning(fmt::format(
        "{} runs MACsec while only its port {} is in the interface set of logical FAP {}: its "
        "indexes will not survive an agent restart (add {} to the set to keep them)",
        Portix::valueToStrep(first), Portix::valueToStrep(Portix::SubIntfId::parentIntfId(first)),
        *s.host.servingFap(first), Portix::valueToStrep(first)));
    return;
  }
  s.transcript.warning(fmt::format(
      "{} subinterfaces ({} first) run MACsec while only their ports are in a logical FAP's "
      "interface set: their indexes will not survive an agent restart (add them to the set to "
      "keep them)",
      found.size(), Portix::valueToStrep(first)));
}

void chip(CommandContext& s, Arguments const& a) {
  U16 const fapId = a.fap();
  ChipSettings settings;  // what a parameter does not give is the default
  if (a.has("engines")) {
    settings.engines = U16(a.number("engines", kMinEngines, kMaxEngines));
  }
  if (a.has("isec-disabled")) {
    settings.isecDisabled = U16(a.number("isec-disabled", 0, kMaxIsecDisabled));
  }
  if (a.has("esec-disabled")) {
    settings.esecDisabled = U16(a.number("esec-disabled", 0, kMaxU16));
  }
  if (a.has("per-port-disabled")) {
    settings.perPortDisabled = a.yesNo("per-port-disabled");
  }
  if (a.has("static")) {
    settings.staticAllocation = a.yesNo("static");
  }
  s.host.chipIs(fapId, settings);
}

void fap(CommandContext& s, Arguments const& a) {
  U16 const fapId = a.fap();
  if (a.has("del")) {
    return s.host.fapDel(fapId);
  }
  Intfs const interfaces = a.interfaces();
  s.host.fapAdd(fapId, interfaces);
  warnServedThroughPort(s, interfaces, true);
}

void intf(CommandContext& s, Arguments const& a) {
  U16 const fapId = a.fap();
  Intfs const interfaces = a.interfaces();
  if (a.has("del")) {
    return s.host.intfDel(fapId, interfaces);
  }
  s.host.intfAdd(fapId, interfaces);
  warnServedThroughPort(s, interfaces, true);
}

void macsec(CommandContext& s, Arguments const& a) {
  Intfs interfaces = a.interfaces();
  if (a.has("retry")) {
    if (interfaces.empty()) {
      for (Standing const& refused : refusedInterfaces(s.snapshot(), std::nullopt)) {
        interfaces.push_back(refused.intf);
      }
    }
    return s.host.macsecAnnounce(interfaces);
  }
  s.host.macsecIs(interfaces, a.has("on"));
  if (a.has("on")) {
    warnServedThroughPort(s, interfaces, false);
  }
}

void show(CommandContext& s, Arguments const& a) {
  View const view = a.has("utilization") ? utilizationView(s.snapshot(), optionalFap(a), s.columns)
                    : a.has("interface") ? interfaceView(s.snapshot(), a.interfaces())
                    : a.has("summary")   ? summaryView(s.snapshot())
                                         : statusView(s.snapshot(), optionalFap(a));
  s.transcript.view(view, a.has("json"));
}

void threshold(CommandContext& s, Arguments const& a) {
  auto const percent = [&](char const* name) {
    return a.has(name) ? std::optional<unsigned>(unsigned(a.number(name, 0, 100))) : std::nullopt;
  };
  s.monitor.thresholdsIs(optionalFap(a), percent("upper"), percent("clear"));
}

void logs(CommandContext& s, Arguments const& a) {
  s.transcript.logLimitIs(a.has("all") ? SIZE_MAX : std::size_t(a.number("count", 0, 1000000)));
}

void trace(CommandContext& /*s*/, Arguments const& a) {
  Vok::TraceLevelMask const levels = a.has("off") ? 0 : traceLevels(a.values("levels").at(0));
  Vok::traceLevelsIs(OruMacSec::kTraceHandleName, levels);
}

void agent(CommandContext& s, Arguments const& a) {
  if (!a.has("start")) {
    s.host.agentStop();
  }
  if (!a.has("stop")) {
    s.host.agentStart();
  }
}

void help(CommandContext& s, Arguments const& a) {
  s.transcript.view(helpView(a.has("command") ? a.values("command").at(0) : ""));
}

}  // namespace

std::vector<Command> const& commands() {
  static std::vector<Command> const table = {
      {{"chip",
        {"chip <fap> [engines=<n>] [isec-disabled=<n>] [esec-disabled=<n>] "
         "[per-port-disabled=yes|no] [static=yes|no]"}},
       "Sets the chip policy of a logical FAP: its engine instances, the ingress disabled index\n"
       "(also the largest index of every table), the shared egress disabled index, whether each\n"
       "port needs an egress disabled entry of its own, and static indexes. Defaults: 1 engine,\n"
       "isec-disabled 255, esec-disabled 255, no, no. Fixed while the FAP exists or has\n"
       "published status.",
       true,
       chip},
      {{"fap", {"fap add <fap> [<interfaces>...]", "fap del <fap>"}},
       "Adds a logical FAP (announced first, then each interface joins its set), or removes it\n"
       "with its set. An interface belongs to one FAP's set at a time.",
       true,
       fap},
      {{"intf", {"intf add|del <fap> <interfaces>..."}},
       "Changes a logical FAP's interface set.",
       true,
       intf},
      {{"macsec", {"macsec on|off <interfaces>...", "macsec retry [<interfaces>...]"}},
       "Switches MACsec on or off on the interfaces. retry announces the interfaces' MACsec "
       "status\n"
       "to the agent again, unchanged, so that it reconciles them: the index manager does not\n"
       "retry a refused interface by itself when entries are freed. Without interfaces, retry\n"
       "takes every interface that should hold indexes and holds none.",
       true,
       macsec},
      {{"show",
        {"show [<fap>] [json]", "show utilization [<fap>] [json]",
         "show interface <interfaces>... [json]", "show summary [json]"}},
       "show: the published status per logical FAP (engines and their use, each interface's\n"
       "indexes, ports' egress disabled entries, refused interfaces). utilization: used, free,\n"
       "max-limit and high-watermark (with its time) per FAP, engine and table, with the\n"
       "thresholds; a compact table when the full one is wider than the terminal.\n"
       "interface: where the interfaces stand. summary: per FAP, its most used table, the\n"
       "tables over their upper threshold and the refused interfaces, one line each.\n"
       "json: one JSON object (--json: every output).",
       false,
       show},
      {{"threshold", {"threshold <fap>|all [upper=<percent>] [clear=<percent>]"}},
       "Sets the use thresholds of the tables of one logical FAP, or of all (defaults: upper 85,\n"
       "clear 70). A table whose use reaches the upper threshold prints THRESHOLD_EXCEEDED once;\n"
       "when it falls to the clear threshold or below, THRESHOLD_CLEAR once. Kept in the store.",
       true,
       threshold},
      {{"logs", {"logs all|<count>"}},
       "How many log messages of one kind a command prints (default 5) before one line counts\n"
       "the rest; all prints every one.",
       false,
       logs},
      {{"trace", {"trace <levels>|off"}},
       "Switches the index manager's trace levels: 1,4 or 0-9 or all (0 hardware full,\n"
       "1 refusals, 4 decisions, 8 entry, 9 already served).",
       false,
       trace},
      {{"agent", {"agent stop|start|restart"}},
       "Destroys the agent (nothing published changes; commands still change the inputs) or\n"
       "starts a new one over the same shared state.",
       true,
       agent},
      {{"help", {"help [<command>]"}}, "Lists the commands, or describes one.", false, help},
  };
  return table;
}

Command const* findCommand(std::string_view name) {
  for (Command const& command : commands()) {
    if (command.syntax.name == name) {
      return &command;
    }
  }
  return nullptr;
}

View helpView(std::string_view topic) {
  if (!topic.empty() && findCommand(topic) == nullptr) {
    throw ScenarioError(fmt::format("no command \"{}\" (\"help\" lists the commands)", topic));
  }
  View view{{{"help", nlohmann::json::array()}}, ""};
  for (Command const& command : commands()) {
    if (!topic.empty() && command.syntax.name != topic) {
      continue;
    }
    for (std::string_view const form : command.syntax.forms) {
      view.text += "  " + std::string(form) + '\n';
    }
    if (!topic.empty()) {
      view.text += '\n' + std::string(command.summary) + '\n';
    }
    view.object["help"].push_back({{"command", command.syntax.name},
                                   {"usage", command.syntax.forms},
                                   {"summary", command.summary}});
  }
  if (topic.empty()) {
    view.text = "Commands (\"help <command>\" describes one; # starts a comment):\n" + view.text +
                "Interfaces: Ethernet<N> or Ethernet<N>.<M>; a number may be a range or a comma "
                "list: Ethernet1-48, Ethernet1,3,5-8, Ethernet1-4.1-100.\n";
  }
  return view;
}

}  // namespace sim
