// What Python sees. The words of help() stand here, the types in src/trovex/_native.pyi.

#include "native/column_search.h"
#include "native/items.h"
#include "native/python_query.h"
#include "native/python_text.h"

#include <nanobind/nanobind.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/string_view.h>

#include <sched.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace {

namespace nb = nanobind;
using namespace nb::literals;
using namespace trovex::python;
using trovex::ExpressionOptions;

constexpr const char* kUtf8 = "utf-8";

std::string_view NameOf(trovex::Encoding encoding) {
  return encoding == trovex::Encoding::kUtf8 ? "utf-8" : "windows-1252";
}

/// The processors that this process may use.
std::size_t Processors() {
  cpu_set_t set;
  if (sched_getaffinity(0, sizeof(set), &set) != 0) return 1;
  return static_cast<std::size_t>(std::max(1, CPU_COUNT(&set)));
}

ColumnOptions MakeColumnOptions(std::string_view encoding, std::optional<int> threads,
                                std::string_view gaveUp, bool tags, bool texts) {
  ColumnOptions options;
  options.encoding = EncodingNamed(encoding);
  if (threads && *threads < 1) throw nb::value_error("threads must be at least 1");
  options.threads = threads ? static_cast<std::size_t>(*threads) : Processors();
  if (gaveUp != "raise" && gaveUp != "null")
    throw nb::value_error("gave_up must be \"raise\" or \"null\"");
  options.nullWhereGaveUp = gaveUp == "null";
  options.tags = tags;
  options.texts = texts;
  return options;
}

nb::tuple RequiredOf(const PythonQuery& query) {
  const trovex::RequiredStrings required = query.Required();
  nb::list clauses;
  for (const auto& clause : required.clauses) {
    nb::list strings;
    for (const std::string& string : clause)
      strings.append(nb::str(string.c_str()));
    clauses.append(nb::tuple(strings));
  }
  return nb::make_tuple(nb::tuple(clauses), required.foldsCase);
}

nb::object ReprOf(const PythonQuery& query) {
  const ExpressionOptions& options = query.Options();
  nb::object text = nb::str("trovex.compile(") + nb::repr(query.Expression());
  const auto add = [&text](bool is, const char* words) {
    if (is) text = text + nb::str(words);
  };
  add(options.words, ", words=True");
  add(options.caseSensitive, ", case=True");
  add(options.phonetic, ", phonetic=True");
  add(options.variants, ", variants=True");
  add(options.encoding == trovex::Encoding::kLatin1, ", encoding=\"windows-1252\"");
  return text + nb::str(")");
}

nb::object StrOf(const PythonQuery& query) {
  const nb::object& expression = query.Expression();
  if (PyUnicode_Check(expression.ptr())) return expression;
  const bool isUtf8 = query.Options().encoding == trovex::Encoding::kUtf8;
  return expression.attr("decode")(isUtf8 ? "utf-8" : "cp1252", "replace");
}

nb::object ItemRepr(const PythonItem& item) {
  return nb::str("<trovex.Item {}:{} {!r}>").attr("format")(item.start, item.end, item.Text());
}

bool ItemsEqual(const PythonItem& a, const PythonItem& b) {
  const auto same = [](const trovex::TagRange& x, const trovex::TagRange& y) {
    return x.tag == y.tag && x.begin == y.begin && x.end == y.end;
  };
  return a.start == b.start && a.end == b.end &&
         std::equal(a.tags.begin(), a.tags.end(), b.tags.begin(), b.tags.end(), same) &&
         a.text.equal(b.text);
}

/// Query.matches(text, encoding="utf-8"), in Python's own calling convention: a call on a short text costs
/// not much more than its search, so what finds the arguments counts.
PyObject* Matches(PyObject* self, PyObject* const* arguments, Py_ssize_t count,
                  PyObject* names) noexcept {
  constexpr std::string_view kNames[] = {"text", "encoding"};
  PyObject* given[] = {nullptr, nullptr};
  const Py_ssize_t named = names == nullptr ? 0 : PyTuple_GET_SIZE(names);
  if (count + named > 2) {
    PyErr_SetString(PyExc_TypeError, "matches() takes a text and an encoding");
    return nullptr;
  }
  std::copy(arguments, arguments + count, given);
  try {
    for (Py_ssize_t i = 0; i < named; ++i) {
      const auto name = nb::cast<std::string_view>(nb::handle(PyTuple_GET_ITEM(names, i)));
      const auto* const known = std::find(std::begin(kNames), std::end(kNames), name);
      if (known == std::end(kNames) || given[known - kNames] != nullptr) {
        PyErr_Format(PyExc_TypeError, "matches() got an unexpected or repeated argument: %U",
                     PyTuple_GET_ITEM(names, i));
        return nullptr;
      }
      given[known - kNames] = arguments[count + i];
    }
    if (given[0] == nullptr) {
      PyErr_SetString(PyExc_TypeError, "matches() takes a text");
      return nullptr;
    }
    trovex::Encoding encoding = trovex::Encoding::kUtf8;
    if (given[1] != nullptr) {
      if (!PyUnicode_Check(given[1])) {
        PyErr_SetString(PyExc_TypeError, "the encoding is a str");
        return nullptr;
      }
      encoding = EncodingNamed(nb::cast<std::string_view>(nb::handle(given[1])));
    }
    return PyBool_FromLong(nb::inst_ptr<PythonQuery>(self)->Matches(given[0], encoding));
  } catch (nb::python_error& error) {
    error.restore();
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
  }
  return nullptr;
}

