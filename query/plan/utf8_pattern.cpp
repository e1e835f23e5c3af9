#include "query/plan/utf8_pattern.h"

#include "query/expression/syntax_builder.h"
#include "query/tuning.h"
#include "text/code_page.h"
#include "text/utf8_character.h"
#include "text/utf8_text.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <map>
#include <utility>
#include <variant>
#include <vector>

namespace trovex {

namespace {

constexpr std::size_t kAscii = 0x80;

CharSet BytesFrom(std::size_t first, std::size_t last) {
  CharSet set;
  for (std::size_t c = first; c <= last; ++c)
    set.set(c);
  return set;
}

CharSet Ascii() {
  return BytesFrom(0, kAscii - 1);
}
CharSet Continuations() {
  return BytesFrom(0x80, 0xBF);
}

/// The bytes of the characters of a code page set beyond ASCII: for each lead what may stand after it.
class SequencesOf {
 public:
  /// Of `set`, in which `substitute` stands for all characters that the page lacks.
  SequencesOf(const CharSet& set, unsigned char substitute) : foreign_(set[substitute]) {
    for (std::size_t c = kAscii; c < set.size(); ++c) {
      const char32_t codePoint = CodePageToUnicode(static_cast<unsigned char>(c));
      if (UnicodeToCodePage(codePoint) == c) Put(codePoint, set[c]);
    }
  }

  /// Whether they are all there are.
  bool AreAll() const {
    return foreign_ &&
           std::all_of(pairs_.begin(), pairs_.end(),
                       [](const auto& pair) { return pair.second == Continuations(); }) &&
           std::all_of(afterE2_.begin(), afterE2_.end(),
                       [](const auto& pair) { return pair.second == Continuations(); });
  }

  /// The leads after which any sequence stands.
  CharSet FreeLeads() const {
    CharSet leads;
    if (!foreign_) return leads;
    leads = BytesFrom(0xC2, 0xF4);
    for (const auto& [lead, seconds] : pairs_)
      leads.set(lead, seconds == Continuations());
    leads.set(0xE2, std::all_of(afterE2_.begin(), afterE2_.end(),
                                [](const auto& pair) { return pair.second == Continuations(); }));
    return leads;
  }

  /// All others, as strings of sets.
  std::vector<std::vector<CharSet>> Others() const {
    std::vector<std::vector<CharSet>> strings;
    for (const auto& [seconds, leads] : Gathered(pairs_)) {
      if (seconds != Continuations() || !foreign_) strings.push_back({leads, seconds});
    }
    if (FreeLeads()[0xE2]) return strings;
    CharSet e2;
    e2.set(0xE2);
    for (const auto& [thirds, seconds] : Gathered(afterE2_))
      strings.push_back({e2, seconds, thirds});
    if (foreign_) {
      CharSet seconds = Continuations();
      for (const auto& [second, thirds] : afterE2_)
        seconds.reset(second);
      strings.push_back({e2, seconds, Continuations()});
    }
    return strings;
  }

 private:
  using Sets = std::map<std::size_t, CharSet>;

  /// Notes whether a character of the page is in the set. All of these take two bytes, or begin with E2.
  void Put(char32_t codePoint, bool isIn) {
    const CharSet rest = foreign_ ? Continuations() : CharSet();
    const bool isPair = codePoint < 0x800;
    Sets& sets = isPair ? pairs_ : afterE2_;
    const std::size_t first = isPair ? 0xC0 | codePoint >> 6 : 0x80 | (codePoint >> 6 & 0x3F);
    sets.try_emplace(first, rest).first->second.set(0x80 | (codePoint & 0x3F), isIn);
  }

  /// For each set that is not empty the bytes that have it.
  static std::vector<std::pair<CharSet, CharSet>> Gathered(const Sets& sets) {
    std::vector<std::pair<CharSet, CharSet>> gathered;
    for (const auto& [byte, bytesAfter] : sets) {
      const CharSet& after = bytesAfter;
      if (after.none()) continue;
      const auto same = std::find_if(gathered.begin(), gathered.end(),
                                     [&](const auto& other) { return other.first == after; });
      if (same == gathered.end())
        gathered.emplace_back(after, CharSet().set(byte));
      else
        same->second.set(byte);
    }
    return gathered;
  }

