#include "OruMacSec/testing/PolicyCheck.h"

#include <fmt/format.h>

#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "OruMacSec/testing/Duties.h"
#include "OruMacSec/testing/Invariants.h"
#include "OruMacSec/testing/Snapshot.h"

namespace OruMacSec::testing {

namespace {

using Kind = Event::Kind;

struct Failure {
  bool duty = false;
  std::string rule;
  std::string detail;

  bool sameAs(Failure const& other) const { return duty == other.duty && rule == other.rule; }
};

Failure invariant(std::string rule, std::string detail) {
  return Failure{false, std::move(rule), std::move(detail)};
}

// A small generator of our own (splitmix64), so that a seed gives the same histories with every
// compiler and standard library.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31U);
  }
  // A number in 0..n-1; n must not be 0.
  std::size_t below(std::size_t n) { return std::size_t(next() % n); }

 private:
  std::uint64_t state_;
};

// One switch under test and its twin, which gets the same events but restarts only when a restart
// may change something; what the operator has been told (interfaces whose last allocation, with
// inputs unchanged since, was refused for a full table); and the facts fixed for each FAP while
// its status exists.
class Run : public Vok::LogSink {
 public:
  explicit Run(PolicyFactory factory) : factory_(std::move(factory)) {
    Vok::logSinkAdd(*this);
    host_.build(factory_);
    host_.start();
    listening_ = false;
    twin_.build(twinPolicies());
    twin_.start();
    listening_ = true;
  }
  ~Run() override { Vok::logSinkRemove(*this); }
  Run(Run const&) = delete;
  Run& operator=(Run const&) = delete;

  Host const& host() const { return host_; }

  bool applicable(Event const& event) const {
    bool const present = host_.faps->logicalFapHas(event.fap);
    switch (event.kind) {
      case Kind::kFapAdd:
        return !present;
      case Kind::kFapDel:
      case Kind::kIntfAdd:
      case Kind::kIntfDel:
        return present;
      default:
        return true;
    }
  }

  // Checks the policies' answers for the inputs after the event, applies the event to both
  // switches, then checks the invariants. The first failure found, if any.
  std::optional<Failure> apply(Event const& event) {
    Snapshot const before = Snapshot::of(*host_.status, host_.agent.get());
    if (auto failure = checkPolicies(event)) {
      return failure;
    }
    if (event.kind == Kind::kAgentRestart) {
      bool const settled = this->settled();
      host_.start();
      if (!settled) {
        listening_ = false;
        twin_.build(twinPolicies());
        twin_.start();
      }
    } else {
      change(host_, event);
      listening_ = false;
      change(twin_, event);
    }
    listening_ = true;
    if (event.kind == Kind::kFapDel) {
      fixed_.erase(event.fap.value());
    }
    return checkInvariants(event, before);
  }

  void logWritten(Vok::LogRecord const& record) override {
    if (!listening_ || record.name != "MACSEC_INTERFACE_HW_RESOURCE_FULL") {
      return;
    }
    std::string const text(record.text);
    char name[64];
    unsigned fap = 0;
    // Throwing here would unwind through the manager, so a malformed text is reported later.
    if (std::sscanf(text.c_str(),
                    "Unable to configure MACsec on %63s due to insufficient hardware resources on "
                    "module %u, engine",
                    name, &fap) != 2) {
      malformedLog_ = text;
      return;
    }
    refused_.insert({U16(fap), Portix::IntfId(name)});
  }

 private:
  // The twin is served with the switch's own policy objects, so that the two differ only in
  // their restarts.
  PolicyFactory twinPolicies() {
    return [this](LogicalFap::LogicalFapId fap) { return host_.agent->getIndexHelper(fap); };
  }

  static void change(Host& host, Event const& event) {
    switch (event.kind) {
      case Kind::kFapAdd: {
        auto const set = host.faps->logicalFapIs(event.fap);
        for (Portix::IntfId const intf : event.interfaces) {
          set->intfIdIs(intf);
        }
        return;
      }
      case Kind::kFapDel:
        host.faps->logicalFapDel(event.fap);
        return;
      case Kind::kIntfAdd:
        host.faps->logicalFap(event.fap)->intfIdIs(event.interfaces.front());
        return;
      case Kind::kIntfDel:
        host.faps->logicalFap(event.fap)->intfIdDel(event.interfaces.front());
        return;
      case Kind::kMacsecOn:
        host.macsec->cpStatusIs(event.interfaces.front());
        return;
      case Kind::kMacsecOff:
        host.macsec->cpStatusDel(event.interfaces.front());
        return;
      case Kind::kAgentRestart:
        return;
    }
  }

