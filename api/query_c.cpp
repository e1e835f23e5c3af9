// The second door for C: the C++ one behind opaque handles, with every exception made a status.

#include "resources/string_table.h"

#include <trovex/query.h>
#include <trovex/query_c.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

using trovex::Encoding;
using trovex::ExpressionOptions;
using trovex::Fault;
using trovex::Item;
using trovex::MessageNumber;
using trovex::Query;
using trovex::QueryPart;
using trovex::RequiredStrings;
using trovex::Searcher;
using trovex::SearchOptions;
using trovex::Verdict;

struct trovex_query {
  explicit trovex_query(Query compiled)
      : query(std::move(compiled)), parts(query.Parts()), required(query.Required()) {}

  Query query;
  std::vector<QueryPart> parts;
  RequiredStrings required;
};

struct trovex_searcher {
  explicit trovex_searcher(const Query& query) : searcher(query) {}

  Searcher searcher;
  std::vector<trovex_item> items;
  /// The tags of all items, side by side.
  std::vector<trovex_tag> tags;
};

namespace {

static_assert(static_cast<int>(Verdict::kNo) == TROVEX_NO);
static_assert(static_cast<int>(Verdict::kYes) == TROVEX_YES);
static_assert(static_cast<int>(Verdict::kGaveUp) == TROVEX_GAVE_UP);
static_assert(static_cast<int>(Encoding::kUtf8) == TROVEX_UTF8);
static_assert(static_cast<int>(Encoding::kLatin1) == TROVEX_LATIN1);
static_assert(static_cast<int>(QueryPart::Kind::kPattern) == TROVEX_PATTERN);
static_assert(static_cast<int>(QueryPart::Kind::kSound) == TROVEX_SOUND);
static_assert(static_cast<int>(QueryPart::Kind::kAnd) == TROVEX_AND);
static_assert(static_cast<int>(QueryPart::Kind::kOr) == TROVEX_OR);
static_assert(static_cast<int>(QueryPart::Kind::kNot) == TROVEX_NOT);

/// What `call` returns; TROVEX_NO_MEMORY where memory runs out. Nothing else is thrown, but a
/// program must not end because of what a string or a vector might do with absurd sizes.
template <typename Call>
int WithoutExceptions(Call&& call) noexcept {
  try {
    return call();
  } catch (...) {
    return TROVEX_NO_MEMORY;
  }
}

void Write(trovex_fault* to, int number, std::string_view sentence, std::size_t begin,
           std::size_t end) {
  if (to == nullptr) return;
  to->number = number;
  to->begin = begin;
  to->end = end;
  const std::size_t length = std::min<std::size_t>(sentence.size(), TROVEX_SENTENCE_SIZE - 1);
  std::memcpy(to->sentence, sentence.data(), length);
  to->sentence[length] = '\0';
}

void Write(trovex_fault* to, MessageNumber number) {
  Write(to, static_cast<int>(number), trovex::StringTableText(number), 0, 0);
}

bool IsEncoding(int value) {
  return value == TROVEX_UTF8 || value == TROVEX_LATIN1;
}

/// Whether there are bytes to be read.
bool IsText(const char* text, std::size_t length) {
  return length == 0 || (text != nullptr && length <= PTRDIFF_MAX);
}

std::string_view Bytes(const char* text, std::size_t length) {
  return text == nullptr ? std::string_view() : std::string_view(text, length);
}

/// The options of a search, of which the visitor of the host's language is a part.
class CallerOptions {
 public:
  explicit CallerOptions(const trovex_search_options* given) {
    if (given == nullptr) return;
    given_ = *given;
  }

  bool MakeSense() const { return IsEncoding(given_.encoding); }

  SearchOptions Options() {
    SearchOptions options;
    options.encoding = static_cast<Encoding>(given_.encoding);
    options.tags = given_.tags != 0;
    if (given_.most_items != 0) options.mostItems = given_.most_items;
    if (given_.interrupt != nullptr) {
      options.interrupt = [](void* self) {
        const trovex_search_options& caller = static_cast<CallerOptions*>(self)->given_;
        return caller.interrupt(caller.interrupt_context) != 0;
      };
      options.interruptContext = this;
    }
    return options;
  }

