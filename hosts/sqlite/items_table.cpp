// An eponymous virtual table. SQLite plans with BestIndex, which takes the arguments, and a condition on the
// tag, and then opens a cursor for the statement. A cursor is given one text after another: it searches each with
// a searcher that it keeps, and hands out the rows.
//
// SQLite takes one row after another and may stop, as LIMIT does, while a search hands over its items itself. So
// a long text is searched for its first items alone. Who takes them all has it searched again from its begin,
// for many times as many, until the text ends before the items do.

#include "hosts/sqlite/items_table.h"

#include "hosts/sqlite/characters.h"
#include "hosts/sqlite/interrupt_watch.h"
#include "hosts/sqlite/sentences.h"
#include "hosts/sqlite/values.h"

#include <trovex/query.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace trovex::sqlite {
namespace {

/// The columns by their numbers. Those after the fifth are hidden: they are the arguments, with names that no
/// column of another table in a join is likely to have.
enum Column { kStart, kEnd, kTag, kText, kItem, kExpression, kSearched, kOptions, kColumns };

constexpr char kDeclaration[] =
    "CREATE TABLE x(start INTEGER, \"end\" INTEGER, tag INTEGER, text, item INTEGER,"
    " trovex_expression HIDDEN, trovex_text HIDDEN, trovex_options HIDDEN)";

/// What BestIndex tells a cursor: which values come, in this order.
enum Plan : int { kWithOptions = 1, kWithTag = 2 };

/// The number of items for which a long text is searched first, and by which it grows each time: what is searched
/// more than once is mostly a small part.
constexpr std::size_t kFirstItems = 64;
constexpr std::size_t kTimesMore = 32;

struct ItemsTable : sqlite3_vtab {
  ItemsTable(sqlite3* owner, std::shared_ptr<SearchCache> shared)
      : sqlite3_vtab(), connection(owner), cache(std::move(shared)) {}

  int Fail(const std::string& sentence) {
    sqlite3_free(zErrMsg);
    zErrMsg = sqlite3_mprintf("%s", sentence.c_str());
    return SQLITE_ERROR;
  }

  sqlite3* connection;
  std::shared_ptr<SearchCache> cache;
};

class Cursor : public sqlite3_vtab_cursor {
 public:
  Cursor() : sqlite3_vtab_cursor(), counter_(std::string_view()) {}

  /// Searches the text among `values`; see Plan. Returns SQLITE_OK or an error. Throws std::bad_alloc.
  int Filter(int plan, sqlite3_value** values);

  bool IsAtEnd() const { return item_ >= items_.size(); }
  /// Returns SQLITE_OK or an error. Throws std::bad_alloc.
  int Next();
  void Answer(sqlite3_context* context, int column);
  sqlite3_int64 RowNumber() const { return row_; }

 private:
  ItemsTable& Table() { return *static_cast<ItemsTable*>(pVtab); }

  void Forget();
  int Compile(std::string_view expression, std::string_view options);
  int Search(std::string_view text);
  int FindItems(std::string_view text);
  int FailToGoOn(std::string_view text);
  bool IsWanted() const;
  int Step();
  /// Whether the row is that of an item as a whole.
  bool IsItem() const { return tag_ == 0; }
  int TagNumber() const { return IsItem() ? 0 : items_[item_].tags[tag_ - 1].tag; }
  std::size_t Begin() const;
  std::size_t End() const;
  sqlite3_int64 PositionOf(std::size_t place);
  void AnswerBytes(sqlite3_context* context, std::string_view bytes) const;

