// Change notifications: publishers, subscriber slots and their delivery.
//
// An entity that announces changes owns a Publisher. A state machine owns one Subscriber slot per
// input it follows; while the slot holds a handler and is added to the input's publisher, every
// change of the input's attributes reaches the handler as a Notification (publisher, slot,
// attribute identifier, key). No old or new value is carried: handlers re-read the input.
//
// Delivery rules, which handlers rely on:
// - A change made while no handler runs is delivered at once, on the calling thread, before the
//   mutator returns.
// - A change made while a handler runs is queued and delivered after that handler returns, in the
//   order the changes were made. Handlers therefore never nest and each runs to completion.
// - A slot removed from its publisher receives nothing more, even changes queued before.
// - An exception that escapes a handler stops the process.
// Everything runs on one thread (the reactor's); there are no locks.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/Nubis/Key.h"
#include "platform/Nubis/Node.h"

namespace Nubis {

class Publisher;
class Subscriber;

struct Notification {
  Publisher& publisher;
  Subscriber& subscriber;
  AttrId attrId;
  Key key;
};

// A dispatch handler: a plain function; it finds its state machine through the slot's owner.
using Handler = void (*)(Notification const&);

class Subscriber {
 public:
  // `owner` is the entity the handler works on; the slot is a member of it and starts empty.
  explicit Subscriber(Node& owner) : owner_(owner) {}
  // A slot still added to a publisher removes itself.
  ~Subscriber();
  Subscriber(Subscriber const&) = delete;
  Subscriber& operator=(Subscriber const&) = delete;

  Node& owner() const { return owner_; }

  // Empty (null) or the handler that notifications reaching this slot are given to.
  Handler handler() const { return handler_; }
  void handlerIs(Handler handler) { handler_ = handler; }

  // The publisher this slot is added to, or null.
  Publisher* publisher() const { return publisher_; }

 private:
  friend class Publisher;
  Node& owner_;
  Handler handler_ = nullptr;
  Publisher* publisher_ = nullptr;
};

class Publisher {
 public:
  // `owner` is the entity whose changes this publisher announces; queued notifications keep it
  // alive until they are delivered.
  explicit Publisher(Node const& owner) : owner_(owner) {}
  // Slots still added are detached; they receive nothing more.
  ~Publisher();
  Publisher(Publisher const&) = delete;
  Publisher& operator=(Publisher const&) = delete;

  // Adds the slot: every later change is delivered to it. A slot is added to one publisher at a
  // time; adding it twice to the same publisher changes nothing. `replay` asks for the existing
  // entries to be announced; this runtime does not offer that, so subscribers walk the input
  // themselves and pass false.
  void subscriberAdd(Subscriber& subscriber, bool replay);

  // Removes the slot; nothing reaches it afterwards. Removing a slot that was not added does
  // nothing. Safe to call from any handler, including during delivery by this publisher.
  void subscriberRemove(Subscriber& subscriber);

  std::size_t subscriberCount() const;

  // Announces a change of attribute `attrId` at `key` to every slot added (see delivery rules).
  void notify(AttrId attrId, Key key);

 private:
  friend class Delivery;
  void deliver(AttrId attrId, Key key);

  Node const& owner_;
  // Slots removed during a delivery are nulled and compacted afterwards, so that the delivery
  // loop's positions stay valid.
  std::vector<Subscriber*> subscribers_;
  bool delivering_ = false;
};

}  // namespace Nubis