 private:
  trovex_search_options given_{};
};

void AppendTags(const Item& item, std::vector<trovex_tag>& to) {
  for (std::size_t i = 0; i < item.tagCount; ++i)
    to.push_back({item.tags[i].tag, item.tags[i].begin, item.tags[i].end});
}

/// The items point at their tags when no more tags come.
void PointAtTags(trovex_searcher& searcher) {
  const trovex_tag* next = searcher.tags.data();
  for (trovex_item& item : searcher.items) {
    item.tags = item.tag_count == 0 ? nullptr : next;
    next += item.tag_count;
  }
}

void Forget(trovex_searcher& searcher) {
  searcher.items.clear();
  searcher.tags.clear();
}

}  // namespace

int trovex_compile(const char* expression, size_t length, const trovex_options* options,
                   trovex_query** query, trovex_fault* fault) {
  if (query != nullptr) *query = nullptr;
  const trovex_options given = options == nullptr ? trovex_options{} : *options;
  if (query == nullptr || !IsText(expression, length) || !IsEncoding(given.encoding)) {
    Write(fault, MessageNumber::kInvalidArgument);
    return TROVEX_BAD_ARGUMENT;
  }
  ExpressionOptions asked;
  asked.words = given.words != 0;
  asked.caseSensitive = given.case_sensitive != 0;
  asked.phonetic = given.phonetic != 0;
  asked.variants = given.variants != 0;
  asked.encoding = static_cast<Encoding>(given.encoding);
  const int status = WithoutExceptions([&] {
    auto compiled = Query::Compile(Bytes(expression, length), asked);
    if (const Fault* const refused = std::get_if<Fault>(&compiled)) {
      Write(fault, refused->number, refused->sentence, refused->begin, refused->end);
      return static_cast<int>(TROVEX_REFUSED);
    }
    *query = std::make_unique<trovex_query>(std::get<Query>(std::move(compiled))).release();
    return static_cast<int>(TROVEX_OK);
  });
  if (status == TROVEX_NO_MEMORY) Write(fault, MessageNumber::kMemoryOverflow);
  return status;
}

void trovex_query_free(trovex_query* query) {
  delete query;
}

int trovex_tag_count(const trovex_query* query) {
  return query == nullptr ? static_cast<int>(TROVEX_BAD_ARGUMENT) : query->query.TagCount();
}