  std::shared_ptr<CompiledSearch> compiled_;
  /// The cursor's own: several may be at work in one statement, and the items belong to it.
  std::optional<Searcher> searcher_;
  /// The only tag that is asked for, if it is only one.
  std::optional<sqlite3_int64> onlyTag_;
  /// The first items of the text, and at most how many were looked for.
  ItemView items_;
  std::size_t mostItems_ = 0;
  /// After these items the search gave up.
  bool gaveUp_ = false;
  std::size_t item_ = 0;
  /// 0 for the item as a whole, then its tags one after another, counted from 1.
  std::size_t tag_ = 0;
  sqlite3_int64 row_ = 0;
  /// SQLite's value is gone when the rows are asked for. Held only while there are rows.
  std::string text_;
  bool isBlob_ = false;
  /// Those of the latest text, for which there is a searcher.
  std::string expression_;
  std::string options_;
  bool hasOptions_ = false;
  /// At the begin of the item or before.
  CharacterCounter counter_;
};

int Cursor::Filter(int plan, sqlite3_value** values) {
  Forget();
  sqlite3_value* const expression = values[0];
  sqlite3_value* const text = values[1];
  int next = 2;
  sqlite3_value* const options = (plan & kWithOptions) != 0 ? values[next++] : nullptr;
  sqlite3_value* const tag = (plan & kWithTag) != 0 ? values[next++] : nullptr;
  if (IsNull(expression) || IsNull(text)) return SQLITE_OK;
  if (options != nullptr && IsNull(options)) return SQLITE_OK;
  // Anything else is compared by SQLite itself.
  if (tag != nullptr && sqlite3_value_type(tag) == SQLITE_INTEGER)
    onlyTag_ = sqlite3_value_int64(tag);
  isBlob_ = IsBlob(text);
  hasOptions_ = options != nullptr;
  const int status =
      Compile(BytesOf(expression), hasOptions_ ? BytesOf(options) : std::string_view());
  return status == SQLITE_OK ? Search(BytesOf(text)) : status;
}

void Cursor::Forget() {
  items_ = ItemView();
  gaveUp_ = false;
  item_ = tag_ = 0;
  row_ = 1;
  onlyTag_.reset();
  text_.clear();
}

int Cursor::Compile(std::string_view expression, std::string_view options) {
  if (searcher_ && expression == expression_ && options == options_) return SQLITE_OK;
  searcher_.reset();
  const SearchCache::Found found = Table().cache->Find(expression, options);
  if (const auto* const refusal = std::get_if<Refusal>(&found))
    return Table().Fail(refusal->sentence);
  compiled_ = std::get<std::shared_ptr<CompiledSearch>>(found);
  expression_ = expression;
  options_ = options;
  searcher_.emplace(compiled_->query);
  return SQLITE_OK;
}

int Cursor::Search(std::string_view text) {
  mostItems_ = InterruptWatch::IsNeededFor(text.size()) ? kFirstItems : SIZE_MAX;
  const int status = FindItems(text);
  if (status != SQLITE_OK || items_.empty()) return status;
  text_ = text;
  counter_ = CharacterCounter(text_);
  return IsWanted() ? SQLITE_OK : Step();
}

/// The items up to `mostItems_`. An error where the search gives up without any that was not handed out.
int Cursor::FindItems(std::string_view text) {
  items_ = ItemView();
  SearchOptions options;
  options.tags = compiled_->query.TagCount() > 0 && onlyTag_ != 0;
  options.mostItems = mostItems_;
  InterruptWatch watch;
  if (InterruptWatch::IsNeededFor(text.size())) watch.Attach(Table().connection, options);
  gaveUp_ = searcher_->Search(text, options) == Verdict::kGaveUp;
  if (watch.WasInterrupted()) return SQLITE_INTERRUPT;
  items_ = searcher_->Items();
  return gaveUp_ && IsAtEnd() ? FailToGoOn(text) : SQLITE_OK;
}

int Cursor::FailToGoOn(std::string_view text) {
  return Table().Fail(SentenceForGivingUp(text, searcher_->GaveUpAt()));
}

bool Cursor::IsWanted() const {
  return !onlyTag_ || *onlyTag_ == TagNumber();
}

int Cursor::Next() {
  ++row_;
  return Step();
}

int Cursor::Step() {
  do {
    if (tag_ < items_[item_].tagCount) {
      ++tag_;
      continue;
    }
    ++item_;
    tag_ = 0;
    if (!IsAtEnd()) continue;
    if (gaveUp_) return FailToGoOn(text_);
    if (items_.size() < mostItems_) break;
    mostItems_ *= kTimesMore;
    const int status = FindItems(text_);
    if (status != SQLITE_OK) return status;
  } while (!IsAtEnd() && !IsWanted());
  return SQLITE_OK;
}

std::size_t Cursor::Begin() const {
  const Item& item = items_[item_];
  return IsItem() ? item.begin : item.tags[tag_ - 1].begin;
}

std::size_t Cursor::End() const {
  const Item& item = items_[item_];
  return IsItem() ? item.end : item.tags[tag_ - 1].end;
}

/// As SQL counts: from 1, in characters of a text and bytes of a BLOB. Items come by their begin, so the
/// text is gone through once.
sqlite3_int64 Cursor::PositionOf(std::size_t place) {
  if (isBlob_) return static_cast<sqlite3_int64>(place) + 1;
  counter_.CountTo(items_[item_].begin);
  CharacterCounter ahead = counter_;
  return static_cast<sqlite3_int64>(ahead.CountTo(place)) + 1;
}

void Cursor::Answer(sqlite3_context* context, int column) {
  switch (column) {
    case kStart:
      sqlite3_result_int64(context, PositionOf(Begin()));
      break;
    case kEnd:
      sqlite3_result_int64(context, PositionOf(End()));
      break;
    case kTag:
      sqlite3_result_int(context, TagNumber());
      break;
    case kText:
      AnswerBytes(context, std::string_view(text_).substr(Begin(), End() - Begin()));
      break;
    case kItem:
      sqlite3_result_int64(context, static_cast<sqlite3_int64>(item_) + 1);
      break;
    case kExpression:
      sqlite3_result_text64(context, expression_.data(), expression_.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8);
      break;
    case kSearched:
      AnswerBytes(context, text_);
      break;
    case kOptions:
      if (hasOptions_) {
        sqlite3_result_text64(context, options_.data(), options_.size(), SQLITE_TRANSIENT,
                              SQLITE_UTF8);
      }
      break;
    default:
      break;
  }
}

/// In the form in which the text came.
void Cursor::AnswerBytes(sqlite3_context* context, std::string_view bytes) const {
  if (isBlob_) {
    sqlite3_result_blob64(context, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
  } else {
    sqlite3_result_text64(context, bytes.data(), bytes.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  }
}

// ---- What SQLite calls ----

using SharedCache = std::shared_ptr<SearchCache>;

/// What `body` returns; SQLITE_NOMEM where memory runs out.
template <typename Body>
int Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return SQLITE_NOMEM;
  }
}

/// Why the table could not be declared. SQLite's parser, which reads the declaration, can be interrupted from another
/// thread; it tells so in words alone.
int FailureToDeclare(sqlite3* connection, int status) {
  const std::string_view told = sqlite3_errmsg(connection);
  return told == sqlite3_errstr(SQLITE_INTERRUPT) ? SQLITE_INTERRUPT : status;
}

int Connect(sqlite3* connection, void* data, int /*count*/, const char* const* /*arguments*/,
            sqlite3_vtab** table, char** /*message*/) {
  return Guarded([&] {
    const int status = sqlite3_declare_vtab(connection, kDeclaration);
    if (status != SQLITE_OK) return FailureToDeclare(connection, status);
    sqlite3_vtab_config(connection, SQLITE_VTAB_INNOCUOUS);
    *table = new ItemsTable(connection, *static_cast<SharedCache*>(data));
    return SQLITE_OK;
  });
}

int Disconnect(sqlite3_vtab* table) {
  delete static_cast<ItemsTable*>(table);
  return SQLITE_OK;
}

using Constraint = sqlite3_index_info::sqlite3_index_constraint;

/// The conditions column = value by their columns; -1 where there is none that can be used.
struct Conditions {
  Conditions() { at.fill(-1); }

