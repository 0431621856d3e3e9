// What every state machine shares: the two reactor flags and the subscriber-slot discipline.
//
// A state machine follows its inputs through Subscriber slots. Its notifications are switched on
// and off with hasNotificationActiveIs (which subclasses define, since only they know their
// inputs) built from follow/unfollow below. While its zombie flag is set, its dispatch handlers
// still run but hand nothing on (see dispatchTarget).
#pragma once

#include "platform/Nubis/Node.h"
#include "platform/Nubis/Publisher.h"

namespace Nubis {

class StateMachine : public Node {
 public:
  // Sets or clears the zombie flag; nothing else (children and subscriptions are untouched).
  virtual void vokDoZombieReactors(bool zombie);

  bool hasNotificationActive() const { return nodeFlag(NodeFlag::notificationActive); }
  bool zombieReactors() const { return nodeFlag(NodeFlag::zombieReactors); }

 protected:
  StateMachine() = default;

  // If `input` is not null and `slot` is empty: fills the slot with `handler` and adds it to the
  // input's publisher. Otherwise nothing.
  static void follow(Subscriber& slot, Node const* input, Handler handler);

  // If `slot` is filled: removes it from its publisher and empties it. Otherwise nothing.
  static void unfollow(Subscriber& slot);

  // The first two steps of every dispatch handler: the state machine that owns the notified slot,
  // or null when the notification is for another attribute than `followed` or the state machine
  // is a zombie.
  template <class Sm>
  static Sm* dispatchTarget(Notification const& notification, AttrId followed) {
    if (notification.attrId != followed) {
      return nullptr;
    }
    auto& machine = static_cast<Sm&>(notification.subscriber.owner());
    return machine.zombieReactors() ? nullptr : &machine;
  }
};

}  // namespace Nubis
