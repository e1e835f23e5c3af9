#include "native/python_query.h"

#include "native/signals.h"

#include <utility>
#include <variant>

namespace trovex::python {

namespace {

/// From so many bytes on a search lets other threads run. To release the lock of the interpreter and to get it
/// back costs more than a search of fewer.
constexpr std::size_t kLongText = 8192;
/// From so many on it lets Ctrl-C through; a search that is asked whether to go on does without the shorter ways of
/// short texts.
constexpr std::size_t kTextWithPauses = 1 << 16;

[[noreturn]] void Raise(nb::handle exception, nb::handle value) {
  PyErr_SetObject(exception.ptr(), value.ptr());
  throw nb::python_error();
}

nb::object TypeOf(const char* name) {
  return nb::module_::import_("trovex._types").attr(name);
}

[[noreturn]] void RaiseFault(const Fault& fault, const nb::object& expression,
                             std::string_view bytes) {
  const bool counted = PyUnicode_Check(expression.ptr());
  const Positions positions(bytes, counted);
  const nb::object type = TypeOf("ExpressionError");
  Raise(type, type(fault.sentence.c_str(), fault.number, expression, positions.From(fault.begin),
                   positions.From(fault.end)));
}

Query CompileExpression(const nb::object& expression, ExpressionOptions options) {
  std::string buffer;
  std::string_view bytes;
  if (PyUnicode_Check(expression.ptr())) {
    bytes = Utf8OfStr(expression.ptr(), buffer);
    options.encoding = Encoding::kUtf8;
  } else if (PyBytes_CheckExact(expression.ptr())) {
    bytes = {PyBytes_AS_STRING(expression.ptr()),
             static_cast<std::size_t>(PyBytes_GET_SIZE(expression.ptr()))};
  } else {
    PyErr_Format(PyExc_TypeError, "an expression is a str or bytes, not %.200s",
                 Py_TYPE(expression.ptr())->tp_name);
    throw nb::python_error();
  }
  std::variant<Query, Fault> compiled = [&] {
    const nb::gil_scoped_release released;
    return Query::Compile(bytes, options);
  }();
  if (const auto* fault = std::get_if<Fault>(&compiled)) RaiseFault(*fault, expression, bytes);
  return std::get<Query>(std::move(compiled));
}

}  // namespace

void RaiseGaveUp(std::size_t at, std::optional<std::size_t> row) {
  const nb::object type = TypeOf("GaveUpError");
  if (row) Raise(type, type(at, *row));
  Raise(type, type(at));
}

Searcher* SearcherStock::TakeFirst() noexcept {
#ifdef Py_GIL_DISABLED
  return first_.exchange(nullptr, std::memory_order_acquire);
#else
  // Whoever calls holds the lock of the interpreter.
  Searcher* const first = first_.load(std::memory_order_relaxed);
  first_.store(nullptr, std::memory_order_relaxed);
  return first;
#endif
}

bool SearcherStock::GiveFirst(Searcher* searcher) noexcept {
  Searcher* none = nullptr;
#ifdef Py_GIL_DISABLED
  return first_.compare_exchange_strong(none, searcher, std::memory_order_release,
                                        std::memory_order_relaxed);
#else
  if (first_.load(std::memory_order_relaxed) != none) return false;
  first_.store(searcher, std::memory_order_relaxed);
  return true;
#endif
}

std::unique_ptr<Searcher> SearcherStock::Take() {
  if (Searcher* const first = TakeFirst()) return std::unique_ptr<Searcher>(first);
  {
    const std::lock_guard lock(mutex_);
    if (!others_.empty()) {
      std::unique_ptr<Searcher> last = std::move(others_.back());
      others_.pop_back();
      return last;
    }
  }
  return std::make_unique<Searcher>(query_);
}

void SearcherStock::Give(std::unique_ptr<Searcher> searcher) {
  if (GiveFirst(searcher.get())) {
    static_cast<void>(searcher.release());
    return;
  }
  const std::lock_guard lock(mutex_);
  others_.push_back(std::move(searcher));
}

PythonQuery::PythonQuery(nb::object expression, const ExpressionOptions& options)
    : expression_(std::move(expression)),
      query_(CompileExpression(expression_, options)),
      tagCount_(query_.TagCount()),
      stock_(query_) {}

namespace {

/// Whether a search that gives items is to go on: Ctrl-C gets through where it gives many of one line,
/// which is searched without a pause.
class GoOn {
 public:
  explicit GoOn(Signals* signals) : signals_(signals) {}

  bool operator()() {
    constexpr std::size_t kItems = 1024;
    return ++items_ % kItems != 0 || signals_ == nullptr || !signals_->Raised();
  }

