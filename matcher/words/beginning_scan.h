// The places at which a word could begin, of those that a window was found near.
//
// The first bytes of the words, as many as the shortest has and at most seven, are hashed into a table that tells
// which bytes may follow them. What passes it is looked up in a second table, which knows the hashes themselves,
// and the bytes that all words of a hash have after these first ones:
//
//   Hausbau, Hausboot, Garten       Hausba -> u    Hausbo -> ot    Garten -> nothing more
//
// Of the places of a text at which some word's first bytes stand, most are refused by the bytes after them:
// that is far less than to walk through a tree of words. Many places are looked at side by side, so that what
// one of them waits for from memory is under way for the others, too.

#ifndef TROVEX_MATCHER_WORDS_BEGINNING_SCAN_H
#define TROVEX_MATCHER_WORDS_BEGINNING_SCAN_H

#include "matcher/runs/byte_words.h"
#include "matcher/words/window_scan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace trovex {

/// The first bytes of the words, and what may follow.
struct FollowerTable {
  static constexpr std::size_t kMostBytes = 7;
  /// How many kinds of followers are told apart. Upper and lower case are of one kind.
  static constexpr unsigned kFollowers = 32;

  /// How many bytes are hashed: 1 to kMostBytes.
  std::size_t length = 1;
  /// What counts of them.
  std::uint64_t mask = 0;
  /// The table has 32 - `shift` bits of a hash.
  int shift = 0;
  /// The kinds of bytes that may follow, as bits.
  std::vector<std::uint32_t> followers;

  std::uint32_t HashOf(std::uint64_t bytes) const {
    const std::uint64_t counting = bytes & mask;
    return static_cast<std::uint32_t>(counting) * WindowTable::kFirstFactor +
           static_cast<std::uint32_t>(counting >> 32) * WindowTable::kSecondFactor;
  }
  /// Whether a word may begin with `bytes`, of which `hash` is the hash, and the one after them.
  bool MayBegin(std::uint64_t bytes, std::uint32_t hash) const {
    return (followers[hash >> shift] >> (bytes >> (8 * length) & (kFollowers - 1)) & 1) != 0;
  }
};

/// Places, and what stands there hashed.
struct Beginnings {
  static constexpr std::size_t kMostHits = 64;
  /// As many as the windows of so many hits can lead to, and what vectors write beyond.
  static constexpr std::size_t kRoom = 5 * kMostHits;

  std::array<std::uint32_t, kRoom> places;
  std::array<std::uint32_t, kRoom> hashes;
  std::size_t count = 0;
};

/// Adds the places at which a word may begin among those up to `stride` - 1 after each of `hits`, which are
/// offsets from `text` and kMostHits at most. Eight bytes can be read at each of these places.
using FindBeginnings = void (*)(const FollowerTable& table, const unsigned char* text,
                                std::span<const std::uint32_t> hits, std::size_t stride,
                                Beginnings& found);

/// The fastest way that the machine has.
FindBeginnings ChooseBeginningScan(const FollowerTable& table);

/// The same without vector instructions.
void FindBeginningsPlainly(const FollowerTable& table, const unsigned char* text,
                           std::span<const std::uint32_t> hits, std::size_t stride,
                           Beginnings& found);

}  // namespace trovex

#endif  // TROVEX_MATCHER_WORDS_BEGINNING_SCAN_H
