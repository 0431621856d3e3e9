// Entities of the state framework.
//
// Every state machine, resource object, input and published entity is a Node: it carries an
// intrusive use count, managed only by Nubis::Ptr, and a word of flags. An entity is created with
// `new`, handed at once to a Ptr, and destroyed through lastUserGone() when the last Ptr goes.
// The process-wide count of live entities lets tests prove that nothing leaked.
#pragma once

#include <cstdint>

namespace Nubis {

class Publisher;
template <class T>
class Ptr;

enum class NodeFlag : std::uint32_t {
  notificationActive = 1u << 0,
  zombieReactors = 1u << 1,
};

// What the runtime knows of an entity's type.
struct TypeData {
  char const* name;
};

class Node {
 public:
  Node(Node const&) = delete;
  Node& operator=(Node const&) = delete;

  virtual ~Node();

  // Called when the use count reaches zero; destroys the entity.
  virtual void lastUserGone();

  // The publisher that announces changes of this entity's attributes; null for entities that
  // announce nothing.
  virtual Publisher* publisher() const;

  virtual TypeData const& typeData() const;

  bool nodeFlag(NodeFlag flag) const { return (flags_ & std::uint32_t(flag)) != 0; }
  void nodeFlagSet(NodeFlag flag, bool value);

  // The number of counted references to this entity.
  std::uint32_t useCount() const { return useCount_; }

  // Entities constructed and not yet destroyed, over the whole process.
  static std::int64_t liveCount();

 protected:
  Node();

 private:
  template <class T>
  friend class Ptr;

  void ref() const { ++useCount_; }
  void unref() const;

  // The count is mutable so that read-only references (Ptr<T const>) keep entities alive too.
  mutable std::uint32_t useCount_ = 0;
  std::uint32_t flags_ = 0;
};

}  // namespace Nubis