PyMethodDef queryMethods[] = {
    {"matches", reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(Matches)),
     METH_FASTCALL | METH_KEYWORDS,
     "matches($self, text, encoding='utf-8')\n--\n\nWhether a text satisfies the query."},
    {nullptr, nullptr, 0, nullptr}};

PyType_Slot querySlots[] = {{Py_tp_methods, queryMethods}, {0, nullptr}};

template <typename Column>
void DefineColumn(nb::class_<Column>&& type) {
  type.def("__len__", &Column::Rows)
      .def("to_list", &Column::ToList)
      .def_prop_ro("gave_up",
                   [](const Column& self) {
                     nb::list rows;
                     for (const std::size_t row : self.gaveUp)
                       rows.append(row);
                     return nb::tuple(rows);
                   })
      .def("__arrow_c_schema__", [](const Column& self) { return ExportSchema(self.arrow.type); })
      .def(
          "__arrow_c_array__",
          [](const Column& self, nb::handle) { return ExportArray(self.arrow); },
          "requested_schema"_a.none() = nb::none())
      .def(
          "__arrow_c_stream__",
          [](const Column& self, nb::handle) { return ExportStream(self.arrow); },
          "requested_schema"_a.none() = nb::none());
}

void DefineItems(nb::module_& module) {
  nb::class_<PythonItem>(module, "Item", "A place of a text that a query finds.")
      .def_ro("start", &PythonItem::start)
      .def_ro("end", &PythonItem::end)
      .def_prop_ro("text", &PythonItem::Text, "What stands there.")
      .def("tag", &PythonItem::Tag, "number"_a,
           "The range of a bracket of the query, counted from 1; None where it took no part.")
      .def_prop_ro("tags", &PythonItem::Tags, "The ranges of all brackets that took part.")
      .def("__len__", [](const PythonItem& self) { return self.end - self.start; })
      .def("__bool__", [](const PythonItem&) { return true; })
      .def("__eq__", ItemsEqual, nb::is_operator())
      .def("__hash__",
           [](const PythonItem& self) { return nb::hash(nb::make_tuple(self.start, self.end)); })
      .def("__repr__", ItemRepr);
  nb::class_<ItemIterator>(module, "ItemIterator", "Items, one after the other.")
      .def("__iter__", [](nb::handle self) { return nb::borrow(self); })
      .def("__next__", &ItemIterator::Next)
      .def("__length_hint__", &ItemIterator::Left);
}

