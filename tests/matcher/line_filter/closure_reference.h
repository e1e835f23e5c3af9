// Which automata are cut short by the rule that a closure visits each anchor once.
//
// Where two ways lead to the same anchor under different conditions ("(\b|^)\b"), the automaton keeps
// the condition of the way that it went first, and may turn away a line that the engine matches. That
// is one of its known readings, not a fault, so a test that holds the automaton's answers against the
// engine's has to know these patterns. Here every way is followed with every condition, however often
// it comes by the same anchor, and the result is compared with what the automaton kept.

#ifndef TROVEX_TESTS_MATCHER_LINE_FILTER_CLOSURE_REFERENCE_H
#define TROVEX_TESTS_MATCHER_LINE_FILTER_CLOSURE_REFERENCE_H

#include "matcher/line_filter/pattern_automaton.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace trovex::testing {

/// The follow sets of a token stream as they are before any closure.
class FollowReference {
 public:
  explicit FollowReference(const std::vector<Token>& tokens)
      : tokens_(tokens), follows_(tokens.size()) {
    for (std::size_t i = 0; i < tokens.size(); ++i)
      Take(i);
  }

  /// The positions a match can begin with, and those that can follow token `index`.
  const std::set<std::size_t>& First() const { return stack_.back().first; }
  const std::set<std::size_t>& After(std::size_t index) const { return follows_[index]; }

 private:
  struct Entry {
    bool nullable = false;
    std::set<std::size_t> first;
    std::set<std::size_t> last;
  };

  void Take(std::size_t index) {
    const Token token = tokens_[index];
    if (IsPostfixToken(token)) {
      if (token != TokOptional) Link(stack_.back().last, stack_.back().first);
      if (token != TokPlus) stack_.back().nullable = true;
    } else if (IsBinaryToken(token)) {
      const Entry right = Pop();
      const Entry left = Pop();
      stack_.push_back(token == TokConcat ? Concatenated(left, right) : Alternative(left, right));
    } else if (token == TokEmpty) {
      stack_.push_back({true, {}, {}});
    } else {
      stack_.push_back({token == TokBackref, {index}, {index}});
    }
  }

  Entry Pop() {
    Entry top = stack_.back();
    stack_.pop_back();
    return top;
  }

  Entry Concatenated(const Entry& left, const Entry& right) {
    Link(left.last, right.first);
    Entry both{left.nullable && right.nullable, left.first, right.last};
    if (left.nullable) both.first.insert(right.first.begin(), right.first.end());
    if (right.nullable) both.last.insert(left.last.begin(), left.last.end());
    return both;
  }

  static Entry Alternative(const Entry& left, const Entry& right) {
    Entry either{left.nullable || right.nullable, left.first, left.last};
    either.first.insert(right.first.begin(), right.first.end());
    either.last.insert(right.last.begin(), right.last.end());
    return either;
  }

  void Link(const std::set<std::size_t>& from, const std::set<std::size_t>& to) {
    for (const std::size_t index : from)
      follows_[index].insert(to.begin(), to.end());
  }

  const std::vector<Token>& tokens_;
  std::vector<std::set<std::size_t>> follows_;
  std::vector<Entry> stack_;
};

/// The constraint that each anchor puts on what stands after it, as the automaton's head draws it.
inline Constraint ConstraintOf(Token anchor) {
  static const std::map<Token, Constraint> kConstraints = {
      {TokLineStart, Constraint{0xCF}}, {TokLineEnd, Constraint{0xAF}},
      {TokWordStart, Constraint{0xF2}}, {TokWordEnd, Constraint{0xF4}},
      {TokWordEdge, Constraint{0xF6}},  {TokNotWordEdge, Constraint{0xF9}}};
  return kConstraints.at(anchor);
}

/// Whether `kept` holds every position that `start` leads to through anchors, under every condition.
inline bool HoldsWholeClosure(const PositionSet& kept, const std::set<std::size_t>& start,
                              const FollowReference& follows, const std::vector<Token>& tokens) {
  std::map<std::size_t, unsigned> keptConstraints;
  for (const Position& position : kept)
    keptConstraints[position.index] = position.constraint;

  std::set<std::pair<std::size_t, Constraint>> seen;
  std::vector<std::pair<std::size_t, Constraint>> open;
  open.reserve(start.size());
  for (const std::size_t index : start)
    open.emplace_back(index, kNoConstraint);
  while (!open.empty()) {
    const auto [index, constraint] = open.back();
    open.pop_back();
    if (!seen.emplace(index, constraint).second) continue;
    if (!IsAnchorToken(tokens[index])) {
      const auto found = keptConstraints.find(index);
      if (found == keptConstraints.end() || (constraint & ~found->second) != 0) return false;
      continue;
    }
    const auto narrowed = static_cast<Constraint>(constraint & ConstraintOf(tokens[index]));
    for (const std::size_t next : follows.After(index))
      open.emplace_back(next, narrowed);
  }
  return true;
}

/// Whether every closure of `automaton` is complete, so that it turns away no line for this reason.
inline bool ClosuresAreComplete(const PatternAutomaton& automaton) {
  const FollowReference follows(automaton.tokens);
  if (!HoldsWholeClosure(automaton.states[0].positions, follows.First(), follows,
                         automaton.tokens)) {
    return false;
  }
  for (std::size_t i = 0; i < automaton.tokens.size(); ++i) {
    const Token token = automaton.tokens[i];
    if (IsPostfixToken(token) || IsBinaryToken(token) || IsAnchorToken(token)) continue;
    if (token == TokEmpty) continue;
    if (!HoldsWholeClosure(automaton.followSets[i], follows.After(i), follows, automaton.tokens)) {
      return false;
    }
  }
  return true;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_MATCHER_LINE_FILTER_CLOSURE_REFERENCE_H