  // Every FAP present after the event, with its inputs then.
  std::map<U16, FapInputs> inputsAfter(Event const& event) const {
    std::set<Portix::IntfId> macsec;
    for (auto status = host_.macsec->cpStatusIter(); status; ++status) {
      macsec.insert(status.key());
    }
    std::map<U16, FapInputs> faps;
    for (auto fap = host_.faps->logicalFapIter(); fap; ++fap) {
      auto& inputs = faps[fap.key().value()];
      for (auto member = fap.value()->intfIdIter(); member; ++member) {
        inputs.members.insert(member.key());
      }
    }
    Portix::IntfId const intf = event.interfaces.empty() ? Portix::IntfId() : event.interfaces[0];
    switch (event.kind) {
      case Kind::kFapAdd:
        faps[event.fap.value()].members.insert(event.interfaces.begin(), event.interfaces.end());
        break;
      case Kind::kFapDel:
        faps.erase(event.fap.value());
        break;
      case Kind::kIntfAdd:
        faps[event.fap.value()].members.insert(intf);
        break;
      case Kind::kIntfDel:
        faps[event.fap.value()].members.erase(intf);
        break;
      case Kind::kMacsecOn:
        macsec.insert(intf);
        break;
      case Kind::kMacsecOff:
        macsec.erase(intf);
        break;
      case Kind::kAgentRestart:
        break;
    }
    for (auto& entry : faps) {
      entry.second.macsec = macsec;
    }
    return faps;
  }

  // The policies that will serve the FAPs after the event, asked before the manager acts: those
  // serving now, a new one for a FAP added, and every one anew for a restart (whose new agent is
  // built here and started only when they pass).
  std::optional<Failure> checkPolicies(Event const& event) {
    auto const after = inputsAfter(event);
    if (event.kind == Kind::kAgentRestart) {
      host_.stop();
      host_.build(factory_);
    }
    for (auto const& [id, inputs] : after) {
      LogicalFap::LogicalFapId const fap(id);
      auto const policy = host_.agent->getIndexHelper(fap);
      if (!policy) {
        return Failure{true, "a policy for every FAP",
                       fmt::format("the factory gives no policy for FAP {}", fap)};
      }
      auto const fixed = fixed_.find(id);
      auto const breach = checkDuties(
          *policy, fap, inputs, host_.status->indexFapStatus(fap).get(),
          fixed == fixed_.end() ? std::nullopt : std::optional<ChipFacts>(fixed->second));
      if (breach) {
        return Failure{true, breach->duty, breach->detail};
      }
      fixed_.emplace(id, ChipFacts::of(*policy));
    }
    return std::nullopt;
  }

  // Whether a restart now keeps everything as carrying on would: no refused interface waits (a
  // start tries it again), every interface holding indexes is itself a member of its FAP's set
  // with its port (a start drops the others' records and gives them indexes anew), and on static
  // chips every member whose port is in the set and whose index is inside the tables holds it (a
  // start reconciles every member; a running FAP does not re-examine a member subinterface
  // without MACsec when its port joins or leaves).
  bool settled() const {
    if (!refused_.empty()) {
      return false;
    }
    for (auto fap = host_.faps->logicalFapIter(); fap; ++fap) {
      auto const& members = *fap.value();
      auto const published = host_.status->indexFapStatus(fap.key());
      if (!published) {
        continue;
      }
      auto const policy = host_.agent->getIndexHelper(fap.key());
      for (auto record = published->esecIndexInfoIter(); record; ++record) {
        Portix::IntfId const intf = record.key().intfId();
        if (!members.intfIdHas(intf) || !members.intfIdHas(policy->getParentIntfId(intf))) {
          return false;
        }
      }
      if (!policy->useStaticIndexAllocation()) {
        continue;
      }
      for (auto member = members.intfIdIter(); member; ++member) {
        if (members.intfIdHas(policy->getParentIntfId(member.key())) &&
            !published->esecIndexInfoHas(SecIntfId(member.key())) &&
            policy->staticIndex(member.key()) <= policy->isecDisabledIndex()) {
          return false;
        }
      }
    }
    return true;
  }