size_t trovex_describe(const trovex_query* query, char* buffer, size_t size) {
  if (query == nullptr || (buffer == nullptr && size > 0)) return 0;
  std::size_t whole = 0;
  WithoutExceptions([&] {
    const std::string text = query->query.Describe();
    whole = text.size();
    if (size == 0) return 0;
    const std::size_t length = std::min(whole, size - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return 0;
  });
  return whole;
}

size_t trovex_part_count(const trovex_query* query) {
  return query == nullptr ? 0 : query->parts.size();
}

int trovex_get_part(const trovex_query* query, size_t index, trovex_part* part) {
  if (part == nullptr || index >= trovex_part_count(query)) return TROVEX_BAD_ARGUMENT;
  const QueryPart& from = query->parts[index];
  part->kind = static_cast<int>(from.kind);
  part->level = from.level;
  part->text = from.text.c_str();
  part->sound_key = from.soundKey.c_str();
  part->has_distance = from.distance.has_value() ? 1 : 0;
  part->distance = from.distance.value_or(0);
  part->distance_in_words = from.distanceInWords ? 1 : 0;
  part->ordered = from.ordered ? 1 : 0;
  part->tags = from.tags.data();
  part->tag_count = from.tags.size();
  part->begin = from.begin;
  part->end = from.end;
  return TROVEX_OK;
}

size_t trovex_required_clause_count(const trovex_query* query) {
  return query == nullptr ? 0 : query->required.clauses.size();
}

size_t trovex_required_string_count(const trovex_query* query, size_t clause) {
  if (clause >= trovex_required_clause_count(query)) return 0;
  return query->required.clauses[clause].size();
}

const char* trovex_required_string(const trovex_query* query, size_t clause, size_t index,
                                   size_t* length) {
  if (index >= trovex_required_string_count(query, clause)) return nullptr;
  const std::string& text = query->required.clauses[clause][index];
  if (length != nullptr) *length = text.size();
  return text.c_str();
}

int trovex_required_folds_case(const trovex_query* query) {
  return query != nullptr && query->required.foldsCase ? 1 : 0;
}

int trovex_searcher_new(const trovex_query* query, trovex_searcher** searcher) {
  if (searcher != nullptr) *searcher = nullptr;
  if (query == nullptr || searcher == nullptr) return TROVEX_BAD_ARGUMENT;
  return WithoutExceptions([&] {
    *searcher = std::make_unique<trovex_searcher>(query->query).release();
    return static_cast<int>(TROVEX_OK);
  });
}

void trovex_searcher_free(trovex_searcher* searcher) {
  delete searcher;
}

int trovex_matches(trovex_searcher* searcher, const char* text, size_t length,
                   const trovex_search_options* options) {
  CallerOptions caller(options);
  if (searcher == nullptr || !IsText(text, length) || !caller.MakeSense())
    return TROVEX_BAD_ARGUMENT;
  Forget(*searcher);
  return WithoutExceptions([&] {
    SearchOptions asked = caller.Options();
    asked.mostItems = 0;
    return static_cast<int>(searcher->searcher.Search(Bytes(text, length), asked));
  });
}

int trovex_search(trovex_searcher* searcher, const char* text, size_t length,
                  const trovex_search_options* options) {
  CallerOptions caller(options);
  if (searcher == nullptr || !IsText(text, length) || !caller.MakeSense())
    return TROVEX_BAD_ARGUMENT;
  Forget(*searcher);
  const int verdict = WithoutExceptions([&] {
    const auto keep = [](void* context, const Item& item) {
      trovex_searcher& self = *static_cast<trovex_searcher*>(context);
      AppendTags(item, self.tags);
      self.items.push_back({item.begin, item.end, nullptr, item.tagCount});
      return true;
    };
    return static_cast<int>(
        searcher->searcher.Stream(Bytes(text, length), caller.Options(), keep, searcher));
  });
  if (verdict == TROVEX_NO_MEMORY)
    Forget(*searcher);
  else
    PointAtTags(*searcher);
  return verdict;
}

size_t trovex_item_count(const trovex_searcher* searcher) {
  return searcher == nullptr ? 0 : searcher->items.size();
}

int trovex_get_item(const trovex_searcher* searcher, size_t index, trovex_item* item) {
  if (item == nullptr || index >= trovex_item_count(searcher)) return TROVEX_BAD_ARGUMENT;
  *item = searcher->items[index];
  return TROVEX_OK;
}

int trovex_search_each(trovex_searcher* searcher, const char* text, size_t length,
                       const trovex_search_options* options, trovex_visit visit, void* context) {
  CallerOptions caller(options);
  if (searcher == nullptr || visit == nullptr || !IsText(text, length) || !caller.MakeSense())
    return TROVEX_BAD_ARGUMENT;
  Forget(*searcher);
  struct Call {
    trovex_searcher& searcher;
    trovex_visit visit;
    void* context;
  } call{*searcher, visit, context};
  return WithoutExceptions([&] {
    const auto pass = [](void* target, const Item& item) {
      const Call& to = *static_cast<Call*>(target);
      to.searcher.tags.clear();
      AppendTags(item, to.searcher.tags);
      const trovex_item passed{item.begin, item.end,
                               item.tagCount == 0 ? nullptr : to.searcher.tags.data(),
                               item.tagCount};
      return to.visit(to.context, &passed) != 0;
    };
    return static_cast<int>(
        searcher->searcher.Stream(Bytes(text, length), caller.Options(), pass, &call));
  });
}

size_t trovex_gave_up_at(const trovex_searcher* searcher) {
  return searcher == nullptr ? 0 : searcher->searcher.GaveUpAt();
}
