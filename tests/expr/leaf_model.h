// The leaf of a search tree told byte by byte: how a slice of a typed expression becomes a pattern,
// and how the pattern's matches in a text become found items. The matching itself is done by the
// exported plain functions, one pattern at a time, without environments.

#ifndef TROVEX_TESTS_EXPR_LEAF_MODEL_H
#define TROVEX_TESTS_EXPR_LEAF_MODEL_H

#include "tests/expr/tree_model.h"
#include "tests/heap_text.h"

#include <trovex/functions.h>
#include <trovex/search_tree.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace trovex::testing {

inline bool IsWhiteSpace(char byte) {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

inline void TrimRight(std::string& text) {
  while (!text.empty() && IsWhiteSpace(text.back()))
    text.pop_back();
}

inline void TrimLeft(std::string& text) {
  while (!text.empty() && IsWhiteSpace(text.front()))
    text.erase(0, 1);
}

inline std::unique_ptr<ModelNode> ModelLeaf(std::string_view slice, int lastTagNr) {
  auto leaf = std::make_unique<ModelNode>();
  while (!slice.empty() && slice.front() == ' ')
    slice.remove_prefix(1);
  bool escaped = false;
  while (!slice.empty()) {
    char byte = slice.front();
    slice.remove_prefix(1);
    if (byte == '\\') {
      escaped = !escaped;
      if (!slice.empty() && (slice.front() == '&' || slice.front() == '!')) {
        byte = slice.front();
        slice.remove_prefix(1);
      }
    } else {
      if (byte == '(' && !escaped) ++leaf->groupCount;
      escaped = false;
    }
    leaf->text += byte;
  }
  leaf->tagBase = lastTagNr - leaf->groupCount;
  TrimRight(leaf->text);
  while (leaf->text.size() >= 2 && leaf->text.front() == '(' && leaf->text.back() == ')') {
    leaf->text = leaf->text.substr(1, leaf->text.size() - 2);
    TrimRight(leaf->text);
    TrimLeft(leaf->text);
    ++leaf->strippedBrackets;
  }
  return leaf;
}

/// The message that compiling the leaf's pattern gives; empty when there is none.
inline std::string CompileModelLeaf(const ModelNode& leaf, unsigned long options) {
  const unsigned long mode = options & kSearchModeMask;
  int number = 0;
  const char* message = CompileToEnvironment(
      leaf.text.c_str(), mode == kSearchModeRegularExpression, mode == kSearchModePhonetic,
      (options & kSearchCaseSensitive) != 0, (options & kSearchMatchWords) != 0, &number);
  return message == nullptr ? "" : message;
}

/// All matches of the leaf in the first `length` bytes of `text`, for a leaf that compiles.
inline ModelArray SearchModelLeaf(const ModelNode& leaf, unsigned long options, const char* text,
                                  int length, int tagNr) {
  ModelArray found;
  const unsigned long mode = options & kSearchModeMask;
  const bool matchWords = (options & kSearchMatchWords) != 0;
  if (mode == kSearchModeRegularExpression) {
    Compile(leaf.text.c_str(), (options & kSearchCaseSensitive) == 0, matchWords);
  } else if (mode == kSearchModePhonetic) {
    CompileSoundex(leaf.text.c_str(), matchWords);
  } else {
    return found;
  }
  const int tagInLeaf = tagNr - leaf.tagBase;
  const bool tagMatched = tagNr >= 1 && tagInLeaf >= 1 && tagInLeaf <= leaf.groupCount;
  const int group = tagMatched ? tagInLeaf - leaf.strippedBrackets : 0;
  int position = 0;
  while (position < length) {
    int start = 0;
    int end = 0;
    const int hit = mode == kSearchModePhonetic
                        ? SearchSoundex(text + position, &start, &end)
                        : ::Search(text + position, length - position, &start, &end, group);
    if (hit == 0 || start < 0 || end < 1) break;
    found.slots.emplace_back(ModelItem{position + start, position + end, tagMatched ? 1 : 0});
    position += end;
  }
  FreeBuffersInTrovexDll();
  return found;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_EXPR_LEAF_MODEL_H
