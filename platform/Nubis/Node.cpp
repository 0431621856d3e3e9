#include "platform/Nubis/Node.h"

#include <atomic>

#include "platform/Vok/Assert.h"

namespace Nubis {

namespace {

std::atomic<std::int64_t> liveNodes{0};

}  // namespace

Node::Node() {
  liveNodes.fetch_add(1, std::memory_order_relaxed);
}

Node::~Node() {
  VOK_ASSERT(useCount_ == 0, "Nubis/Node");
  liveNodes.fetch_sub(1, std::memory_order_relaxed);
}

void Node::lastUserGone() {
  delete this;
}

Publisher* Node::publisher() const {
  return nullptr;
}

TypeData const& Node::typeData() const {
  static TypeData const data{"Node"};
  return data;
}

void Node::nodeFlagSet(NodeFlag flag, bool value) {
  if (value) {
    flags_ |= std::uint32_t(flag);
  } else {
    flags_ &= ~std::uint32_t(flag);
  }
}

void Node::unref() const {
  VOK_ASSERT(useCount_ > 0, "Nubis/Node");
  if (--useCount_ == 0) {
    const_cast<Node*>(this)->lastUserGone();
  }
}

std::int64_t Node::liveCount() {
  return liveNodes.load(std::memory_order_relaxed);
}

}  // namespace Nubis
