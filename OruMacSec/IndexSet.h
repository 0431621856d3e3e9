// A set of 16-bit table indexes that finds its lowest missing value in constant time.
//
// Three levels of bit words: a bit per index, a bit per full word of indexes, a bit per full word
// of those. Finding the lowest free index reads one word per level; adding and removing an index
// touch at most one word per level. The whole 16-bit range costs about 8 KiB, whatever the set
// holds.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/Vok/Types.h"

namespace OruMacSec {

class IndexSet {
 public:
  static constexpr std::uint32_t kRange = 1u << 16;

  bool has(U16 index) const { return (leaf_[index >> 6] >> (index & 63)) & 1u; }
  std::size_t size() const { return size_; }

  // Adds `index`; false if it was already there.
  bool add(U16 index) {
    std::size_t const word = index >> 6;
    std::uint64_t const bit = std::uint64_t(1) << (index & 63);
    if (leaf_[word] & bit) {
      return false;
    }
    leaf_[word] |= bit;
    ++size_;
    if (leaf_[word] == kAllOnes) {
      std::size_t const mid = word >> 6;
      fullMid_[mid] |= std::uint64_t(1) << (word & 63);
      if (fullMid_[mid] == kAllOnes) {
        fullTop_ |= std::uint64_t(1) << mid;
      }
    }
    return true;
  }

  // Removes `index`; false if it was not there.
  bool remove(U16 index) {
    std::size_t const word = index >> 6;
    std::uint64_t const bit = std::uint64_t(1) << (index & 63);
    if (!(leaf_[word] & bit)) {
      return false;
    }
    leaf_[word] &= ~bit;
    --size_;
    std::size_t const mid = word >> 6;
    fullMid_[mid] &= ~(std::uint64_t(1) << (word & 63));
    fullTop_ &= ~(std::uint64_t(1) << mid);
    return true;
  }

  void clear();

  // The lowest index not in the set, or nothing when the set holds the whole range.
  std::optional<U16> lowestMissing() const {
    constexpr std::uint64_t kTopMask = (std::uint64_t(1) << kMidWords) - 1;
    if ((fullTop_ & kTopMask) == kTopMask) {
      return std::nullopt;
    }
    std::size_t const mid = std::size_t(__builtin_ctzll(~fullTop_));
    std::size_t const word = mid * 64 + std::size_t(__builtin_ctzll(~fullMid_[mid]));
    return U16(word * 64 + std::size_t(__builtin_ctzll(~leaf_[word])));
  }

  // The lowest index in the set not less than `from`, or nothing.
  std::optional<U16> next(std::uint32_t from) const;

 private:
  static constexpr std::size_t kLeafWords = kRange / 64;
  static constexpr std::size_t kMidWords = kLeafWords / 64;
  static constexpr std::uint64_t kAllOnes = ~std::uint64_t(0);

  // Bit i of leaf_[w]: index w * 64 + i is in the set.
  std::array<std::uint64_t, kLeafWords> leaf_{};
  // Bit j of fullMid_[m]: leaf_[m * 64 + j] holds all its 64 indexes.
  std::array<std::uint64_t, kMidWords> fullMid_{};
  // Bit m of fullTop_: fullMid_[m] has all its bits set.
  std::uint64_t fullTop_ = 0;
  std::size_t size_ = 0;
};

}  // namespace OruMacSec