  std::array<int, kColumns> at{};
  /// An argument is there, but depends on a table that this order of the join reads later.
  bool isArgumentMissing = false;
};

Conditions ReadConditions(const sqlite3_index_info& info) {
  Conditions conditions;
  for (int i = 0; i < info.nConstraint; ++i) {
    const Constraint& constraint = info.aConstraint[i];
    if (constraint.op != SQLITE_INDEX_CONSTRAINT_EQ || constraint.iColumn < 0) continue;
    const auto column = static_cast<std::size_t>(constraint.iColumn);
    if (constraint.usable != 0) {
      if (conditions.at[column] < 0) conditions.at[column] = i;
    } else if (constraint.iColumn >= kExpression) {
      conditions.isArgumentMissing = true;
    }
  }
  return conditions;
}

/// Rows come by item, and an item's tags after it: in the order of the columns item and rowid.
bool IsInOrder(const sqlite3_index_info& info) {
  if (info.nOrderBy != 1 || info.aOrderBy[0].desc != 0) return false;
  const int column = info.aOrderBy[0].iColumn;
  return column == kItem || column < 0;
}

int BestIndex(sqlite3_vtab* table, sqlite3_index_info* info) {
  return Guarded([&]() -> int {
    const Conditions conditions = ReadConditions(*info);
    if (conditions.isArgumentMissing) return SQLITE_CONSTRAINT;
    if (conditions.at[kExpression] < 0 || conditions.at[kSearched] < 0)
      return static_cast<ItemsTable*>(table)->Fail(
          "trovex_items() needs an expression and a text.");
    int next = 0;
    const auto take = [&](Column column, bool checksItself) {
      const int place = conditions.at[column];
      if (place < 0) return false;
      auto& usage = info->aConstraintUsage[place];
      usage.argvIndex = ++next;
      usage.omit = checksItself ? 1 : 0;
      return true;
    };
    take(kExpression, true);
    take(kSearched, true);
    info->idxNum = 0;
    if (take(kOptions, true)) info->idxNum |= kWithOptions;
    if (take(kTag, false)) info->idxNum |= kWithTag;
    // A search costs about as much as reading a few rows of a table, and most texts have few items.
    info->estimatedCost = 20;
    info->estimatedRows = (info->idxNum & kWithTag) != 0 ? 5 : 10;
    info->orderByConsumed = IsInOrder(*info) ? 1 : 0;
    return SQLITE_OK;
  });
}

int Open(sqlite3_vtab* /*table*/, sqlite3_vtab_cursor** cursor) {
  return Guarded([&] {
    *cursor = new Cursor;
    return SQLITE_OK;
  });
}

Cursor& At(sqlite3_vtab_cursor* cursor) {
  return *static_cast<Cursor*>(cursor);
}

int Close(sqlite3_vtab_cursor* cursor) {
  delete &At(cursor);
  return SQLITE_OK;
}

int Filter(sqlite3_vtab_cursor* cursor, int plan, const char* /*unused*/, int /*count*/,
           sqlite3_value** values) {
  return Guarded([&] { return At(cursor).Filter(plan, values); });
}

int Next(sqlite3_vtab_cursor* cursor) {
  return Guarded([&] { return At(cursor).Next(); });
}

int IsAtEnd(sqlite3_vtab_cursor* cursor) {
  return At(cursor).IsAtEnd() ? 1 : 0;
}

int ReadColumn(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
  At(cursor).Answer(context, column);
  return SQLITE_OK;
}

int ReadRowNumber(sqlite3_vtab_cursor* cursor, sqlite3_int64* number) {
  *number = At(cursor).RowNumber();
  return SQLITE_OK;
}

/// Without xCreate it is there by its name alone, and nobody can make another.
constexpr sqlite3_module MakeModule() {
  sqlite3_module module{};
  module.xConnect = Connect;
  module.xBestIndex = BestIndex;
  module.xDisconnect = Disconnect;
  module.xOpen = Open;
  module.xClose = Close;
  module.xFilter = Filter;
  module.xNext = Next;
  module.xEof = IsAtEnd;
  module.xColumn = ReadColumn;
  module.xRowid = ReadRowNumber;
  return module;
}

constexpr sqlite3_module kModule = MakeModule();

}  // namespace

int AddItemsTable(sqlite3* connection, const std::shared_ptr<SearchCache>& cache) {
  // SQLite frees it, also when it fails.
  return sqlite3_create_module_v2(connection, "trovex_items", &kModule, new SharedCache(cache),
                                  [](void* data) { delete static_cast<SharedCache*>(data); });
}

}  // namespace trovex::sqlite
