// What a query means, told in the most trivial way: the yardstick for the second door.
//
// A query is a tree that a test makes; nothing is parsed here. `Type` writes it as a person would type it.
// `Evaluate` works out the items by trying everything: every range of the text for every piece of a
// pattern, every pair of items for a distance. It is for texts of a few characters.

#ifndef TROVEX_TESTS_QUERY_REFERENCE_QUERY_H
#define TROVEX_TESTS_QUERY_REFERENCE_QUERY_H

#include "tests/query/reference_text.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trovex::testing {

// Patterns.

enum class PieceKind {
  kCharacter,  // `code`
  kAny,
  kSet,  // `ranges`, `negated`
  kLineStart,
  kLineEnd,
  kWordStart,
  kWordEnd,
  kWordEdge,
  kNoWordEdge,
  kReference,  // to group `number` of the pattern
  kGroup,      // `tag`, one child; `number` is its own among the pattern's groups
  kSequence,
  kChoice,
  kRepeat,  // one child, `least` to `most` times
};

inline constexpr int kEndless = -1;

struct Piece {
  PieceKind kind = PieceKind::kAny;
  int code = 0;
  std::vector<std::pair<int, int>> ranges;
  bool negated = false;
  int tag = 0;
  int number = 0;
  int least = 0;
  int most = 0;
  std::vector<Piece> children;
  int id = 0;  // of the piece within its pattern, given by NumberPieces
};

Piece MakePiece(PieceKind kind, std::vector<Piece> children = {});

// Queries.

enum class RefKind { kPattern, kSound, kBracket, kOr, kAnd, kNot };

struct RefQuery {
  RefKind kind = RefKind::kPattern;
  Piece pattern;
  std::string word;  // of kSound, in lower-case ASCII
  int tag = 0;       // of kBracket
  bool hasDistance = false;
  std::optional<int> distance;
  bool inWords = false;
  bool ordered = false;
  std::vector<RefQuery> operands;
};

struct RefOptions {
  bool words = false;
  bool caseSensitive = false;
};

/// A place of the text, in characters, with the ranges of its tags.
struct RefItem {
  std::size_t begin;
  std::size_t end;
  std::map<int, std::pair<std::size_t, std::size_t>> tags;
};

struct RefResult {
  bool satisfied = false;
  std::vector<RefItem> items;
};

/// Whether the language allows the query: operands of distances can have items, or are the NOT of one that
/// can, and not both are NOT.
bool IsAllowed(const RefQuery& query);

/// Gives every bracket its tag, every group its number, in the order in which `Type` writes them.
void NumberTags(RefQuery& query);

/// The query as it is typed; characters beyond ASCII in UTF-8 or Latin-1.
std::string Type(const RefQuery& query, bool utf8);

RefResult Evaluate(const RefQuery& query, const Characters& text, const RefOptions& options);

/// The words of the test's language that sound alike have the same number; -1 for all others.
int SoundOf(const std::string& word);

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_QUERY_REFERENCE_QUERY_H
