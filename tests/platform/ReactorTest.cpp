// The runtime contract state machines rely on: counted references, delivery of notifications, and
// the subscriber-slot discipline of StateMachine.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Nubis/StateMachine.h"
#include "tests/platform/Entities.h"

namespace {

using platformtest::Source;
using platformtest::Tracked;

TEST(CountedReference, DestroysTheEntityExactlyOnceWhenTheLastReferenceGoes) {
  auto const liveBefore = Nubis::Node::liveCount();
  int destroyed = 0;
  {
    Nubis::Ptr<Tracked> first(new Tracked(&destroyed));
    EXPECT_EQ(Nubis::Node::liveCount(), liveBefore + 1);
    Nubis::Ptr<Tracked const> reader = first;  // read-only references count too
    Nubis::Ptr<Tracked> moved = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(moved->useCount(), 2u);
    moved = moved;  // self-assignment keeps the use
    moved = nullptr;
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(reader->useCount(), 1u);
  }
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(Nubis::Node::liveCount(), liveBefore);
}

TEST(CountedReference, ChildReleasedByItsCollectionIsDestroyedOnce) {
  int destroyed = 0;
  Nubis::Ptr<Source> owner(new Source);
  Nubis::Collection<int, Nubis::Ptr<Tracked>> children(*owner, 140);
  children.set(1, Nubis::Ptr<Tracked>(new Tracked(&destroyed)));
  children.set(1, Nubis::Ptr<Tracked>(new Tracked(&destroyed)));  // replaces: the first goes
  EXPECT_EQ(destroyed, 1);
  Nubis::Ptr<Tracked> kept = children.del(1);
  EXPECT_EQ(destroyed, 1);
  kept = nullptr;
  children.set(2, Nubis::Ptr<Tracked>(new Tracked(&destroyed)));
  children.delAll();
  EXPECT_EQ(destroyed, 3);
}

// A subscriber that records what it hears, at which nesting depth, and may act on it.
struct Listener : Nubis::Node {
  explicit Listener(std::string name) : slot(*this), name(std::move(name)) {}

  static void handle(Nubis::Notification const& notification) {
    auto& self = static_cast<Listener&>(notification.subscriber.owner());
    static int depth = 0;
    ++depth;
    self.maxDepth = std::max(self.maxDepth, depth);
    self.heard.push_back(self.name + ":" + std::to_string(notification.attrId) + ":" +
                         std::to_string(notification.key.as<int>()));
    if (self.onHeard) {
      auto const action = std::move(self.onHeard);
      self.onHeard = nullptr;
      action(notification);
    }
    --depth;
  }

  Nubis::Subscriber slot;
  std::string name;
  std::vector<std::string> heard;
  int maxDepth = 0;
  std::function<void(Nubis::Notification const&)> onHeard;
};

// A listener named `name`, its slot added to `source`'s publisher.
Nubis::Ptr<Listener> listenerOf(Source const& source, std::string name) {
  Nubis::Ptr<Listener> listener(new Listener(std::move(name)));
  listener->slot.handlerIs(&Listener::handle);
  source.publisher()->subscriberAdd(listener->slot, false);
  return listener;
}

TEST(Delivery, ChangeOutsideAHandlerIsDeliveredBeforeTheMutatorReturns) {
  Nubis::Ptr<Source> source(new Source);
  auto const listener = listenerOf(*source, "a");
  source->publisher()->subscriberAdd(listener->slot, false);  // a second add changes nothing

  source->value.set(7, 1);
  EXPECT_EQ(listener->heard, (std::vector<std::string>{"a:130:7"}));
  source->value.set(7, 1);  // no change, no notification
  source->member.add(3);
  source->value.del(7);
  source->value.del(7);  // nothing to remove
  EXPECT_EQ(listener->heard, (std::vector<std::string>{"a:130:7", "a:131:3", "a:130:7"}));
}

TEST(Delivery, ChangesMadeByAHandlerAreQueuedInOrderAndHandlersNeverNest) {
  Nubis::Ptr<Source> source(new Source);
  auto const first = listenerOf(*source, "a");
  auto const second = listenerOf(*source, "b");
  first->onHeard = [&](Nubis::Notification const&) {
    source->value.set(2, 0);
    source->member.add(3);
    // Nothing of the two changes has been delivered yet: "b" still waits for the first one.
    EXPECT_TRUE(second->heard.empty());
  };

  source->value.set(1, 0);
  std::vector<std::string> const expectedSecond{"b:130:1", "b:130:2", "b:131:3"};
  EXPECT_EQ(second->heard, expectedSecond);
  EXPECT_EQ(first->heard, (std::vector<std::string>{"a:130:1", "a:130:2", "a:131:3"}));
  EXPECT_EQ(first->maxDepth, 1);
  EXPECT_EQ(second->maxDepth, 1);
}

TEST(Delivery, RemovedSlotHearsNothingMoreEvenOfQueuedChanges) {
  Nubis::Ptr<Source> source(new Source);
  auto const first = listenerOf(*source, "a");
  auto const second = listenerOf(*source, "b");
  first->onHeard = [&](Nubis::Notification const& notification) {
    source->value.set(2, 0);  // queued
    notification.publisher.subscriberRemove(second->slot);
    notification.publisher.subscriberRemove(second->slot);  // removing twice does nothing
  };
  source->value.set(1, 0);
  EXPECT_TRUE(second->heard.empty());
  EXPECT_EQ(first->heard, (std::vector<std::string>{"a:130:1", "a:130:2"}));
  EXPECT_EQ(source->publisher()->subscriberCount(), 1u);
}

TEST(Delivery, QueuedChangeKeepsItsPublisherAliveUntilDelivered) {
  auto const liveBefore = Nubis::Node::liveCount();
  Nubis::Ptr<Source> trigger(new Source);
  Nubis::Ptr<Source> other(new Source);
  auto listener = listenerOf(*trigger, "a");
  auto otherListener = listenerOf(*other, "o");

  listener->onHeard = [&](Nubis::Notification const&) {
    other->value.set(5, 5);
    other = nullptr;  // the last reference goes while its change waits
  };
  trigger->value.set(1, 1);
  EXPECT_EQ(otherListener->heard, (std::vector<std::string>{"o:130:5"}));
  trigger = nullptr;
  listener = nullptr;
  otherListener = nullptr;
  EXPECT_EQ(Nubis::Node::liveCount(), liveBefore);
}

// A state machine that follows one input and counts what its handler handed on.
class Follower : public Nubis::StateMachine {
 public:
  explicit Follower(Nubis::Ptr<Source const> input) : input_(std::move(input)), slot_(*this) {}
  ~Follower() override { unfollow(slot_); }