  std::optional<Failure> checkInvariants(Event const& event, Snapshot const& before) {
    auto const first = [](std::vector<std::string> const& problems) { return problems.front(); };
    if (auto const problems = checkAgent(*host_.agent); !problems.empty()) {
      return invariant("published records and booked entries agree", first(problems));
    }
    Snapshot const after = Snapshot::of(*host_.status, host_.agent.get());
    if (auto const problems = checkLowestFree(before, after); !problems.empty()) {
      return invariant("the lowest free entry first", first(problems));
    }
    if (event.kind == Kind::kAgentRestart) {
      if (auto const problems = checkRestartKept(before, after, *host_.faps); !problems.empty()) {
        return invariant("a restart keeps the indexes in use", first(problems));
      }
    }
    Snapshot const twin = Snapshot::of(*twin_.status, twin_.agent.get());
    if (auto difference = firstDifference(after, twin)) {
      return invariant("a restart changes nothing that carrying on would not",
                       fmt::format("after the restart: {}; carrying on: {}", difference->first,
                                   difference->second));
    }
    if (!malformedLog_.empty()) {
      return invariant("the hardware-full log names the interface", malformedLog_);
    }
    for (auto machine = host_.agent->indexFapSmIter(); machine; ++machine) {
      if (auto failure = checkQualified(*machine.value())) {
        return failure;
      }
    }
    return std::nullopt;
  }

  // The first line of either snapshot's text that the other lacks, with the other's line there.
  static std::optional<std::pair<std::string, std::string>> firstDifference(Snapshot const& a,
                                                                            Snapshot const& b) {
    std::istringstream left(a.publishedText() + a.bookedText());
    std::istringstream right(b.publishedText() + b.bookedText());
    std::string l;
    std::string r;
    while (true) {
      bool const moreLeft = bool(std::getline(left, l));
      bool const moreRight = bool(std::getline(right, r));
      if (!moreLeft && !moreRight) {
        return std::nullopt;
      }
      if (!moreLeft || !moreRight || l != r) {
        return std::make_pair(moreLeft ? l : "(nothing)", moreRight ? r : "(nothing)");
      }
    }
  }

