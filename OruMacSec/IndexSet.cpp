#include "OruMacSec/IndexSet.h"

namespace OruMacSec {

void IndexSet::clear() {
  leaf_.fill(0);
  fullMid_.fill(0);
  fullTop_ = 0;
  size_ = 0;
}

std::optional<U16> IndexSet::next(std::uint32_t from) const {
  for (std::uint32_t word = from >> 6; word < kLeafWords; ++word) {
    std::uint64_t bits = leaf_[word];
    if (word == from >> 6) {
      bits &= kAllOnes << (from & 63);
    }
    if (bits != 0) {
      return U16(word * 64 + std::uint32_t(__builtin_ctzll(bits)));
    }
  }
  return std::nullopt;
}

}  // namespace OruMacSec
