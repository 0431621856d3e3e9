// Small entities for the runtime's tests: an input that announces changes of two attributes, and a
// child entity that counts its destructions.
#pragma once

#include "platform/Nubis/Collection.h"
#include "platform/Nubis/OrderedSet.h"
#include "platform/Nubis/Ptr.h"
#include "platform/Nubis/Publisher.h"

namespace platformtest {

// Counts how often any Tracked was destroyed, so that a double destruction shows.
struct Tracked : Nubis::Node {
  explicit Tracked(int* destroyed) : destroyed_(destroyed) {}
  ~Tracked() override { ++*destroyed_; }
  int* destroyed_;
};

class Source : public Nubis::Node {
 public:
  static constexpr Nubis::AttrId kValueAttr = 130;
  static constexpr Nubis::AttrId kMemberAttr = 131;

  Source() : publisher_(*this), value(*this, kValueAttr), member(*this, kMemberAttr) {}
  Nubis::Publisher* publisher() const override { return &publisher_; }

 private:
  mutable Nubis::Publisher publisher_;

 public:
  Nubis::Collection<int, int> value;
  Nubis::OrderedSet<int> member;
};

}  // namespace platformtest