  // Who holds indexes in one served FAP: on dynamic chips every interface whose port is in the
  // set and that has MACsec, unless its last allocation was refused for a full table; on static
  // chips every port in the set whose index is inside the tables, and no other port, each with
  // its static index in all four tables; a port's disabled entry only while a subinterface of it
  // holds indexes or was refused.
  std::optional<Failure> checkQualified(IndexFapSm const& machine) {
    U16 const fap = machine.logicalFapId().value();
    auto const& members = *machine.intfIdCol();
    auto const& status = *machine.indexFapStatus();
    IndexHelper const& policy = *machine.indexHelper();
    auto const holds = [&](Portix::IntfId intf) {
      return status.esecIndexInfoHas(SecIntfId(intf));
    };
    auto const eligible = [&](Portix::IntfId intf) {
      return members.intfIdHas(policy.getParentIntfId(intf)) && host_.macsec->cpStatusHas(intf);
    };
    // Refusals that no longer stand: the interface got its indexes or its inputs changed.
    for (auto it = refused_.begin(); it != refused_.end();) {
      bool const stale = !host_.faps->logicalFapHas(LogicalFap::LogicalFapId(it->first)) ||
                         (it->first == fap && (holds(it->second) || !eligible(it->second)));
      it = stale ? refused_.erase(it) : std::next(it);
    }
    auto const wrong = [&](Portix::IntfId intf, char const* what) {
      return invariant("an interface holds indexes exactly while it qualifies",
                       fmt::format("FAP {}: {} {}", fap, intf, what));
    };
    if (!policy.useStaticIndexAllocation()) {
      for (auto entry = host_.macsec->cpStatusIter(); entry; ++entry) {
        if (eligible(entry.key()) && !holds(entry.key()) &&
            refused_.count({fap, entry.key()}) == 0) {
          return wrong(entry.key(), "qualifies, holds no indexes and was not refused");
        }
      }
    } else {
      for (auto member = members.intfIdIter(); member; ++member) {
        Portix::IntfId const intf = member.key();
        if (!Portix::SubIntfId::isSubIntfId(intf) && !holds(intf) &&
            policy.staticIndex(intf) <= policy.isecDisabledIndex()) {
          return wrong(intf, "is in the set and holds no indexes");
        }
      }
      for (auto record = status.esecIndexInfoIter(); record; ++record) {
        Portix::IntfId const intf = record.key().intfId();
        if (!Portix::SubIntfId::isSubIntfId(intf) && !members.intfIdHas(intf)) {
          return wrong(intf, "holds indexes outside the set");
        }
        TableIndex const index(policy.staticIndex(intf));
        auto const ingress = status.isecIndexInfo(record.key());
        if (record->esecScIndex() != index || ingress.isecScIndex() != index ||
            ingress.isecSpIndex() != index || ingress.msSubportNum() != index) {
          return invariant("static records carry the static index",
                           fmt::format("FAP {}: {} has static index {}", fap, intf, index));
        }
      }
    }
    for (auto record = status.esecLoopbackDisabledIndexInfoIter(); record; ++record) {
      Portix::IntfId const port = record.key().intfId();
      bool served = false;
      for (auto holder = status.esecIndexInfoIter(); holder; ++holder) {
        served = served || (holder.key().intfId() != port &&
                            policy.getParentIntfId(holder.key().intfId()) == port);
      }
      for (auto const& [id, intf] : refused_) {
        served = served || (id == fap && policy.getParentIntfId(intf) == port);
      }
      if (!served) {
        return invariant("a disabled entry serves a subinterface",
                         fmt::format("FAP {}: {} keeps its disabled entry {}", fap, port,
                                     record->esecScIndex()));
      }
    }
    return std::nullopt;
  }

  PolicyFactory factory_;
  Host host_;
  Host twin_;
  bool listening_ = true;
  std::map<U16, ChipFacts> fixed_;
  std::set<std::pair<U16, Portix::IntfId>> refused_;
  std::string malformedLog_;
};

struct Outcome {
  std::optional<Failure> failure;
  // The events run, the failing one included.
  std::size_t length = 0;
};

// Runs `events` on a new switch, every one when `strict`; otherwise a history that reaches an
// event that cannot happen passes (a shrunk history may).
Outcome runHistory(PolicyFactory const& factory, std::vector<Event> const& events, bool strict) {
  Run run(factory);
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (!run.applicable(events[i])) {
      if (strict) {
        throw std::invalid_argument(
            fmt::format("event {} of the history cannot happen then: {}", i + 1, events[i].text()));
      }
      return Outcome{std::nullopt, i};
    }
    if (auto failure = run.apply(events[i])) {
      return Outcome{std::move(failure), i + 1};
    }
  }
  return Outcome{std::nullopt, events.size()};
}

Event fapEvent(Random& random, CheckOptions const& options, Host const& host, U16 id) {
  Event event;
  event.fap = LogicalFap::LogicalFapId(id);
  if (host.faps->logicalFapHas(event.fap)) {
    event.kind = Kind::kFapDel;
    return event;
  }
  event.kind = Kind::kFapAdd;
  for (Portix::IntfId const intf : options.interfaces) {
    if (random.below(3) == 0) {
      event.interfaces.push_back(intf);
    }
  }
  return event;
}

// A random event that can happen now; interface and MACsec events toggle what they change.
Event randomEvent(Random& random, CheckOptions const& options, Host const& host) {
  U16 const id = options.faps[random.below(options.faps.size())];
  Portix::IntfId const intf = options.interfaces[random.below(options.interfaces.size())];
  Event event;
  switch (random.below(8)) {
    case 0:
    case 1:
      return fapEvent(random, options, host, id);
    case 2:
    case 3: {
      auto const set = host.faps->logicalFap(LogicalFap::LogicalFapId(id));
      if (!set) {
        return fapEvent(random, options, host, id);
      }
      event.kind = set->intfIdHas(intf) ? Kind::kIntfDel : Kind::kIntfAdd;
      event.fap = LogicalFap::LogicalFapId(id);
      event.interfaces = {intf};
      return event;
    }
    case 4:
    case 5:
    case 6:
      event.kind = host.macsec->cpStatusHas(intf) ? Kind::kMacsecOff : Kind::kMacsecOn;
      event.interfaces = {intf};
      return event;
    default:
      return event;
  }
}

