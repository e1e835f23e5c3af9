// Chains of ANDs over nothing but strings, "Datei & Verzeichnis" or "Datei &40 Verzeichnis &40 !Name": they are
// searched for all their strings at once (string_matches.h), and no items are made but those of the result.
//
// The result is the one that the operators come to (operators.cpp). Where there are no distances, it is all
// matches, if each string occurs that must, and none that must not; so each is looked for up to its first match
// before, in the order in which the operands are searched.
//
// With distances, matches further apart than the longest of them have nothing to do with each other. So the
// matches of the text fall apart into clusters, and in most of these some string is missing. In the others the
// operators are gone through, with their rule of neighbours (CFoundItemArray::Merge).
//
// What it takes to search for several strings is made for a chain that is searched again, or in a large text.

#ifndef TROVEX_EXPR_STRING_CHAIN_H
#define TROVEX_EXPR_STRING_CHAIN_H

#include "matcher/matcher.h"
#include "matcher/string_matches.h"

#include <trovex/found_items.h>
#include <trovex/search_tree.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace trovex {

class ItemMaker;

/// A tree of ANDs over strings and NOTs of strings, as a list: each node before what is below it, left before right.
/// Of two operands one at least is no NOT, so that no result is negative.
class ChainOutline {
 public:
  struct Node {
    enum class Kind : unsigned char { kAnd, kNot, kString };
    Kind kind;
    int nearBy;                      // of an AND
    const CompiledPattern* pattern;  // of a string
    const CSubExpression* leaf;
  };
  static constexpr std::size_t kMostNodes = 3 * StringMatches::kMostStrings;

  /// False where the tree is none of these, or too large; what was read is of no use then.
  bool Read(CAndOperator& root) { return ReadAnd(root); }

  std::size_t Size() const { return size_; }
  const Node& operator[](std::size_t i) const { return nodes_[i]; }
  /// Whether both are the same operators over the same patterns, whichever leaves these belong to.
  bool operator==(const ChainOutline& other) const;

 private:
  bool ReadAnd(CAndOperator& node);
  bool ReadOperand(CSearchTreeItem* node, bool mayBeNot);
  bool Add(const Node& node);

  std::array<Node, kMostNodes> nodes_;
  std::size_t size_ = 0;
  std::size_t strings_ = 0;
};

class StringChain {
 public:
  using Result = std::unique_ptr<CFoundItemArray>;

  /// What the tree of `first` finds in `text`, if it is of strings alone and the search is worth what has to be made
  /// for it; else null. `isLookedAt`: each of the strings occurs that must, and none that must not, wherever that
  /// decides.
  static Result Search(CAndOperator& first, const char* text, int length, bool isLookedAt);

  /// Use Search.
  explicit StringChain(const ChainOutline& outline);

 private:
  struct Place {
    int start;
    int end;
  };

  /// A string, or an AND of two operands, which stand before it.
  struct Operand {
    bool isString = true;
    std::size_t left = 0;
    std::size_t right = 0;
    bool isLeftNegated = false;
    bool isRightNegated = false;
    int nearBy = 0;
    /// A bit for each string without which it has no places in a cluster.
    std::uint32_t needs = 0;
    bool hasDistances = false;  // here or below
    bool hasPlaces = false;     // in the text
    std::vector<Place> places;  // of the cluster
  };

  /// A string of the tree, from left to right.
  struct Leaf {
    std::size_t node;    // of the outline
    std::size_t number;  // among the strings that are searched for
    std::size_t operand;
    bool isNegated;
    bool isDecisive;   // whether its occurring, or not occurring, decides
    bool isAfterNear;  // it is searched if something was found before, within a distance
  };

  void Prepare();
  void ChooseWanted();
  std::size_t AddOperand(std::size_t& node, bool isNegated, bool isAnywhere, bool isAfterNear);
  Result Run(const ChainOutline& outline, const char* text, int length, bool isLookedAt);
  bool IsSatisfied(const ChainOutline& outline);
  Result TakeAll(const unsigned char* text);
  Result TakeNear(const unsigned char* text);
  bool Decide(CFoundItemArray& found, ItemMaker& items);
  bool Combine(Operand& both);

  ChainOutline outline_;
  std::vector<std::shared_ptr<const CompiledPattern>>
      patterns_;            // so that no other has the address of one
  std::int64_t bytes_ = 0;  // that it was searched in

  // What is made when it is worth it.
  std::optional<StringMatches> matches_;
  std::vector<Leaf> leaves_;
  std::vector<std::size_t> leafOf_;    // by the number of a string that brings places
  std::vector<Operand> operands_;      // the last one is the whole
  std::int64_t longestDistance_ = -1;  // below 0: there are none
  /// A cluster can be passed over where of each of these some string is missing.
  std::vector<std::uint32_t> wanted_;
  std::uint32_t seen_ = 0;  // the strings that have places in the cluster
};

}  // namespace trovex

#endif  // TROVEX_EXPR_STRING_CHAIN_H
