#include "matcher/pattern/engine_stream.h"

#include <algorithm>
#include <array>

namespace trovex {

namespace {

class StreamWriter {
 public:
  StreamWriter(const SyntaxTree& tree, References references, TokenStream& stream)
      : tree_(tree), references_(references), stream_(stream) {
    tokenOf_.fill(TokEnd);
    for (std::size_t c = 0; c < tree.translate.size(); ++c) {
      ++sourcesOf_[tree.translate[c]];
      sourceOf_[tree.translate[c]] = static_cast<unsigned char>(c);
    }
  }

  /// Writes the whole tree. Returns false when it holds what no automaton can stand for.
  bool WriteTree() {
    Write(tree_.Root());
    Append(EndMarker(0));
    Append(TokConcat);
    return isPossible_;
  }

 private:
  /// Recurses as deep as the pattern is nested, which is limited before.
  void Write(int index) {
    const SyntaxNode& node = tree_.Node(index);
    switch (node.kind) {
      case SyntaxKind::kEmpty:
        Append(TokEmpty);
        break;
      case SyntaxKind::kByte:
        WriteByte(static_cast<unsigned char>(node.value));
        break;
      case SyntaxKind::kSet:
        Append(TokenOf(BeforeTranslation(tree_.Set(node))));
        break;
      case SyntaxKind::kAnchor:
        WriteAnchor(static_cast<Anchor>(node.value));
        break;
      case SyntaxKind::kBackReference:
        if (references_ == References::kRefused) isPossible_ = false;
        Append(TokBackref);
        break;
      case SyntaxKind::kGroup:
        ++groupDepth_;
        Write(node.firstChild);
        --groupDepth_;
        break;
      case SyntaxKind::kConcat:
        WriteJoined(node, TokConcat);
        break;
      case SyntaxKind::kAlternate:
        WriteJoined(node, groupDepth_ == 0 ? TokTopOr : TokOr);
        break;
      case SyntaxKind::kRepeat:
        ++repeatDepth_;
        WriteRepeat(node);
        --repeatDepth_;
        break;
    }
  }

  void WriteJoined(const SyntaxNode& node, Token operation) {
    for (int child = node.firstChild; child != kNoNode; child = tree_.Node(child).nextSibling) {
      Write(child);
      if (child != node.firstChild) Append(operation);
    }
  }

  /// Writes a repetition out over its body x:
  ///
  ///   {m}, {m,n}   m times x, then x? up to n      {0,n}   x? instead of the first x
  ///   {m,}         x+ instead of the first x       {0,}    x*
  void WriteRepeat(const SyntaxNode& node) {
    if (node.max == 0) {
      Append(TokEmpty);
      return;
    }
    Write(node.firstChild);
    if (node.max == kUnbounded) {
      Append(node.min == 0 ? TokStar : TokPlus);
    } else if (node.min == 0) {
      Append(TokOptional);
    }
    for (int copy = 1; copy < std::max(node.min, node.max); ++copy) {
      Write(node.firstChild);
      if (copy >= node.min) Append(TokOptional);
      Append(TokConcat);
    }
  }

  void WriteAnchor(Anchor anchor) {
    if (repeatDepth_ > 0 || anchor == Anchor::kNotWordEdge) isPossible_ = false;
    stream_.hasAnchors = true;
    if (anchor == Anchor::kTextEnd) stream_.hasTextEnd = true;
    const Token token = TokenOf(anchor);
    if (token != TokLineStart && token != TokLineEnd) stream_.hasWordAnchors = true;
    Append(token);
  }

  static Token TokenOf(Anchor anchor) {
    switch (anchor) {
      case Anchor::kLineStart:
      case Anchor::kTextStart:
        return TokLineStart;
      case Anchor::kLineEnd:
      case Anchor::kTextEnd:
        return TokLineEnd;
      case Anchor::kWordStart:
        return TokWordStart;
      case Anchor::kWordEnd:
        return TokWordEnd;
      case Anchor::kWordEdge:
        return TokWordEdge;
      case Anchor::kNotWordEdge:
        return TokNotWordEdge;
    }
    return TokEmpty;
  }

  void WriteByte(unsigned char byte) {
    Token& token = tokenOf_[byte];
    if (token == TokEnd) {
      token =
          sourcesOf_[byte] == 1 ? sourceOf_[byte] : TokenOf(BeforeTranslation(CharSet().set(byte)));
    }
    Append(token);
  }

  /// The bytes of the text that are compared as one of `translated`.
  CharSet BeforeTranslation(const CharSet& translated) const {
    CharSet bytes;
    for (std::size_t c = 0; c < bytes.size(); ++c)
      bytes.set(c, translated[tree_.translate[c]]);
    return bytes;
  }

  /// The token for `set`, which is stored unless an equal one is.
  Token TokenOf(const CharSet& set) { return TokFirstSet + StoreCharset(stream_.sets, set); }

  void Append(Token token) { stream_.tokens.push_back(token); }

  const SyntaxTree& tree_;
  const References references_;
  TokenStream& stream_;
  std::array<int, 256> sourcesOf_{};           // how many bytes are compared as this one
  std::array<unsigned char, 256> sourceOf_{};  // one of them
  std::array<Token, 256> tokenOf_{};  // the token that stands for them; TokEnd: not asked yet
  int groupDepth_ = 0;
  int repeatDepth_ = 0;
  bool isPossible_ = true;
};

}  // namespace

std::optional<TokenStream> WriteTokenStream(const SyntaxTree& tree, References references) {
  TokenStream stream;
  if (!StreamWriter(tree, references, stream).WriteTree()) return std::nullopt;
  return stream;
}

}  // namespace trovex
