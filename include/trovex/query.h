// The second door: an expression, compiled once, searched in any number of texts by any number of
// threads.
//
//     auto compiled = trovex::Query::Compile("(Haus|Hof) &20 !Garten");
//     if (auto* fault = std::get_if<trovex::Fault>(&compiled)) ...fault->sentence...
//     trovex::Searcher searcher(std::get<trovex::Query>(compiled));
//     if (searcher.Search(text) == trovex::Verdict::kYes)
//       for (const trovex::Item& item : searcher.Items()) ...text.substr(item.begin, item.Size())...
//
//   Query     the expression with its options. Never changes; cheap to copy; shared by threads.
//   Searcher  one thread's work space for a Query. After its first texts it allocates nothing.
//   Item      a place of the text that the expression finds, with the ranges of its tags.
//
// Rules that hold for all of it:
//
// - Texts and expressions are bytes, in UTF-8 or in the Windows Latin-1 code page; any byte may
//   stand in them, also zero. Bytes that are no valid UTF-8 are read one by one as Windows Latin-1.
// - Positions are offsets in bytes of what the caller passed, whatever its encoding; ends are
//   exclusive. They have 64 bits, and no text is too long.
// - A text is read only, and nothing outside of it is read. A searcher keeps no pointer into it
//   when a call has returned.
// - A fault of an expression is a value, with a sentence for the person who typed it. Nothing
//   throws but std::bad_alloc, where memory runs out; what it leaves behind can be used again.
//   Functions marked noexcept do not throw at all.
// - A Query, or a copy of it, may be used by several threads at the same time. A Searcher may be
//   used by one thread at a time, which need not always be the same.
// - A Query or Searcher that was moved from may only be assigned to or destroyed.

#ifndef TROVEX_QUERY_H
#define TROVEX_QUERY_H

#include <trovex/export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace trovex {

/// How bytes are read as characters.
enum class Encoding : unsigned char { kUtf8, kLatin1 };

/// How an expression is read.
struct ExpressionOptions {
  /// Finds whole words only.
  bool words = false;
  /// Tells upper and lower case apart.
  bool caseSensitive = false;
  /// Looks for every term that is one word by its sound, as if "~" stood before it.
  bool phonetic = false;
  /// Finds what is typed in its other spellings too: ae for ä, ss for ß, e for é ...
  bool variants = false;
  /// The encoding of the expression; that of a text is told with the text.
  Encoding encoding = Encoding::kUtf8;
};

/// Why an expression was refused.
struct Fault {
  /// The number of the sentence, which stays when its words change.
  int number = 0;
  /// One English sentence.
  std::string sentence;
  /// What it is about, in bytes of the expression as it was typed; empty where something is
  /// missing. `begin` <= `end` <= the length of the expression.
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// The range of a tag: of what a bracket of the expression found.
struct TagRange {
  /// The number of the bracket, counted from 1 in the order of the "(".
  int tag = 0;
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// A place that an expression finds.
struct Item {
  std::size_t begin = 0;
  std::size_t end = 0;
  /// The ranges of the item's tags, by number; none unless the search was asked for tags. A bracket
  /// that took no part has none.
  const TagRange* tags = nullptr;
  std::size_t tagCount = 0;

  std::size_t Size() const noexcept { return end - begin; }

  /// The range of tag `number`; null where the item has none.
  const TagRange* Tag(int number) const noexcept {
    for (std::size_t i = 0; i < tagCount; ++i) {
      if (tags[i].tag == number) return &tags[i];
    }
    return nullptr;
  }
};

/// Items side by side, which belong to somebody else.
class ItemView {
 public:
  ItemView() noexcept = default;
  ItemView(const Item* first, std::size_t count) noexcept : first_(first), count_(count) {}

  const Item* begin() const noexcept { return first_; }
  const Item* end() const noexcept { return first_ + count_; }
  std::size_t size() const noexcept { return count_; }
  bool empty() const noexcept { return count_ == 0; }
  const Item& operator[](std::size_t index) const noexcept { return first_[index]; }

 private:
  const Item* first_ = nullptr;
  std::size_t count_ = 0;
};

/// One operand or operator of a query, as it was understood.
struct QueryPart {
  enum class Kind : unsigned char { kPattern, kSound, kAnd, kOr, kNot };

  Kind kind = Kind::kPattern;
  /// How deep it stands: 0 for the whole query, 1 for its operands, and so on.
  int level = 0;
  /// For patterns and sounds: what was typed, as UTF-8.
  std::string text;
  /// For sounds: the key that words are compared by, as UTF-8.
  std::string soundKey;
  /// For AND: the greatest distance, if it has one, and whether it is counted in words, else in
  /// characters.
  std::optional<std::int64_t> distance;
  bool distanceInWords = false;
  /// For AND: whether the right operand has to follow the left one.
  bool ordered = false;
  /// The brackets around just this part; for a pattern also those in it, in their order.
  std::vector<int> tags;
  /// Where it stands in the expression as it was typed.
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// Strings that every text holds which satisfies a query: at least one of every clause.
struct RequiredStrings {
  /// A clause is never empty, nor is a string; all strings are ASCII, without a line feed, and
  /// stand in the bytes of the text as they are, in either encoding. No clause promises nothing.
  std::vector<std::vector<std::string>> clauses;
  /// The strings are in lower case, and the text may hold them in either case of each letter.
  bool foldsCase = false;
};

struct CompiledQuery;
class SearcherWork;

/// An expression with its options, compiled.
class TROVEX_EXPORT Query {
 public:
  /// Compiles `expression`, which need not be kept. Takes at most about a second and 256 MB,
  /// whatever was typed; more is a fault.
  static std::variant<Query, Fault> Compile(std::string_view expression,
                                            const ExpressionOptions& options = ExpressionOptions());