// Shortens a failing history while it still fails the same way: drops runs of events, halving
// their length down to single events, then single members of FAPs added, until nothing more goes.
// `failure` becomes the failure of the shortened history.
std::vector<Event> shrink(PolicyFactory const& factory, std::vector<Event> history,
                          Failure& failure) {
  auto const failsAlike = [&](std::vector<Event>& candidate) {
    Outcome outcome = runHistory(factory, candidate, false);
    if (!outcome.failure || !outcome.failure->sameAs(failure)) {
      return false;
    }
    candidate.resize(outcome.length);
    failure = std::move(*outcome.failure);
    return true;
  };
  for (bool progress = true; progress;) {
    progress = false;
    for (std::size_t span = history.size() / 2; span >= 1; span /= 2) {
      for (std::size_t start = 0; start + span <= history.size();) {
        std::vector<Event> candidate(history.begin(), history.begin() + std::ptrdiff_t(start));
        candidate.insert(candidate.end(), history.begin() + std::ptrdiff_t(start + span),
                         history.end());
        if (failsAlike(candidate)) {
          history = std::move(candidate);
          progress = true;
        } else {
          start += span;
        }
      }
    }
    for (std::size_t e = 0; e < history.size(); ++e) {
      for (std::size_t m = 0;
           m < history[e].interfaces.size() && history[e].kind == Kind::kFapAdd;) {
        std::vector<Event> candidate = history;
        auto& members = candidate[e].interfaces;
        members.erase(members.begin() + std::ptrdiff_t(m));
        if (failsAlike(candidate)) {
          history = std::move(candidate);
          progress = true;
        } else {
          ++m;
        }
      }
    }
  }
  return history;
}

void describe(Report& report, Failure const& failure, std::vector<Event> const& history) {
  report.brokenDuty = failure.duty;
  report.rule = failure.rule;
  report.detail = failure.detail;
  report.history.clear();
  for (Event const& event : history) {
    report.history.push_back(event.text());
  }
}

}  // namespace

std::string Event::text() const {
  std::string const first = interfaces.empty() ? "" : Portix::valueToStrep(interfaces.front());
  switch (kind) {
    case Kind::kFapAdd: {
      std::string line = fmt::format("fap add {}", fap);
      for (Portix::IntfId const intf : interfaces) {
        line += " " + Portix::valueToStrep(intf);
      }
      return line;
    }
    case Kind::kFapDel:
      return fmt::format("fap del {}", fap);
    case Kind::kIntfAdd:
      return fmt::format("intf add {} {}", fap, first);
    case Kind::kIntfDel:
      return fmt::format("intf del {} {}", fap, first);
    case Kind::kMacsecOn:
      return "macsec on " + first;
    case Kind::kMacsecOff:
      return "macsec off " + first;
    case Kind::kAgentRestart:
      return "agent restart";
  }
  return {};
}

