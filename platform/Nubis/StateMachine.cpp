#include "platform/Nubis/StateMachine.h"

namespace Nubis {

void StateMachine::vokDoZombieReactors(bool zombie) {
  if (zombieReactors() == zombie) {
    return;
  }
  nodeFlagSet(NodeFlag::zombieReactors, zombie);
}

void StateMachine::follow(Subscriber& slot, Node const* input, Handler handler) {
  if (input == nullptr || slot.handler() != nullptr) {
    return;
  }
  slot.handlerIs(handler);
  input->publisher()->subscriberAdd(slot, false);
}

void StateMachine::unfollow(Subscriber& slot) {
  if (slot.handler() == nullptr) {
    return;
  }
  if (Publisher* const publisher = slot.publisher()) {
    publisher->subscriberRemove(slot);
  }
  slot.handlerIs(nullptr);
}

}  // namespace Nubis