  // Copies share what was compiled.
  Query(const Query& other) noexcept;
  Query(Query&& other) noexcept;
  Query& operator=(const Query& other) noexcept;
  Query& operator=(Query&& other) noexcept;
  ~Query();

  /// What was typed, byte for byte, and how it is read. Valid as long as a copy of the query lives.
  std::string_view Expression() const noexcept;
  const ExpressionOptions& Options() const noexcept;

  /// The number of tags: brackets that are no ordinary characters.
  int TagCount() const noexcept;

  /// The query as it was understood, a part before its operands. There is at least one.
  std::vector<QueryPart> Parts() const;

  /// The same for people to read, in lines of UTF-8: what belongs to an operator stands below it, set
  /// in by two blanks more. What a terminal might obey is written in hexadecimal.
  std::string Describe() const;

  /// What texts must hold: for an index, a planner, or a scan before the search.
  RequiredStrings Required() const;

 private:
  friend class Searcher;
  explicit Query(std::shared_ptr<const CompiledQuery> compiled) noexcept;

  std::shared_ptr<const CompiledQuery> compiled_;
};

/// Whether a text satisfies a query.
enum class Verdict : unsigned char {
  kNo,
  kYes,
  /// The search ended without an answer: a pattern with back-references could not be decided within
  /// the bounds, or the caller interrupted it. Items that it found before are right ones.
  kGaveUp,
};

/// How one text is searched.
struct SearchOptions {
  /// The encoding of the text.
  Encoding encoding = Encoding::kUtf8;
  /// Whether items bring the ranges of their tags. Without, they are found faster.
  bool tags = false;
  /// Of the items that begin on a line, brings the first one only: for who wants lines and not the items
  /// on them. The rest of the line is not searched where that can be left.
  bool firstOfLine = false;
  /// The search ends when it has so many items. With 0 it gives the verdict alone, and stops at what
  /// decides it.
  std::size_t mostItems = SIZE_MAX;
  /// Asked now and then while a long text is searched, with `interruptContext`: true ends the search
  /// with kGaveUp. Must not throw. Null: nobody is asked.
  bool (*interrupt)(void* context) = nullptr;
  void* interruptContext = nullptr;
};

/// One thread's work space for the searches of a query.
class TROVEX_EXPORT Searcher {
 public:
  explicit Searcher(const Query& query);
  Searcher(Searcher&& other) noexcept;
  Searcher& operator=(Searcher&& other) noexcept;
  Searcher(const Searcher&) = delete;
  Searcher& operator=(const Searcher&) = delete;
  ~Searcher();

  /// The verdict on `text` alone.
  Verdict Matches(std::string_view text, Encoding encoding = Encoding::kUtf8);

  /// Searches `text` and keeps its items. A search that ends early, because it has `mostItems`, has
  /// the verdict kYes.
  Verdict Search(std::string_view text, const SearchOptions& options = SearchOptions());

  /// The items of the latest Search, by begin, then by end; no two have the same range. Empty when
  /// the verdict was kNo. Valid until the next call of a function that searches, or the end of the
  /// searcher.
  ItemView Items() const noexcept;

  /// Searches `text` and calls `visit(item)` for one item after the other, in the order of Items(),
  /// while the search goes on; none is kept. The item and its tags are valid during the call. Where
  /// `visit` returns a bool, false ends the search, with the verdict kYes; what it throws leaves
  /// ForEach. It must not use this searcher.
  template <typename Visit>
  Verdict ForEach(std::string_view text, const SearchOptions& options, Visit&& visit) {
    const auto call = [](void* context, const Item& item) -> bool {
      auto& target = *static_cast<std::remove_reference_t<Visit>*>(context);
      if constexpr (std::is_convertible_v<decltype(target(item)), bool>) {
        return target(item);
      } else {
        target(item);
        return true;
      }
    };
    using Target = std::remove_const_t<std::remove_reference_t<Visit>>;
    return Stream(text, options, call, const_cast<Target*>(std::addressof(visit)));
  }

  /// The same with a plain function: `visit` gets `context` and returns whether to go on.
  Verdict Stream(std::string_view text, const SearchOptions& options,
                 bool (*visit)(void* context, const Item& item), void* context);

  /// Where the latest search gave up: the place of the text that it had come to. 0 for any other
  /// verdict.
  std::size_t GaveUpAt() const noexcept;

 private:
  std::unique_ptr<SearcherWork> work_;
};

/// What the library tells of itself: texts of its own, which are never freed.
struct LibraryFacts {
  /// Its version, as "1.0.0".
  const char* version = "";
  /// The vector instructions that searches use on this machine, as "AVX2"; "none".
  const char* vectorInstructions = "";
  /// The library behind them with its version; empty when there is none.
  const char* vectorLibrary = "";
};

TROVEX_EXPORT LibraryFacts AboutLibrary() noexcept;

}  // namespace trovex

#endif  // TROVEX_QUERY_H