Event Event::parse(std::string_view line) {
  std::istringstream in{std::string(line)};
  std::vector<std::string> words;
  for (std::string word; in >> word;) {
    words.push_back(word);
  }
  auto const fail = [&] {
    return std::invalid_argument(fmt::format("not an event of a history: \"{}\"", line));
  };
  auto const number = [&](std::string const& word) {
    if (word.empty() || word.size() > 5 || word.find_first_not_of("0123456789") != word.npos ||
        std::stoul(word) > 0xFFFF) {
      throw fail();
    }
    return LogicalFap::LogicalFapId(U16(std::stoul(word)));
  };
  auto const interfacesFrom = [&](std::size_t first) {
    std::vector<Portix::IntfId> interfaces;
    for (std::size_t i = first; i < words.size(); ++i) {
      try {
        interfaces.emplace_back(words[i]);
      } catch (std::invalid_argument const&) {
        throw fail();
      }
    }
    return interfaces;
  };
  struct Form {
    char const* verb;
    char const* object;
    Kind kind;
    bool fap;
  };
  static constexpr Form kForms[] = {{"fap", "add", Kind::kFapAdd, true},
                                    {"fap", "del", Kind::kFapDel, true},
                                    {"intf", "add", Kind::kIntfAdd, true},
                                    {"intf", "del", Kind::kIntfDel, true},
                                    {"macsec", "on", Kind::kMacsecOn, false},
                                    {"macsec", "off", Kind::kMacsecOff, false},
                                    {"agent", "restart", Kind::kAgentRestart, false}};
  for (Form const& form : kForms) {
    if (words.size() < 2 || words[0] != form.verb || words[1] != form.object) {
      continue;
    }
    Event event;
    event.kind = form.kind;
    std::size_t const rest = form.fap ? 3 : 2;
    if (form.fap) {
      if (words.size() < 3) {
        throw fail();
      }
      event.fap = number(words[2]);
    }
    event.interfaces = interfacesFrom(rest);
    std::size_t const wanted =
        form.kind == Kind::kFapDel || form.kind == Kind::kAgentRestart ? 0 : 1;
    if (form.kind != Kind::kFapAdd && event.interfaces.size() != wanted) {
      throw fail();
    }
    return event;
  }
  throw fail();
}

std::vector<Portix::IntfId> defaultInterfaces() {
  std::vector<Portix::IntfId> interfaces;
  for (std::uint32_t port = 1; port <= 4; ++port) {
    for (std::uint32_t sub = 0; sub <= 3; ++sub) {
      interfaces.push_back(Portix::IntfId::fromNumbers(port, sub));
    }
  }
  return interfaces;
}

std::string Report::text() const {
  if (passed()) {
    return fmt::format("chip policy check passed: {} histories of {} events (seed {})\n",
                       historiesRun, events, seed);
  }
  std::string out = fmt::format(
      "chip policy check failed in history {} (seed {}, {} events each):\n  {}: {}\n  {}\n",
      historiesRun, seed, events,
      brokenDuty ? "broken duty of the chip policy" : "broken invariant", rule, detail);
  out +=
      fmt::format("history of {} event{} (shrunk from {}; OruMacSec::testing::replay runs it):\n",
                  history.size(), history.size() == 1 ? "" : "s", unshrunkLength);
  for (auto const& line : history) {
    out += "  " + line + "\n";
  }
  return out;
}

Report checkPolicy(PolicyFactory const& factory, CheckOptions const& options) {
  if (options.faps.empty() || options.interfaces.empty()) {
    throw std::invalid_argument("a policy check needs at least one FAP and one interface");
  }
  Report report;
  report.events = options.events;
  report.seed = options.seed;
  for (unsigned n = 0; n < options.histories; ++n) {
    report.historiesRun = n + 1;
    Random random(options.seed * 1000003U + n);
    std::vector<Event> history;
    std::optional<Failure> failure;
    {
      Run run(factory);
      while (history.size() < options.events && !failure) {
        history.push_back(randomEvent(random, options, run.host()));
        failure = run.apply(history.back());
      }
    }
    if (failure) {
      report.unshrunkLength = history.size();
      auto const shrunk = shrink(factory, std::move(history), *failure);
      describe(report, *failure, shrunk);
      return report;
    }
  }
  return report;
}

Report checkPolicy(Nubis::Ptr<IndexHelper> const& policy, CheckOptions options) {
  options.faps = {policy->logicalFapId().value()};
  return checkPolicy([policy](LogicalFap::LogicalFapId) { return policy; }, options);
}

Report replay(PolicyFactory const& factory, std::vector<std::string> const& history) {
  std::vector<Event> events;
  events.reserve(history.size());
  for (auto const& line : history) {
    events.push_back(Event::parse(line));
  }
  Outcome const outcome = runHistory(factory, events, true);
  Report report;
  report.historiesRun = 1;
  report.events = unsigned(events.size());
  report.unshrunkLength = outcome.length;
  if (outcome.failure) {
    events.resize(outcome.length);
    describe(report, *outcome.failure, events);
  }
  return report;
}

}  // namespace OruMacSec::testing