 private:
  Signals* signals_;
  std::size_t items_ = 0;
};

}  // namespace

template <typename Run>
Verdict PythonQuery::Do(const PythonText& text, bool tags, Run&& run) {
  SearchOptions options;
  options.encoding = text.Encoding();
  options.tags = tags && tagCount_ > 0;
  std::unique_ptr<Searcher> searcher = stock_.Take();
  Verdict verdict;
  if (text.Bytes().size() < kLongText) {
    verdict = run(*searcher, options, GoOn(nullptr));
  } else if (text.Bytes().size() < kTextWithPauses) {
    const nb::gil_scoped_release released;
    verdict = run(*searcher, options, GoOn(nullptr));
  } else {
    Signals signals;
    options.interrupt = Signals::Interrupt;
    options.interruptContext = &signals;
    const nb::gil_scoped_release released;
    verdict = run(*searcher, options, GoOn(&signals));
  }
  const std::size_t at = searcher->GaveUpAt();
  stock_.Give(std::move(searcher));
  if (PyErr_Occurred() != nullptr) throw nb::python_error();
  if (verdict == Verdict::kGaveUp) RaiseGaveUp(Positions(text.Bytes(), text.IsCounted()).From(at));
  return verdict;
}

bool PythonQuery::Matches(nb::handle text, Encoding encoding) {
  const PythonText read(text.ptr(), encoding);
  return Do(read, false, [&](Searcher& searcher, SearchOptions& options, GoOn) {
           if (options.interrupt == nullptr) return searcher.Matches(read.Bytes(), read.Encoding());
           options.mostItems = 0;
           return searcher.Search(read.Bytes(), options);
         }) == Verdict::kYes;
}

std::size_t PythonQuery::Count(nb::handle text, Encoding encoding) {
  const PythonText read(text.ptr(), encoding);
  std::size_t count = 0;
  Do(read, false, [&](Searcher& searcher, const SearchOptions& options, GoOn goOn) {
    return searcher.ForEach(read.Bytes(), options, [&](const Item&) {
      ++count;
      return goOn();
    });
  });
  return count;
}

ItemList PythonQuery::Find(const PythonText& text, bool tags, std::size_t most) {
  ItemList items(text);
  Do(text, tags, [&](Searcher& searcher, SearchOptions& options, GoOn goOn) {
    options.mostItems = most;
    return searcher.ForEach(text.Bytes(), options, [&](const Item& item) {
      items.Add(item);
      return goOn();
    });
  });
  return items;
}

nb::object PythonQuery::Search(nb::object text, Encoding encoding, bool tags) {
  const ItemList items = Find(PythonText(text.ptr(), encoding), tags, 1);
  if (items.Size() == 0) return nb::none();
  return nb::cast(items.At(0, text, tagCount_));
}

nb::list PythonQuery::FindAll(nb::object text, Encoding encoding, bool tags) {
  const ItemList items = Find(PythonText(text.ptr(), encoding), tags, SIZE_MAX);
  nb::list all;
  for (std::size_t i = 0; i < items.Size(); ++i)
    all.append(nb::cast(items.At(i, text, tagCount_)));
  return all;
}

ItemIterator PythonQuery::FindIter(nb::object text, Encoding encoding, bool tags) {
  ItemList items = Find(PythonText(text.ptr(), encoding), tags, SIZE_MAX);
  return {std::move(items), std::move(text), tagCount_};
}

nb::object PythonQuery::Highlight(nb::object text, nb::object before, nb::object after,
                                  Encoding encoding) {
  const bool isStr = PyUnicode_Check(text.ptr());
  const auto fits = [isStr](const nb::object& mark) {
    return isStr ? PyUnicode_Check(mark.ptr()) : PyBytes_Check(mark.ptr());
  };
  if (!fits(before) || !fits(after)) {
    PyErr_SetString(PyExc_TypeError, isStr ? "before and after must be str, as the text is"
                                           : "before and after must be bytes, as the text is");
    throw nb::python_error();
  }
  const ItemList items = Find(PythonText(text.ptr(), encoding), false, SIZE_MAX);
  const nb::object whole = isStr ? text : nb::object(nb::bytes(text));
  nb::list pieces;
  std::size_t done = 0;
  const auto append = [&](std::size_t from, std::size_t to) {
    pieces.append(whole[nb::slice(nb::int_(from), nb::int_(to), nb::none())]);
  };
  for (std::size_t i = 0; i < items.Size(); ++i) {
    const std::size_t end = items.End(i);
    if (end <= done || end == items.Start(i)) continue;  // nothing of it would be seen
    const std::size_t start = std::max(done, items.Start(i));
    append(done, start);
    pieces.append(before);
    append(start, end);
    pieces.append(after);
    done = end;
  }
  append(done, nb::len(whole));
  return (isStr ? nb::object(nb::str("")) : nb::object(nb::bytes(""))).attr("join")(pieces);
}

BooleanColumn PythonQuery::MatchesColumn(nb::handle column, const ColumnOptions& options) {
  return SearchMatches(query_, column, options);
}

ItemsColumn PythonQuery::FindColumn(nb::handle column, const ColumnOptions& options) {
  return SearchItems(query_, column, options);
}

bool PythonQuery::Equals(const PythonQuery& other) const {
  const ExpressionOptions &a = Options(), &b = other.Options();
  return expression_.equal(other.expression_) && a.words == b.words &&
         a.caseSensitive == b.caseSensitive && a.phonetic == b.phonetic &&
         a.variants == b.variants && a.encoding == b.encoding;
}

Py_hash_t PythonQuery::Hash() const {
  const ExpressionOptions& own = Options();
  const Py_hash_t flags = own.words + 2 * own.caseSensitive + 4 * own.phonetic + 8 * own.variants +
                          16 * (own.encoding == Encoding::kLatin1);
  return static_cast<Py_hash_t>(nb::hash(expression_)) ^ (flags + 1) * 1000003;
}

}  // namespace trovex::python
