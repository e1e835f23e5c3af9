// Columns that Python hands on to whoever reads Arrow's C interfaces.
//
// A column is described as a tree of types and one of arrays. Its buffers belong to one owner, which lives
// as long as anybody reads them.

#ifndef TROVEX_HOSTS_PYTHON_ARROW_EXPORT_H
#define TROVEX_HOSTS_PYTHON_ARROW_EXPORT_H

#include <nanobind/nanobind.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace trovex::python {

namespace nb = nanobind;

struct ArrowType {
  std::string format;
  std::string name;
  bool nullable = false;
  std::vector<ArrowType> children;
};

struct ArrowData {
  std::int64_t length = 0;
  std::int64_t nulls = 0;
  std::vector<const void*> buffers;
  std::vector<ArrowData> children;
};

struct ArrowResult {
  ArrowType type;
  ArrowData data;
  std::shared_ptr<const void> owner;
};

/// Capsules as __arrow_c_schema__, __arrow_c_array__ and __arrow_c_stream__ return them; the stream has
/// one chunk.
nb::object ExportSchema(const ArrowType& type);
nb::tuple ExportArray(const ArrowResult& result);
nb::object ExportStream(const ArrowResult& result);

}  // namespace trovex::python

#endif  // TROVEX_HOSTS_PYTHON_ARROW_EXPORT_H