  void activeIs(bool active) {
    if (active) {
      follow(slot_, input_.get(), &Follower::handleValue);
    } else {
      unfollow(slot_);
    }
  }

  static void handleValue(Nubis::Notification const& notification) {
    auto* const self = dispatchTarget<Follower>(notification, Source::kValueAttr);
    if (self != nullptr) {
      self->handled.push_back(notification.key.as<int>());
    }
  }

  std::vector<int> handled;

 private:
  Nubis::Ptr<Source const> input_;
  Nubis::Subscriber slot_;
};

TEST(StateMachine, FollowsOnceIgnoresOtherAttributesAndHandsNothingOnAsAZombie) {
  Nubis::Ptr<Source> input(new Source);
  Nubis::Ptr<Follower> machine(new Follower(input));
  machine->activeIs(true);
  machine->activeIs(true);  // activating twice subscribes once
  EXPECT_EQ(input->publisher()->subscriberCount(), 1u);

  input->value.set(1, 1);
  input->member.add(2);  // another attribute of the same input
  EXPECT_EQ(machine->handled, (std::vector<int>{1}));

  machine->vokDoZombieReactors(true);
  EXPECT_TRUE(machine->zombieReactors());
  input->value.set(3, 3);
  EXPECT_EQ(machine->handled, (std::vector<int>{1}));
  EXPECT_EQ(input->publisher()->subscriberCount(), 1u);  // a zombie keeps its subscriptions

  machine->vokDoZombieReactors(false);
  machine->activeIs(false);
  machine->activeIs(false);
  input->value.set(4, 4);
  EXPECT_EQ(machine->handled, (std::vector<int>{1}));
  EXPECT_EQ(input->publisher()->subscriberCount(), 0u);

  machine->activeIs(true);  // and back on
  input->value.set(5, 5);
  EXPECT_EQ(machine->handled, (std::vector<int>{1, 5}));
}

TEST(Delivery, SlotOutlivingItsPublisherIsDetachedAndMayBeAddedElsewhere) {
  Nubis::Ptr<Listener> listener(new Listener("a"));
  listener->slot.handlerIs(&Listener::handle);
  {
    Nubis::Ptr<Source> shortLived(new Source);
    shortLived->publisher()->subscriberAdd(listener->slot, false);
  }
  EXPECT_EQ(listener->slot.publisher(), nullptr);
  Nubis::Ptr<Source> input(new Source);
  input->publisher()->subscriberAdd(listener->slot, false);
  input->value.set(1, 1);
  EXPECT_EQ(listener->heard, (std::vector<std::string>{"a:130:1"}));
  listener = nullptr;  // the slot removes itself as it goes
  EXPECT_EQ(input->publisher()->subscriberCount(), 0u);
}

}  // namespace
