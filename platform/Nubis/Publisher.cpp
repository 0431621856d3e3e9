#include "platform/Nubis/Publisher.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>

#include "platform/Nubis/Ptr.h"
#include "platform/Vok/Assert.h"

namespace Nubis {

// The reactor's delivery state: whether a handler is running, and the changes made meanwhile.
class Delivery {
 public:
  static void post(Publisher& publisher, AttrId attrId, Key key) {
    State& state = current();
    if (state.running) {
      state.queue.push_back(Pending{Ptr<Node const>(&publisher.owner_), &publisher, attrId, key});
      return;
    }
    state.running = true;
    publisher.deliver(attrId, key);
    while (!state.queue.empty()) {
      Pending const next = std::move(state.queue.front());
      state.queue.pop_front();
      next.publisher->deliver(next.attrId, next.key);
    }
    state.running = false;
  }

 private:
  struct Pending {
    Ptr<Node const> owner;  // keeps the publisher alive until delivery
    Publisher* publisher;
    AttrId attrId;
    Key key;
  };
  struct State {
    bool running = false;
    std::deque<Pending> queue;
  };
  static State& current() {
    thread_local State state;
    return state;
  }
};

Subscriber::~Subscriber() {
  if (publisher_ != nullptr) {
    publisher_->subscriberRemove(*this);
  }
}

Publisher::~Publisher() {
  for (Subscriber* subscriber : subscribers_) {
    if (subscriber != nullptr) {
      subscriber->publisher_ = nullptr;
    }
  }
}

void Publisher::subscriberAdd(Subscriber& subscriber, bool /*replay*/) {
  if (subscriber.publisher_ == this) {
    return;
  }
  VOK_ASSERT(subscriber.publisher_ == nullptr, "Nubis/Publisher");
  subscriber.publisher_ = this;
  subscribers_.push_back(&subscriber);
}

void Publisher::subscriberRemove(Subscriber& subscriber) {
  if (subscriber.publisher_ != this) {
    return;
  }
  subscriber.publisher_ = nullptr;
  auto const found = std::find(subscribers_.begin(), subscribers_.end(), &subscriber);
  if (delivering_) {
    *found = nullptr;
  } else {
    subscribers_.erase(found);
  }
}

std::size_t Publisher::subscriberCount() const {
  return std::size_t(std::count_if(subscribers_.begin(), subscribers_.end(),
                                   [](auto* s) { return s != nullptr; }));
}

void Publisher::notify(AttrId attrId, Key key) {
  if (subscribers_.empty()) {
    return;
  }
  Delivery::post(*this, attrId, key);
}

void Publisher::deliver(AttrId attrId, Key key) {
  delivering_ = true;
  // Slots added by a handler during this delivery get later changes, not this one.
  std::size_t const count = subscribers_.size();
  for (std::size_t i = 0; i < count; ++i) {
    Subscriber* const subscriber = subscribers_[i];
    if (subscriber == nullptr || subscriber->handler() == nullptr) {
      continue;
    }
    try {
      subscriber->handler()(Notification{*this, *subscriber, attrId, key});
    } catch (std::exception const& error) {
      std::fprintf(stderr, "exception in notification handler: %s\n", error.what());
      std::abort();
    } catch (...) {
      std::fprintf(stderr, "exception in notification handler\n");
      std::abort();
    }
  }
  delivering_ = false;
  subscribers_.erase(std::remove(subscribers_.begin(), subscribers_.end(), nullptr),
                     subscribers_.end());
}

}  // namespace Nubis
