#include "tests/query/random_query.h"

#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace trovex::testing {

namespace {

/// The characters of patterns: letters with and without partners, of words and not.
constexpr std::array<int, 12> kCharacters = {'a', 'a', 'a', 'b', 'b',  'A',
                                             '_', ' ', '.', '!', 0xE4, 0xC9};

int RandomCharacter(Dice& dice) {
  return kCharacters[static_cast<std::size_t>(dice.Between(0, kCharacters.size() - 1))];
}

Piece RandomSet(Dice& dice) {
  Piece set = MakePiece(PieceKind::kSet);
  static const std::vector<std::pair<int, int>> kRanges = {
      {'a', 'a'}, {'a', 'b'}, {'B', 'C'}, {'b', 'b'},   {' ', ' '},   {'.', '.'},
      {'!', '!'}, {'&', '&'}, {'(', '('}, {0xE4, 0xE4}, {0xE0, 0xE9}, {'_', 'a'}};
  for (int i = dice.Between(1, 3); i > 0; --i) {
    const auto& range =
        kRanges[static_cast<std::size_t>(dice.Between(0, static_cast<int>(kRanges.size()) - 1))];
    set.ranges.push_back(range);
  }
  set.negated = dice.Between(0, 2) == 0;
  return set;
}

Piece RandomAtom(Dice& dice) {
  const int kind = dice.Between(0, 19);
  if (kind < 11) {
    Piece character = MakePiece(PieceKind::kCharacter);
    character.code = RandomCharacter(dice);
    return character;
  }
  if (kind < 13) return MakePiece(PieceKind::kAny);
  if (kind < 15) return RandomSet(dice);
  static constexpr std::array kAnchors = {PieceKind::kLineStart, PieceKind::kLineEnd,
                                          PieceKind::kWordStart, PieceKind::kWordEnd,
                                          PieceKind::kWordEdge,  PieceKind::kNoWordEdge};
  return MakePiece(kAnchors[static_cast<std::size_t>(dice.Between(0, kAnchors.size() - 1))]);
}

bool TakesNoRepeat(const Piece& piece) {
  return piece.kind >= PieceKind::kLineStart && piece.kind <= PieceKind::kNoWordEdge;
}

Piece RandomSequence(Dice& dice, int depth, int groupsBefore);

/// `groups` counts the groups of the pattern that are closed so far; a reference names one of them.
Piece RandomGroup(Dice& dice, int depth, int groups) {
  std::vector<Piece> alternatives;
  for (int i = dice.Between(1, 2); i > 0; --i)
    alternatives.push_back(RandomSequence(dice, depth - 1, groups));
  // An alternative may be empty where another is not.
  if (dice.Between(0, 5) == 0) alternatives.push_back(MakePiece(PieceKind::kSequence));
  Piece inside = alternatives.size() == 1 ? std::move(alternatives[0])
                                          : MakePiece(PieceKind::kChoice, std::move(alternatives));
  return MakePiece(PieceKind::kGroup, {std::move(inside)});
}

Piece RandomSequence(Dice& dice, int depth, int references) {
  Piece sequence = MakePiece(PieceKind::kSequence);
  for (int i = dice.Between(1, depth > 1 ? 3 : 2); i > 0; --i) {
    Piece piece = depth > 0 && dice.Between(0, 3) == 0 ? RandomGroup(dice, depth, references)
                                                       : RandomAtom(dice);
    if (!TakesNoRepeat(piece) && dice.Between(0, 3) == 0) {
      static constexpr std::array<std::pair<int, int>, 8> kBounds = {{{0, kEndless},
                                                                      {1, kEndless},
                                                                      {0, 1},
                                                                      {2, 2},
                                                                      {1, 3},
                                                                      {0, 2},
                                                                      {2, kEndless},
                                                                      {0, kEndless}}};
      const auto [least, most] = kBounds[static_cast<std::size_t>(dice.Between(0, 7))];
      piece = MakePiece(PieceKind::kRepeat, {std::move(piece)});
      piece.least = least;
      piece.most = most;
    }
    sequence.children.push_back(std::move(piece));
    if (references > 0 && dice.Between(0, 3) == 0) {
      Piece reference = MakePiece(PieceKind::kReference);
      reference.number = dice.Between(1, references);
      sequence.children.push_back(std::move(reference));
    }
  }
  return sequence;
}

/// Whether the piece is a bracket and nothing else, which would group operands.
bool IsBareGroup(const Piece& piece) {
  return piece.kind == PieceKind::kGroup ||
         (piece.kind == PieceKind::kSequence && piece.children.size() == 1 &&
          IsBareGroup(piece.children[0]));
}

RefQuery PatternOf(Piece piece) {
  RefQuery query;
  query.pattern = std::move(piece);
  return query;
}

RefQuery Bracketed(RefQuery inner) {
  RefQuery query;
  query.kind = RefKind::kBracket;
  query.operands.push_back(std::move(inner));
  return query;
}

RefQuery RandomTerm(Dice& dice, int depth);

RefQuery RandomPattern(Dice& dice) {
  for (;;) {
    Piece piece = RandomSequence(dice, 2, 0);
    if (!IsBareGroup(piece)) return PatternOf(std::move(piece));
  }
}

RefQuery RandomEither(Dice& dice, int depth) {
  RefQuery first = RandomTerm(dice, depth);
  if (dice.Between(0, 3) != 0) return first;
  RefQuery either;
  either.kind = RefKind::kOr;
  either.operands.push_back(std::move(first));
  for (int i = dice.Between(1, 2); i > 0; --i)
    either.operands.push_back(RandomTerm(dice, depth));
  return either;
}

RefQuery RandomOperand(Dice& dice, int depth) {
  RefQuery operand = RandomEither(dice, depth);
  while (dice.Between(0, 4) == 0) {
    RefQuery negation;
    negation.kind = RefKind::kNot;
    negation.operands.push_back(std::move(operand));
    operand = std::move(negation);
  }
  return operand;
}

RefQuery RandomAnds(Dice& dice, int depth) {
  RefQuery left = RandomOperand(dice, depth);
  if (dice.Between(0, 1) == 0) return left;
  RefQuery conjunction;
  conjunction.kind = RefKind::kAnd;
  conjunction.hasDistance = dice.Between(0, 2) != 0;
  if (conjunction.hasDistance) {
    conjunction.ordered = dice.Between(0, 2) == 0;
    if (!conjunction.ordered || dice.Between(0, 2) != 0) conjunction.distance = dice.Between(0, 3);
    conjunction.inWords = conjunction.distance && dice.Between(0, 2) == 0;
  }
  conjunction.operands.push_back(std::move(left));
  conjunction.operands.push_back(RandomAnds(dice, depth));
  return conjunction;
}

RefQuery RandomTerm(Dice& dice, int depth) {
  const int kind = dice.Between(0, 9);
  if (kind == 0) {
    RefQuery sound;
    sound.kind = RefKind::kSound;
    sound.word = dice.Between(0, 1) == 0 ? "meier" : "rot";
    return sound;
  }
  if (kind <= 3 && depth > 0) return Bracketed(RandomAnds(dice, depth - 1));
  return RandomPattern(dice);
}

}  // namespace