  bool foreign_;
  Sets pairs_;    // by the lead
  Sets afterE2_;  // by the second byte
};

/// Writes a tree of characters as one of bytes.
class Writer {
 public:
  Writer(const SyntaxTree& from, unsigned char substitute, SyntaxTree& to)
      : from_(from), substitute_(substitute), builder_(to) {}

  /// Writes node `index` and returns the new one.
  int Write(int index) {
    const SyntaxNode& node = from_.Node(index);
    switch (node.kind) {
      case SyntaxKind::kByte:
      case SyntaxKind::kSet:
        return WriteSet(SetOf(node));
      case SyntaxKind::kGroup: {
        const int body = Write(node.firstChild);
        return builder_.AddGroup(node.value, body);
      }
      case SyntaxKind::kConcat:
      case SyntaxKind::kAlternate: {
        std::vector<int> children;
        for (int i = node.firstChild; i != kNoNode; i = from_.Node(i).nextSibling)
          children.push_back(Write(i));
        return builder_.Join(node.kind, children);
      }
      case SyntaxKind::kRepeat:
        return WriteRepetition(node);
      default:
        return builder_.Add(node.kind, node.value);
    }
  }

 private:
  CharSet SetOf(const SyntaxNode& node) const {
    if (node.kind == SyntaxKind::kSet) return from_.Set(node);
    return CharSet().set(static_cast<std::size_t>(node.value));
  }

  int WriteSet(const CharSet& set) {
    const CharSet ascii = set & Ascii();
    if (ascii == set) return builder_.AddSet(set);
    const SequencesOf sequences(set, substitute_);
    std::vector<int> alternatives;
    const CharSet free = sequences.FreeLeads();
    if (free.any()) {
      // After ASCII no continuation stands.
      const int lead = builder_.AddSet(ascii | free);
      const int rest = builder_.AddRepeat(builder_.AddSet(Continuations()), 0, kUnbounded);
      alternatives.push_back(builder_.Join(SyntaxKind::kConcat, {lead, rest}));
    } else if (ascii.any()) {
      alternatives.push_back(builder_.AddSet(ascii));
    }
    for (const std::vector<CharSet>& string : sequences.Others()) {
      std::vector<int> bytes;
      for (const CharSet& byte : string)
        bytes.push_back(builder_.AddSet(byte));
      alternatives.push_back(builder_.Join(SyntaxKind::kConcat, bytes));
    }
    if (alternatives.empty()) return builder_.AddSet({});
    return builder_.Join(SyntaxKind::kAlternate, alternatives);
  }

  /// A set of all characters beyond ASCII, repeated without an end, is one of bytes in its last rounds.
  int WriteRepetition(const SyntaxNode& node) {
    const SyntaxNode& body = from_.Node(node.firstChild);
    const bool isSet = body.kind == SyntaxKind::kSet;
    if (node.max != kUnbounded || !isSet || !HasAllBeyondAscii(SetOf(body)))
      return builder_.AddRepeat(Write(node.firstChild), node.min, node.max);
    const CharSet ascii = SetOf(body) & Ascii();
    std::vector<int> rounds;
    if (node.min > 1)
      rounds.push_back(builder_.AddRepeat(WriteSet(SetOf(body)), node.min - 1, node.min - 1));
    if (node.min > 0) rounds.push_back(builder_.AddSet(ascii | BytesFrom(0xC2, 0xF4)));
    const int bytes = builder_.AddSet(ascii | BytesFrom(kAscii, 0xFF));
    rounds.push_back(builder_.AddRepeat(bytes, 0, kUnbounded));
    return builder_.Join(SyntaxKind::kConcat, rounds);
  }

  bool HasAllBeyondAscii(const CharSet& set) const {
    return SequencesOf(set, substitute_).AreAll();
  }

