// Each call finds its compiled expression, asks for the search it needs, and answers. NULL in any argument gives
// NULL; a fault, and a search that gave up, are errors of the statement, never an answer.

#include "hosts/sqlite/functions.h"

#include "hosts/sqlite/interrupt_watch.h"
#include "hosts/sqlite/marked_text.h"
#include "hosts/sqlite/sentences.h"
#include "hosts/sqlite/snippet.h"
#include "hosts/sqlite/values.h"

#include <trovex/query.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::sqlite {
namespace {

/// The places of the expression and of the text among the arguments of every function that has them.
constexpr int kExpression = 0;
constexpr int kText = 1;

/// What SQLite keeps with a statement for a call whose expression is the same for all rows.
struct KeptSearch {
  std::shared_ptr<CompiledSearch> search;
  std::string options;
};

void Fail(sqlite3_context* context, const std::string& sentence) {
  sqlite3_result_error(context, sentence.data(), static_cast<int>(sentence.size()));
}

/// One call of a function, and its arguments.
class Call {
 public:
  Call(sqlite3_context* context, int count, sqlite3_value** arguments, int optionsAt)
      : context_(context),
        kept_(static_cast<const KeptSearch*>(sqlite3_get_auxdata(context, kExpression))),
        arguments_(arguments),
        count_(count),
        optionsAt_(optionsAt) {}

  /// Has to be asked first. An expression for which a search is kept is not NULL.
  bool HasNull() {
    for (int i = kept_ == nullptr ? kExpression : kExpression + 1; i < count_; ++i) {
      const int type = sqlite3_value_type(arguments_[i]);
      if (type == SQLITE_NULL) return true;
      if (i == kText) textType_ = type;
    }
    return false;
  }

  sqlite3_context* Context() const { return context_; }
  sqlite3* Connection() const { return sqlite3_context_db_handle(context_); }
  sqlite3_value* Argument(int number) const { return arguments_[number]; }
  std::string_view Bytes(int number) const { return BytesOf(arguments_[number]); }
  std::string_view Text() const { return BytesOf(arguments_[kText], textType_); }

  /// The compiled expression; null when there is none, which has been answered then. Valid during the
  /// call: it is kept by the statement, or as the latest of the cache.
  CompiledSearch* Search() const {
    const std::string_view options = optionsAt_ < count_ ? Bytes(optionsAt_) : std::string_view();
    if (kept_ != nullptr && kept_->options == options) return kept_->search.get();
    return FindSearch(options);
  }

 private:
  CompiledSearch* FindSearch(std::string_view options) const {
    auto& cache = **static_cast<std::shared_ptr<SearchCache>*>(sqlite3_user_data(context_));
    const SearchCache::Found found = cache.Find(Bytes(kExpression), options);
    if (const auto* const refusal = std::get_if<Refusal>(&found)) {
      Fail(context_, refusal->sentence);
      return nullptr;
    }
    const auto& search = std::get<std::shared_ptr<CompiledSearch>>(found);
    Keep(new KeptSearch{search, std::string(options)});
    return search.get();
  }

  /// SQLite drops it at once where the expression can differ from row to row.
  void Keep(KeptSearch* search) const {
    sqlite3_set_auxdata(context_, kExpression, search,
                        [](void* kept) { delete static_cast<KeptSearch*>(kept); });
  }