RefQuery RandomQuery(Dice& dice) {
  for (;;) {
    RefQuery query = RandomAnds(dice, 2);
    if (!IsAllowed(query)) continue;
    NumberTags(query);
    return query;
  }
}

RefQuery RandomPatternQuery(Dice& dice, bool references) {
  for (;;) {
    Piece piece = RandomSequence(dice, 2, 0);
    if (references) {
      Piece group = RandomGroup(dice, 1, 0);
      Piece rest = RandomSequence(dice, 1, 1);
      Piece reference = MakePiece(PieceKind::kReference);
      reference.number = 1;
      piece = MakePiece(PieceKind::kSequence,
                        {std::move(group), std::move(rest), std::move(reference)});
    }
    if (IsBareGroup(piece)) continue;
    RefQuery query = PatternOf(std::move(piece));
    NumberTags(query);
    return query;
  }
}

std::vector<Piece> SmallPieces() {
  const auto character = [](int code) {
    Piece piece = MakePiece(PieceKind::kCharacter);
    piece.code = code;
    return piece;
  };
  const auto repeat = [](Piece body, int least, int most) {
    Piece piece = MakePiece(PieceKind::kRepeat, {std::move(body)});
    piece.least = least;
    piece.most = most;
    return piece;
  };
  const auto group = [](std::vector<Piece> alternatives) {
    Piece inside = MakePiece(PieceKind::kChoice, std::move(alternatives));
    return MakePiece(PieceKind::kGroup, {std::move(inside)});
  };
  const Piece nothing = MakePiece(PieceKind::kSequence);
  std::vector<Piece> pieces = {
      character('a'),
      MakePiece(PieceKind::kAny),
      repeat(character('a'), 0, kEndless),
      repeat(MakePiece(PieceKind::kAny), 0, 1),
      group({character('a'), nothing}),
      repeat(group({repeat(character('a'), 0, kEndless)}), 0, kEndless),
      repeat(group({MakePiece(PieceKind::kLineStart), character('a')}), 2, 3),
      repeat(group({MakePiece(PieceKind::kWordEdge), character(' ')}), 1, kEndless)};
  for (const PieceKind anchor : {PieceKind::kLineStart, PieceKind::kLineEnd, PieceKind::kWordStart,
                                 PieceKind::kWordEnd, PieceKind::kWordEdge, PieceKind::kNoWordEdge})
    pieces.push_back(MakePiece(anchor));
  return pieces;
}

std::string RandomText(Dice& dice, bool utf8) {
  static const std::vector<std::string> kUtf8 = {
      "a",          "a",      "a",       "b",      "b",    "A",    " ",
      " ",          "\n",     "_",       ".",      "!",    "ä",    "Ä",
      "é",          "Ω",      "a\u0308", "\u0301", "\xE4", "\xC3", "\xF0\x9F\x98",
      "\U0001F600", "meier ", " Mayr",   "ROTH",   "rot",  "&"};
  static const std::vector<std::string> kLatin1 = {
      "a",      "a",     "a",    "b",    "b",    "A",    " ",    " ", "\n",
      "_",      ".",     "!",    "\xE4", "\xC4", "\xE9", "\x81", "B", std::string(1, '\0'),
      "meier ", " Mayr", "ROTH", "rot",  "&"};
  const std::vector<std::string>& pieces = utf8 ? kUtf8 : kLatin1;
  // Half of the texts are plain ASCII, which is searched as it is.
  const bool plain = dice.Between(0, 1) == 0;
  std::string text;
  for (int i = dice.Between(0, 9); i > 0; --i) {
    const int last = plain ? 11 : static_cast<int>(pieces.size()) - 1;
    text += pieces[static_cast<std::size_t>(dice.Between(0, last))];
  }
  return text;
}

}  // namespace trovex::testing