  const SyntaxTree& from_;
  unsigned char substitute_;
  SyntaxBuilder builder_;
};

bool Holds(const SyntaxTree& tree, SyntaxKind kind) {
  return std::any_of(tree.nodes.begin(), tree.nodes.end(),
                     [kind](const SyntaxNode& node) { return node.kind == kind; });
}

bool IsWordAnchor(const SyntaxNode& node) {
  if (node.kind != SyntaxKind::kAnchor) return false;
  const auto anchor = static_cast<Anchor>(node.value);
  return anchor == Anchor::kWordStart || anchor == Anchor::kWordEnd ||
         anchor == Anchor::kWordEdge || anchor == Anchor::kNotWordEdge;
}

/// Whether nothing but characters of words is matched.
bool IsOfWords(const SyntaxTree& tree) {
  return std::all_of(tree.nodes.begin(), tree.nodes.end(), [&](const SyntaxNode& node) {
    if (node.kind == SyntaxKind::kByte)
      return IsCodePageWord(static_cast<unsigned char>(node.value));
    return node.kind != SyntaxKind::kSet || (tree.Set(node) & ~CodePageWords()).none();
  });
}

bool IsOfAscii(const SyntaxTree& tree) {
  return std::all_of(tree.nodes.begin(), tree.nodes.end(), [&](const SyntaxNode& node) {
    if (node.kind == SyntaxKind::kByte) return node.value < static_cast<int>(kAscii);
    return node.kind != SyntaxKind::kSet || (tree.Set(node) & ~Ascii()).none();
  });
}

/// Whether the empty string matches node `index`, whose children come before it in `known`.
bool MatchesEmpty(const SyntaxTree& tree, const SyntaxNode& node, const std::vector<bool>& known) {
  const auto child = [&](int index) { return known[static_cast<std::size_t>(index)]; };
  switch (node.kind) {
    case SyntaxKind::kByte:
    case SyntaxKind::kSet:
      return false;
    case SyntaxKind::kRepeat:
      return node.min == 0 || child(node.firstChild);
    case SyntaxKind::kGroup:
      return child(node.firstChild);
    case SyntaxKind::kConcat:
      for (int i = node.firstChild; i != kNoNode; i = tree.Node(i).nextSibling) {
        if (!child(i)) return false;
      }
      return true;
    case SyntaxKind::kAlternate:
      for (int i = node.firstChild; i != kNoNode; i = tree.Node(i).nextSibling) {
        if (child(i)) return true;
      }
      return false;
    default:
      return true;
  }
}

bool MayMatchEmpty(const SyntaxTree& tree) {
  std::vector<bool> known;
  known.reserve(tree.nodes.size());
  for (const SyntaxNode& node : tree.nodes)
    known.push_back(MatchesEmpty(tree, node, known));
  return known.back();
}

/// Whether a set of more than ASCII is repeated many times.
bool CountsBeyondAscii(const SyntaxTree& tree) {
  return std::any_of(tree.nodes.begin(), tree.nodes.end(), [&](const SyntaxNode& node) {
    if (node.kind != SyntaxKind::kRepeat || std::max(node.min, node.max) <= kMostCountedSequences)
      return false;
    const SyntaxNode& body = tree.Node(node.firstChild);
    return body.kind == SyntaxKind::kSet && (tree.Set(body) & ~Ascii()).any();
  });
}

/// The characters of `tree` beyond ASCII, and the first byte of combining marks: where a text has none of these bytes,
/// each of the characters in it is a sequence. None where some of them are common as parts of other sequences.
CharSet SuspectsOf(const SyntaxTree& tree) {
  CharSet suspects;
  for (const SyntaxNode& node : tree.nodes) {
    if (node.kind == SyntaxKind::kByte) suspects.set(static_cast<std::size_t>(node.value));
    if (node.kind == SyntaxKind::kSet) suspects |= tree.Set(node);
  }
  suspects &= ~Ascii();
  const CharSet common = BytesFrom(0x80, 0xC3) | CharSet().set(0xE2);
  return (suspects & common).any() ? CharSet() : suspects.set(0xC0 | kFirstMark >> 6);
}

/// The conditions on words at the edges of a pattern, which are all that it has.
struct WordEdges {
  bool atStart = false;
  bool atEnd = false;
};

/// Takes them off `tree`, whose sets are all of words: what is between them begins and ends in one. False where it has others.
bool TakeWordEdges(SyntaxTree& tree, WordEdges& edges) {
  const auto isAnchor = [&](int index, Anchor anchor) {
    const SyntaxNode& node = tree.Node(index);
    return IsWordAnchor(node) && (node.value == static_cast<int>(anchor) ||
                                  node.value == static_cast<int>(Anchor::kWordEdge));
  };
  SyntaxNode& root = tree.nodes.back();
  if (root.kind == SyntaxKind::kConcat && isAnchor(root.firstChild, Anchor::kWordStart)) {
    edges.atStart = true;
    tree.nodes[static_cast<std::size_t>(root.firstChild)].kind = SyntaxKind::kEmpty;
  }
  if (root.kind == SyntaxKind::kConcat) {
    int last = root.firstChild;
    while (tree.Node(last).nextSibling != kNoNode)
      last = tree.Node(last).nextSibling;
    if (isAnchor(last, Anchor::kWordEnd)) {
      edges.atEnd = true;
      tree.nodes[static_cast<std::size_t>(last)].kind = SyntaxKind::kEmpty;
    }
  }
  return std::none_of(tree.nodes.begin(), tree.nodes.end(), IsWordAnchor);
}

}  // namespace

std::optional<Utf8Form> Utf8FormOf(const SyntaxTree& tree, bool wholeWords,
                                   unsigned char substitute) {
  if (tree.nodes.empty() || tree.nodes.size() > kMostNodesWritten) return std::nullopt;
  if (Holds(tree, SyntaxKind::kBackReference)) return std::nullopt;
  Utf8Form form;
  SyntaxTree inner = tree;
  const bool hasAnchors = std::any_of(tree.nodes.begin(), tree.nodes.end(), IsWordAnchor);
  const bool isAscii = IsOfAscii(tree);
  if (wholeWords || hasAnchors) {
    if (!IsOfWords(tree)) return std::nullopt;
    WordEdges edges;
    if (!TakeWordEdges(inner, edges)) return std::nullopt;
    form.wholeWords = wholeWords || (edges.atStart && edges.atEnd);
    form.edges.before = form.wholeWords || edges.atStart;
    form.edges.after = form.wholeWords || edges.atEnd;
    // Of one edge, the search has to know by itself what ASCII says.
    if (!form.wholeWords && !isAscii) return std::nullopt;
    if (!form.wholeWords) inner = tree;
  }
  if (MayMatchEmpty(inner)) return std::nullopt;
  form.needsRegular = !isAscii;
  if (!isAscii && CountsBeyondAscii(inner)) return std::nullopt;
  if (isAscii) {
    form.tree = std::move(inner);
    return form;
  }
  form.suspects = SuspectsOf(inner);
  Writer(inner, substitute, form.tree).Write(inner.Root());
  form.tree.groupCount = inner.groupCount;
  return form;
}

std::optional<Utf8Pattern> CompileUtf8Form(Utf8Form form, CompileBudget& budget) {
  ProgramOptions options;
  options.wholeWords = form.wholeWords;
  options.wordBytes = CodePageWords() & Ascii();
  auto result = PatternProgram::Compile(std::move(form.tree), options, budget);
  if (std::holds_alternative<MessageNumber>(result)) return std::nullopt;
  return Utf8Pattern{std::get<std::shared_ptr<const PatternProgram>>(std::move(result)), form.edges,
                     form.needsRegular ? Utf8Guard(form.suspects) : Utf8Guard()};
}

Utf8Guard::Utf8Guard(const CharSet& suspects) : isNeeded_(true), suspects_(suspects) {
  if (suspects.any()) scan_ = std::make_shared<const StringScan>(std::vector<CharSet>{suspects});
}

bool Utf8Guard::Allows(TextView text) const {
  if (!isNeeded_ || text.empty()) return true;
  const unsigned char* const begin = text.data();
  const unsigned char* const end = begin + text.size();
  return (scan_ != nullptr && scan_->Find(begin, end) == nullptr) || IsRegularUtf8(text);
}

Utf8Guard Utf8Guard::And(const Utf8Guard& other) const {
  if (!isNeeded_ || !other.isNeeded_) return isNeeded_ ? *this : other;
  const bool haveSuspects = suspects_.any() && other.suspects_.any();
  return Utf8Guard(haveSuspects ? suspects_ | other.suspects_ : CharSet());
}

bool MayHoldMarks(TextView text) {
  constexpr int kFirstByteOfMarks = 0xCC;
  static_assert((0xC0 | kFirstMark >> 6) == kFirstByteOfMarks);
  static_assert((0xC0 | kLastMark >> 6) == kFirstByteOfMarks);
  return !text.empty() && std::memchr(text.data(), kFirstByteOfMarks, text.size()) != nullptr;
}

}  // namespace trovex