void DefineQuery(nb::module_& module) {
  nb::class_<PythonQuery>(module, "Query", nb::type_slots(querySlots),
                          "An expression, compiled. Made by trovex.compile().")
      .def(
          "search",
          [](PythonQuery& self, nb::object text, std::string_view encoding, bool tags) {
            return self.Search(std::move(text), EncodingNamed(encoding), tags);
          },
          "text"_a.none(), "encoding"_a = kUtf8, "tags"_a = true,
          "The first item of a text, or None. A text may satisfy a query that has no items, as\n"
          "\"!Garten\": ask matches() for that.")
      .def(
          "findall",
          [](PythonQuery& self, nb::object text, std::string_view encoding, bool tags) {
            return self.FindAll(std::move(text), EncodingNamed(encoding), tags);
          },
          "text"_a.none(), "encoding"_a = kUtf8, "tags"_a = true,
          "All items of a text, by start, then by end. They may overlap.")
      .def(
          "finditer",
          [](PythonQuery& self, nb::object text, std::string_view encoding, bool tags) {
            return self.FindIter(std::move(text), EncodingNamed(encoding), tags);
          },
          "text"_a.none(), "encoding"_a = kUtf8, "tags"_a = true,
          "The same one by one: the text is searched at once, and an item made when it is asked\n"
          "for.")
      .def(
          "count",
          [](PythonQuery& self, nb::handle text, std::string_view encoding) {
            return self.Count(text, EncodingNamed(encoding));
          },
          "text"_a.none(), "encoding"_a = kUtf8, "The number of items of a text.")
      .def(
          "highlight",
          [](PythonQuery& self, nb::object text, nb::object before, nb::object after,
             std::string_view encoding) {
            return self.Highlight(std::move(text), std::move(before), std::move(after),
                                  EncodingNamed(encoding));
          },
          "text"_a.none(), "before"_a, "after"_a, "encoding"_a = kUtf8,
          "The text with marks around what is found; items that overlap are marked as one text.")
      .def(
          "matches_column",
          [](PythonQuery& self, nb::handle column, std::string_view encoding,
             std::optional<int> threads, std::string_view gaveUp) {
            return self.MatchesColumn(column,
                                      MakeColumnOptions(encoding, threads, gaveUp, false, false));
          },
          "column"_a.none(), nb::kw_only(), "encoding"_a = kUtf8, "threads"_a.none() = nb::none(),
          "gave_up"_a = "raise",
          "Whether each row of an Arrow column of texts satisfies the query.")
      .def(
          "items_column",
          [](PythonQuery& self, nb::handle column, std::string_view encoding,
             std::optional<int> threads, std::string_view gaveUp, bool tags, bool texts) {
            return self.FindColumn(column,
                                   MakeColumnOptions(encoding, threads, gaveUp, tags, texts));
          },
          "column"_a.none(), nb::kw_only(), "encoding"_a = kUtf8, "threads"_a.none() = nb::none(),
          "gave_up"_a = "raise", "tags"_a = false, "texts"_a = false,
          "The items of each row of an Arrow column of texts.")
      .def("explain", &PythonQuery::Explain, "How the expression is understood, in lines.")
      .def("required", RequiredOf,
           "Strings that a text must hold to satisfy the query, at least one of every clause, and\n"
           "whether it may hold them in either case: for a filter or an index of one's own.")
      .def_prop_ro("expression", [](const PythonQuery& self) { return self.Expression(); })
      .def_prop_ro("words", [](const PythonQuery& self) { return self.Options().words; })
      .def_prop_ro("case", [](const PythonQuery& self) { return self.Options().caseSensitive; })
      .def_prop_ro("phonetic", [](const PythonQuery& self) { return self.Options().phonetic; })
      .def_prop_ro("variants", [](const PythonQuery& self) { return self.Options().variants; })
      .def_prop_ro("encoding",
                   [](const PythonQuery& self) { return NameOf(self.Options().encoding); })
      .def_prop_ro("tag_count", &PythonQuery::TagCount, "The number of brackets that are tags.")
      .def("__eq__", &PythonQuery::Equals, nb::is_operator())
      .def("__hash__", &PythonQuery::Hash)
      .def("__str__", StrOf)
      .def("__repr__", ReprOf)
      .def("__copy__", [](nb::handle self) { return nb::borrow(self); })
      .def("__deepcopy__", [](nb::handle self, nb::handle) { return nb::borrow(self); })
      .def("__reduce__", [](const PythonQuery& self) {
        const ExpressionOptions& own = self.Options();
        return nb::make_tuple(nb::module_::import_("trovex._types").attr("restored"),
                              nb::make_tuple(self.Expression(), own.words, own.caseSensitive,
                                             own.phonetic, own.variants, NameOf(own.encoding)));
      });
  module.def(
      "compile",
      [](nb::object expression, bool words, bool caseSensitive, bool phonetic, bool variants,
         std::string_view encoding) {
        ExpressionOptions options;
        options.words = words;
        options.caseSensitive = caseSensitive;
        options.phonetic = phonetic;
        options.variants = variants;
        options.encoding = EncodingNamed(encoding);
        return new PythonQuery(std::move(expression), options);
      },
      "expression"_a.none(), "words"_a = false, "case"_a = false, "phonetic"_a = false,
      "variants"_a = false, "encoding"_a = kUtf8,
      "Compiles an expression; raises ExpressionError where it is refused. The encoding is that "
      "of\n"
      "an expression of bytes.");
}

}  // namespace

NB_MODULE(_native, module) {
  module.doc() = "The native part of trovex.";
  DefineItems(module);
  DefineQuery(module);
  DefineColumn(nb::class_<BooleanColumn>(
      module, "BooleanColumn", "One boolean a row, for whoever reads Arrow's C interfaces."));
  DefineColumn(nb::class_<ItemsColumn>(
      module, "ItemsColumn", "One list of items a row, for whoever reads Arrow's C interfaces."));
}
