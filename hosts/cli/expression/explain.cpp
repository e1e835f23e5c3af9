// Drawing the tree.
//
//     AND, at most 20 bytes apart
//     ├─ searched first: "Baum", tag 2
//     └─ then: NOT
//        └─ "(Haus|Hof)", tag 1 is group 1
//
// Where the expression has brackets that became no part of the tree, a last line tells so: text
// beside a bracketed operator is dropped.

#include "hosts/cli/expression/explain.h"

#include "hosts/cli/files/code_page.h"
#include "hosts/cli/output/visible_text.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace trovex::cli {

namespace {

class TreeDrawing {
 public:
  TreeDrawing(const Options& options, int tagCount, bool utf8)
      : words_(options.words), utf8_(utf8), tagSeen_(static_cast<std::size_t>(tagCount) + 1) {}

  /// Draws `node` after `label`; `indent` stands before the lines of its children.
  void Draw(CSearchTreeItem& node, const std::string& label, const std::string& indent);

  /// The drawing, with what is to be said about tags that are in no node.
  std::string Finish();

 private:
  void DrawChild(CSearchTreeItem* child, const char* label, const std::string& indent, bool last);
  std::string Describe(CSubExpression& leaf);
  std::string Tags(CSubExpression& leaf);
  std::string OwnTag(CSearchTreeItem& node);
  std::string Quoted(const CString& pattern) const;

  void See(int tag) {
    const auto index = static_cast<std::size_t>(tag);
    if (tag > 0 && index < tagSeen_.size()) tagSeen_[index] = true;
  }

  bool words_;
  bool utf8_;
  std::vector<bool> tagSeen_;
  std::string out_;
};

void TreeDrawing::Draw(CSearchTreeItem& node, const std::string& label, const std::string& indent) {
  out_ += label;
  if (auto* conjunction = dynamic_cast<CAndOperator*>(&node)) {
    const int nearBy = conjunction->GetNearBy();
    out_ += nearBy < 0 ? "AND, anywhere in the text"
                       : "AND, at most " + std::to_string(nearBy) + " bytes apart";
    out_ += OwnTag(node) + "\n";
    DrawChild(conjunction->GetLeftChild(), "searched first: ", indent, false);
    DrawChild(conjunction->GetRightChild(), "then: ", indent, true);
  } else if (auto* negation = dynamic_cast<CNotOperator*>(&node)) {
    out_ += "NOT" + OwnTag(node) + "\n";
    DrawChild(negation->GetChild(), "", indent, true);
  } else if (auto* leaf = dynamic_cast<CSubExpression*>(&node)) {
    out_ += Describe(*leaf) + "\n";
  }
}

void TreeDrawing::DrawChild(CSearchTreeItem* child, const char* label, const std::string& indent,
                            bool last) {
  if (child == nullptr) return;
  const char* const branch = utf8_ ? (last ? "└─ " : "├─ ") : (last ? "`- " : "|- ");
  const char* const trunk = last ? "   " : (utf8_ ? "│  " : "|  ");
  out_ += indent + branch;
  Draw(*child, label, indent + trunk);
}

std::string TreeDrawing::Describe(CSubExpression& leaf) {
  std::string text = Quoted(leaf.GetSubExpression());
  if (leaf.PhoneticSearch() != 0) {
    SoundexEnvironmentRecord record{};
    int wordMode = 0;
    CompileSoundex(leaf.GetSubExpression(), words_ ? 1 : 0);
    GetSoundexEnvironment(&record, &wordMode);
    const std::string_view code(record.code, sizeof record.code);
    text.append(", Soundex code ").append(code.substr(0, code.find('\0')));
  }
  return text + OwnTag(leaf) + Tags(leaf);
}

/// The tags of the brackets in a leaf: those around all of it, and the groups of its pattern.
std::string TreeDrawing::Tags(CSubExpression& leaf) {
  std::string text;
  for (int bracket = 1; bracket <= leaf.GetGroupCount(); ++bracket) {
    const int tag = leaf.GetTagBase() + bracket;
    if (tag < 1) continue;
    See(tag);
    const int group = bracket - leaf.GetStrippedBrackets();
    text += ", tag " + std::to_string(tag);
    const bool whole = group <= 0 || leaf.PhoneticSearch() != 0;
    text += whole ? " is all of it" : " is group " + std::to_string(group);
  }
  return text;
}

std::string TreeDrawing::OwnTag(CSearchTreeItem& node) {
  const int tag = node.GetTagNr();
  if (tag < 1) return "";
  See(tag);
  return ", tag " + std::to_string(tag);
}

std::string TreeDrawing::Quoted(const CString& pattern) const {
  const std::string bytes(pattern, static_cast<std::size_t>(pattern.GetLength()));
  return "\"" + (utf8_ ? CodePage::Get().ToUtf8(bytes) : bytes) + "\"";
}

std::string TreeDrawing::Finish() {
  std::string dropped;
  for (std::size_t tag = 1; tag < tagSeen_.size(); ++tag) {
    if (!tagSeen_[tag]) dropped += (dropped.empty() ? "" : ", ") + std::to_string(tag);
  }
  if (!dropped.empty()) out_ += "Brackets that became no part of the tree: " + dropped + "\n";
  return std::move(out_);
}

std::string Mode(const Options& options) {
  std::string mode = options.phonetic ? "Searched by sound" : "Searched as regular expressions";
  if (options.literal && !options.phonetic) mode += " with their special characters made ordinary";
  if (options.variants) mode += ", in all spellings";
  if (options.words) mode += ", whole words only";
  if (!options.phonetic) mode += options.caseSensitive ? ", case sensitive" : ", in either case";
  return mode + ".\n";
}

}  // namespace

std::string ExplainQuery(const Query& query, const Options& options) {
  return VisibleText(query.Expression()) + "\n" + Mode(options) + "\n" + query.Describe();
}

std::string ExplainClassic(const ClassicSearch& search, std::string_view expression,
                           const Options& options, bool utf8) {
  TreeDrawing drawing(options, search.TagCount(), utf8);
  drawing.Draw(search.Root(), "", "");
  return VisibleText(expression) + "\n" + Mode(options) + "\n" + drawing.Finish();
}

}  // namespace trovex::cli