  sqlite3_context* context_;
  const KeptSearch* kept_;
  sqlite3_value** arguments_;
  int textType_ = SQLITE_NULL;
  int count_;
  int optionsAt_;
};

/// Searches `text` as `search(options)` does, which returns the verdict. Whether there is a verdict; where
/// there is none, that has been answered.
template <typename Search>
bool HasVerdict(const Call& call, CompiledSearch& compiled, std::string_view text, Verdict& verdict,
                Search&& search) {
  SearchOptions options;
  InterruptWatch watch;
  if (InterruptWatch::IsNeededFor(text.size())) watch.Attach(call.Connection(), options);
  verdict = search(options);
  if (verdict != Verdict::kGaveUp) return true;
  if (watch.WasInterrupted()) {
    sqlite3_result_error_code(call.Context(), SQLITE_INTERRUPT);
  } else {
    Fail(call.Context(), SentenceForGivingUp(text, compiled.searcher.GaveUpAt()));
  }
  return false;
}

void AnswerMatches(const Call& call) {
  CompiledSearch* const compiled = call.Search();
  if (compiled == nullptr) return;
  const std::string_view text = call.Text();
  Verdict verdict{};
  const bool isDecided = HasVerdict(call, *compiled, text, verdict, [&](SearchOptions& options) {
    if (options.interrupt == nullptr) return compiled->searcher.Matches(text);
    options.mostItems = 0;
    return compiled->searcher.Search(text, options);
  });
  if (isDecided) sqlite3_result_int(call.Context(), verdict == Verdict::kYes ? 1 : 0);
}

void AnswerCount(const Call& call) {
  CompiledSearch* const compiled = call.Search();
  if (compiled == nullptr) return;
  const std::string_view text = call.Text();
  Verdict verdict{};
  sqlite3_int64 count = 0;
  const bool isDecided =
      HasVerdict(call, *compiled, text, verdict, [&](const SearchOptions& options) {
        return compiled->searcher.ForEach(text, options, [&](const Item&) { ++count; });
      });
  if (isDecided) sqlite3_result_int64(call.Context(), count);
}

/// The items of `text`; false when there is no verdict, which has been answered then.
bool FindItems(const Call& call, CompiledSearch& compiled, std::string_view text,
               std::vector<Range>& items) {
  Verdict verdict{};
  return HasVerdict(call, compiled, text, verdict, [&](const SearchOptions& options) {
    return compiled.searcher.ForEach(text, options, [&](const Item& item) {
      items.push_back({item.begin, item.end});
    });
  });
}

/// Answers with what `write(emit)` gives piece by piece: first it is measured, then written once. It is a
/// BLOB where `like` is one.
template <typename Write>
void AnswerPieces(const Call& call, sqlite3_value* like, Write&& write) {
  std::size_t size = 0;
  write([&](std::string_view piece) { size += piece.size(); });
  const int most = sqlite3_limit(call.Connection(), SQLITE_LIMIT_LENGTH, -1);
  if (size > static_cast<std::size_t>(most)) {
    sqlite3_result_error_toobig(call.Context());
    return;
  }
  auto* const bytes = static_cast<char*>(sqlite3_malloc64(size + 1));
  if (bytes == nullptr) throw std::bad_alloc();
  char* end = bytes;
  write([&](std::string_view piece) {
    if (!piece.empty()) std::memcpy(end, piece.data(), piece.size());
    end += piece.size();
  });
  *end = '\0';
  if (IsBlob(like)) {
    sqlite3_result_blob64(call.Context(), bytes, size, sqlite3_free);
  } else {
    sqlite3_result_text64(call.Context(), bytes, size, sqlite3_free, SQLITE_UTF8);
  }
}

void AnswerHighlight(const Call& call) {
  CompiledSearch* const compiled = call.Search();
  if (compiled == nullptr) return;
  const std::string_view text = call.Text();
  std::vector<Range> items;
  if (!FindItems(call, *compiled, text, items)) return;
  const Marks marks{call.Bytes(2), call.Bytes(3)};
  AnswerPieces(call, call.Argument(kText), [&](auto&& emit) {
    ForEachPiece(text, {0, text.size()}, items, marks, emit);
  });
}

void AnswerSnippet(const Call& call) {
  const sqlite3_int64 words = sqlite3_value_int64(call.Argument(5));
  if (words < 1) {
    Fail(call.Context(), "The number of words of a snippet must be at least 1.");
    return;
  }
  CompiledSearch* const compiled = call.Search();
  if (compiled == nullptr) return;
  const std::string_view text = call.Text();
  std::vector<Range> items;
  if (!FindItems(call, *compiled, text, items)) return;
  const Marks marks{call.Bytes(2), call.Bytes(3)};
  const std::string_view ellipsis = call.Bytes(4);
  const Snippet snippet = ChooseSnippet(text, items, static_cast<std::size_t>(words));
  AnswerPieces(call, call.Argument(kText), [&](auto&& emit) {
    if (snippet.isCutBefore) emit(ellipsis);
    ForEachPiece(text, snippet.part, items, marks, emit);
    if (snippet.isCutBehind) emit(ellipsis);
  });
}

void AnswerExplain(const Call& call) {
  CompiledSearch* const compiled = call.Search();
  if (compiled == nullptr) return;
  const std::string description = compiled->query.Describe();
  sqlite3_result_text64(call.Context(), description.data(), description.size(), SQLITE_TRANSIENT,
                        SQLITE_UTF8);
}

void AnswerVersion(sqlite3_context* context, int /*count*/, sqlite3_value** /*arguments*/) {
  sqlite3_result_text(context, TROVEX_VERSION, -1, SQLITE_STATIC);
}

template <void (*Answer)(const Call&), int kOptionsAt>
void Function(sqlite3_context* context, int count, sqlite3_value** arguments) {
  Guarded(context, [&] {
    Call call(context, count, arguments, kOptionsAt);
    if (!call.HasNull()) Answer(call);
  });
}

struct Named {
  const char* name;
  int arguments;
  void (*function)(sqlite3_context*, int, sqlite3_value**);
};

/// Each is there without and with options, which come last.
constexpr Named kFunctions[] = {
    {"trovex", 2, Function<AnswerMatches, 2>},
    {"trovex", 3, Function<AnswerMatches, 2>},
    {"trovex_count", 2, Function<AnswerCount, 2>},
    {"trovex_count", 3, Function<AnswerCount, 2>},
    {"trovex_highlight", 4, Function<AnswerHighlight, 4>},
    {"trovex_highlight", 5, Function<AnswerHighlight, 4>},
    {"trovex_snippet", 6, Function<AnswerSnippet, 6>},
    {"trovex_snippet", 7, Function<AnswerSnippet, 6>},
    {"trovex_explain", 1, Function<AnswerExplain, 1>},
    {"trovex_explain", 2, Function<AnswerExplain, 1>},
    {"trovex_version", 0, AnswerVersion},
};

/// The same arguments give the same answer, and there is nothing else that a call does: the functions may be
/// used in indexes, in generated columns, and by schemas that nobody trusts.
constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;

}  // namespace

int AddFunctions(sqlite3* connection, const std::shared_ptr<SearchCache>& cache) {
  for (const Named& named : kFunctions) {
    auto* const shared = new std::shared_ptr<SearchCache>(cache);
    // SQLite frees it, also when it fails.
    const int status = sqlite3_create_function_v2(
        connection, named.name, named.arguments, kFlags, shared, named.function, nullptr, nullptr,
        [](void* data) { delete static_cast<std::shared_ptr<SearchCache>*>(data); });
    if (status != SQLITE_OK) return status;
  }
  return SQLITE_OK;
}

void RemoveFunctions(sqlite3* connection) {
  for (const Named& named : kFunctions) {
    sqlite3_create_function_v2(connection, named.name, named.arguments, kFlags, nullptr, nullptr,
                               nullptr, nullptr, nullptr);
  }
}

}  // namespace trovex::sqlite
