// The host runtime: collections, delivery, state machines, assertions, logs, traces, interfaces.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Nubis/Collection.h"
#include "platform/Nubis/OrderedCollection.h"
#include "platform/Nubis/OrderedSet.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Nubis/StateMachine.h"
#include "platform/Portix/IntfId.h"
#include "platform/Vok/Log.h"
#include "platform/Vok/RingTrace.h"
#include "platform/Vok/Trace.h"

namespace {

using Heard = std::vector<std::string>;

// An input of two attributes that also follows at most one input, recording what it hands on.
struct Entity : Nubis::StateMachine {
  Entity() : publisher_(*this), value(*this, 130), member(*this, 131) {}
  Nubis::Publisher* publisher() const override { return &publisher_; }
  void followIs(Nubis::Node const* in) { in ? follow(slot, in, &handle) : unfollow(slot); }
  static void handle(Nubis::Notification const& n) {
    auto const& owner = static_cast<Entity&>(n.subscriber.owner());
    if (auto* self = dispatchTarget<Entity>(n, owner.follows < 0 ? n.attrId : owner.follows)) {
      self->heard.push_back(std::to_string(n.attrId) + ":" + std::to_string(n.key.bits()));
      std::exchange(self->onHeard, [](auto const&) {})(n);  // once
    }
  }
  mutable Nubis::Publisher publisher_;
  Nubis::Collection<int, int> value;
  Nubis::OrderedSet<int> member;
  Nubis::Subscriber slot{*this};
  Heard heard;
  Nubis::AttrId follows = -1;  // the attribute handed on; any while -1
  std::function<void(Nubis::Notification const&)> onHeard = [](auto const&) {};
};

Nubis::Ptr<Entity> entity(Nubis::Node const* following = nullptr) {
  Nubis::Ptr<Entity> created(new Entity);
  created->followIs(following);
  return created;
}

// A keyed collection against a map: contents, announcements, walks through changes and deletions.
template <class C>
void checkAgainstMap(bool ordered) {
  auto const changes = rc::gen::container<std::vector<std::pair<int, int>>>(
      rc::gen::pair(rc::gen::inRange(0, 40), rc::gen::element(0, 0, 0, 1, 2, 3)));
  auto const before = *changes, during = *changes;
  auto const owner = entity(), listener = entity(owner.get());
  C collection(*owner, 140);
  std::map<int, int> model;  // 0 for a deleted key
  std::vector<int> added;    // present keys, in the order they were added
  Heard expected;
  auto const apply = [&](std::pair<int, int> change) {
    auto const [key, value] = change;  // value 0 (half the changes) deletes
    int const old = std::exchange(model[key], value);
    if (old == 0 && value != 0) {
      added.push_back(key);
    } else if (old != 0 && value == 0) {
      added.erase(std::find(added.begin(), added.end(), key));
    }
    if (value == 0) {
      RC_ASSERT(collection.del(key) == old);
    } else {
      collection.set(key, value);
    }
    if (old != value) {
      expected.push_back("140:" + std::to_string(key));
    }
    RC_ASSERT(listener->heard == expected && collection.get(key) == value);
  };
  std::for_each(before.begin(), before.end(), apply);
  std::vector<int> visited;
  for (auto it = collection.iter(); it; ++it) {
    visited.push_back(it.key());
  }
  if (ordered) {
    std::sort(added.begin(), added.end());
  }
  RC_ASSERT(visited == added);  // an unordered walk keeps the order of addition: traces list it
  visited.clear();
  std::map<int, int> untouched = model;
  for (auto it = collection.iter(); it; ++it) {
    RC_ASSERT(collection.has(it.key()) && it.value() == model.at(it.key()));
    visited.push_back(it.key());
    if (visited.size() <= during.size()) {
      untouched.erase(during[visited.size() - 1].first);
      apply(during[visited.size() - 1]);
    }
  }
  RC_ASSERT(!ordered || std::is_sorted(visited.begin(), visited.end(), std::less_equal<>()));
  listener->heard.clear();
  for (auto it = collection.iter(); it; ++it) {  // enough deletions for compaction to be due
    collection.size() > 1 ? void(collection.del(it.key())) : collection.delAll();
  }
  RC_ASSERT(collection.empty());
  for (auto const& [key, value] : model) {
    auto const& heard = listener->heard;
    RC_ASSERT(std::count(heard.begin(), heard.end(), "140:" + std::to_string(key)) == !!value);
    RC_ASSERT(!untouched.count(key) || std::count(visited.begin(), visited.end(), key) == !!value);
  }
}

RC_GTEST_PROP(Collections, MatchAMapAnnounceEachChangeAndWalkThroughChanges, ()) {
  checkAgainstMap<Nubis::Collection<int, int>>(false);
  checkAgainstMap<Nubis::OrderedCollection<int, int>>(true);
}

TEST(OrderedSet, WalksFromAnyKeyAndAnnouncesEachChange) {
  auto const owner = entity(), listener = entity(owner.get());
  for (int key : {30, 10, 20, 10}) {
    owner->member.add(key);
  }
  EXPECT_TRUE(owner->member.del(30) && !owner->member.del(30));
  EXPECT_TRUE(*owner->member.iterFrom(15) == 20 && !++owner->member.iterFrom(15));
  owner->member.delAll();
  EXPECT_EQ(listener->heard, (Heard{"131:30", "131:10", "131:20", "131:30", "131:10", "131:20"}));
}

TEST(Delivery, HandlersNeverNestAndQueuedChangesGoOutInOrderToSlotsStillAdded) {
  auto const liveBefore = Nubis::Node::liveCount();
  auto source = entity(), other = entity(), unheard = entity();
  auto first = entity(source.get()), removed = entity(source.get()), second = entity(source.get());
  auto otherListener = entity(other.get()), leaving = entity(unheard.get());
  leaving->onHeard = [](auto const& n) { n.publisher.subscriberRemove(n.subscriber); };
  unheard->value.set(1, 1);  // the last slot of `unheard` leaves during this delivery
  source->publisher()->subscriberAdd(first->slot, false);  // a second add changes nothing
  first->onHeard = [&](Nubis::Notification const& n) {
    source->value.set(2, 0);
    source->member.add(3);
    EXPECT_TRUE(second->heard.empty());  // not even the change being delivered
    n.publisher.subscriberRemove(removed->slot);
    n.publisher.subscriberRemove(removed->slot);  // removing twice does nothing
    other->value.set(5, 5);
    unheard->value.set(5, 5);
    other = unheard = nullptr;
    EXPECT_EQ(Nubis::Node::liveCount(), liveBefore + 7);  // only `other` waits, for its change
  };
  source->value.set(1, 0);
  EXPECT_EQ(first->heard, (Heard{"130:1", "130:2", "131:3"}));
  EXPECT_EQ(second->heard, first->heard);
  EXPECT_EQ(otherListener->heard, (Heard{"130:5"}));
  EXPECT_TRUE(removed->heard.empty());  // removed before its turn, it missed the queued ones too
  source = first = second = removed = otherListener = leaving = nullptr;
  EXPECT_EQ(Nubis::Node::liveCount(), liveBefore);
}

TEST(StateMachine, HandsOnOnlyItsAttributeOutlivesItsInputAndGoesWithItsLastReference) {
  auto input = entity(), machine = entity(entity().get());
  EXPECT_EQ(machine->slot.publisher(), nullptr);  // its first input went: the slot was detached
  machine->followIs(nullptr);                     // and must be emptied before following again
  machine->follows = 130;
  machine->followIs(input.get());
  input->value.set(1, 1);
  input->member.add(2);  // another attribute
  machine->vokDoZombieReactors(true);
  input->value.set(3, 3);
  EXPECT_EQ(input->publisher()->subscriberCount(), 1u);  // a zombie keeps its subscriptions
  machine->vokDoZombieReactors(false);
  machine->followIs(nullptr);
  EXPECT_EQ(input->publisher()->subscriberCount(), 0u);
  machine->followIs(input.get());
  input->value.set(5, 5);
  EXPECT_EQ(machine->heard, (Heard{"130:1", "130:5"}));
  auto copy = machine;
  Nubis::Ptr<Entity const> reader = machine;  // read-only references count too
  EXPECT_TRUE(copy && reader->useCount() == 3u);
  machine = copy = nullptr;
  reader = nullptr;  // the last reference: the slot removes itself as the machine goes
  EXPECT_EQ(input->publisher()->subscriberCount(), 0u);
}

TEST(PlatformDeathTest, BrokenRulesStopTheProcessNamingTheCheck) {
  auto const owner = entity(), listener = entity(owner.get());
  auto const readDeleted = [](auto&& collection) {  // an entry deleted under a walk
    collection.set(1, 1);
    auto const it = collection.iter();
    collection.del(1);
    collection.set(2, 2);  // may not take the deleted entry's place
    return it.value();
  };
  EXPECT_DEATH(readDeleted(owner->value), "\"iter_\" at Nubis/Collection:");
  EXPECT_DEATH(readDeleted(Nubis::OrderedCollection<int, int>(*owner, 132)),
               "\"iter_\" at Nubis/OrderedCollection:");
  EXPECT_DEATH((void)owner->member.iter().key(), "\"iter_\" at Nubis/OrderedCursor:");
  EXPECT_DEATH(entity()->publisher()->subscriberAdd(listener->slot, false),
               "\"subscriber.publisher_ == nullptr\" at Nubis/Publisher:");
}

struct Detail {};  // a log argument counting in detailRenders how often it was turned into text
int detailRenders = 0;
std::ostream& operator<<(std::ostream& out, Detail) {
  ++detailRenders;
  return out << "down";
}

struct Recorder : Vok::LogSink, Vok::TraceSink {
  Recorder() { Vok::logSinkAdd(*this), Vok::traceSinkAdd(*this); }
  ~Recorder() override { Vok::logSinkRemove(*this), Vok::traceSinkRemove(*this); }
  void logWritten(Vok::LogRecord const& r) override { logs.emplace_back(r.text); }
  void traceWritten(Vok::TraceRecord const& r) override { traces += std::to_string(r.level); }
  std::vector<std::string> logs;
  std::string traces;
};

TEST(Diagnostics, LogsRateLimitEachEventAtItsBoundaryAndTracesWriteOnlyTheEnabledLevels) {
  Recorder recorder, removed;  // `removed` is taken out at once
  Vok::logSinkRemove(removed), Vok::traceSinkRemove(removed);
  Vok::LogDescriptor const descriptor{"TEST_EVENT", "Event on Ethernet%s: %s (%d%%)", "", "", 6};
  double now = 0;
  Vok::logClockIs([&] { return now; });
  // For messages at (time, port): '+' when written, '-' when dropped; an interval later, again.
  auto const logged = [&](int interval, double burst, unsigned identifyingArgs, unsigned events,
                          std::vector<std::pair<double, int>> const& messages) {
    Vok::LogHandle handle(descriptor, Vok::Seconds(interval), burst, identifyingArgs, events);
    std::string marks;
    for (auto const& [time, port] : messages) {
      auto const before = recorder.logs.size();
      now = time;
      Vok::logMessage(handle, port, Detail{}, 10 * port);
      marks += recorder.logs.size() > before ? '+' : '-';
    }
    return marks;
  };
  EXPECT_EQ(logged(8, 1, 1, 0, {{0, 1}, {4, 1}, {4, 2}, {7.5, 1}, {8, 1}, {8, 1}}), "+-+-+-");
  EXPECT_EQ(logged(8, 2, 1, 0, {{0, 1}, {0, 1}, {0, 1}, {4, 1}, {4, 1}}), "++-+-");  // a burst
  EXPECT_EQ(logged(8, 1, 0, 0, {{0, 1}, {0, 2}}), "+-");  // no identifying argument: one event
  EXPECT_EQ(logged(8, 1, 1, 2, {{0, 1}, {0, 2}, {0, 1}, {0, 3}, {0, 1}}), "++-++");  // forgets
  EXPECT_EQ(logged(0, 1, 1, 0, {{100, 1}, {100, 1}, {50, 1}}), "+++");  // whatever the clock
  Vok::logClockIs(nullptr);
  EXPECT_EQ(detailRenders, int(recorder.logs.size()));
  EXPECT_EQ(recorder.logs.back(), "Event on Ethernet1: down (10%)");

  Vok::traceLevelsIs("Configured", 0x202);  // levels 1 and 9, before the handle exists
  Vok::TraceHandle configured("Configured", true), allOn("AllOn", true), off("Off", false);
  // The levels among 0 to 10 that `handle` writes, then how many traces it rendered.
  auto const traced = [&](Vok::TraceHandle const& handle) {
    int renders = 0;
    for (U16 level = 0; level <= 10; ++level) {
      // The lambda's own name in the trace is fine: this test reads levels and renders only.
      // NOLINTNEXTLINE(bugprone-lambda-function-name)
      VOK_TRACE(handle, level, "file", "Class", "{}", ++renders);
    }
    return std::exchange(recorder.traces, "") + "," + std::to_string(renders);
  };
  EXPECT_EQ(traced(configured), "19,2");
  EXPECT_EQ(traced(allOn), "0123456789,10");
  EXPECT_EQ(traced(off), ",0");
  Vok::traceLevelsIs("Configured", 0x001);  // reaches handles that exist already
  EXPECT_EQ(traced(configured), "0,1");
  EXPECT_EQ(allOn.levels(), 0x3ff);
  EXPECT_TRUE(removed.logs.empty() && removed.traces.empty());
}

TEST(RingTrace, KeepsTheNewestMessagesOldestFirstFillingEachConversionInOrder) {
  Vok::RingTrace ring(3);
  for (char const* arg : {"1", "2", "3", "4"}) {
    ring.write("%s=%-5d %u%% %lu", {"a", arg, "b"});
  }
  EXPECT_EQ(ring.messages(), (std::vector<std::string>{"a=2 b% ", "a=3 b% ", "a=4 b% "}));
  ring.clear();
  EXPECT_TRUE(ring.messages().empty());
}

TEST(IntfId, RoundTripsOrdersPortsBeforeTheirSubinterfacesAndRefusesMalformedNames) {
  using Portix::IntfId;
  IntfId previous;  // names nothing: below every interface
  for (std::string name : {"Ethernet1", "Ethernet2", "Ethernet2.1", "Ethernet2.10", "Ethernet10",
                           "Ethernet4294967295.4294967295"}) {
    IntfId const id(name);
    EXPECT_EQ(Portix::valueToStrep(IntfId::fromValue(id.value())), name);
    EXPECT_EQ(Portix::SubIntfId::isSubIntfId(id), name.find('.') != std::string::npos) << name;
    EXPECT_LT(std::exchange(previous, id), id) << name;
  }
  EXPECT_EQ(Portix::SubIntfId::parentIntfId(IntfId("Ethernet2.10")), IntfId("Ethernet2"));
  IntfId const last("Ethernet4294967295.4294967295");
  EXPECT_EQ(IntfId::fromNumbers(last.portNumber(), last.subNumber()), last);
  EXPECT_EQ(IntfId("Ethernet7").subNumber(), 0u);
  EXPECT_EQ(IntfId::fromNumbers(7, 3), IntfId("Ethernet7.3"));
  for (std::string bad :
       {"", "Ethernet", "Ethernet0", "Ethernet01", "Ethernet1.", "Ethernet1.0", "Ethernet1.2.3",
        "Ethernet4294967296", "ethernet1", "Ethernet-1", "Ethernet1 "}) {
    EXPECT_THAT([&] { IntfId{bad}; },
                testing::ThrowsMessage<std::invalid_argument>(testing::HasSubstr('"' + bad + '"')));
  }
}

}  // namespace
