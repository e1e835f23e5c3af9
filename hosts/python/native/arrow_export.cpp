#include "native/arrow_export.h"

#include "native/arrow_abi.h"

#include <new>
#include <utility>

namespace trovex::python {

namespace {

/// What an exported structure points to, with its children.
struct SchemaParts {
  std::string format;
  std::string name;
  std::vector<ArrowSchema> children;
  std::vector<ArrowSchema*> pointers;
};

struct ArrayParts {
  std::shared_ptr<const void> owner;
  std::vector<const void*> buffers;
  std::vector<ArrowArray> children;
  std::vector<ArrowArray*> pointers;
};

template <typename Structure, typename Parts>
void Release(Structure* structure) {
  const auto* const parts = static_cast<Parts*>(structure->private_data);
  for (std::int64_t i = 0; i < structure->n_children; ++i) {
    Structure* const child = structure->children[i];
    if (child->release != nullptr) child->release(child);  // unless somebody moved it away
  }
  structure->release = nullptr;
  delete parts;
}

template <typename Parts>
void PointAtChildren(Parts& parts) {
  for (auto& child : parts.children)
    parts.pointers.push_back(&child);
}

ArrowSchema MakeSchema(const ArrowType& type) {
  auto parts = std::make_unique<SchemaParts>();
  parts->format = type.format;
  parts->name = type.name;
  for (const ArrowType& child : type.children)
    parts->children.push_back(MakeSchema(child));
  PointAtChildren(*parts);
  ArrowSchema schema{};
  schema.format = parts->format.c_str();
  schema.name = parts->name.c_str();
  schema.flags = type.nullable ? ARROW_FLAG_NULLABLE : 0;
  schema.n_children = static_cast<std::int64_t>(parts->children.size());
  schema.children = parts->pointers.data();
  schema.release = Release<ArrowSchema, SchemaParts>;
  schema.private_data = parts.release();
  return schema;
}

ArrowArray MakeArray(const ArrowData& data, const std::shared_ptr<const void>& owner) {
  auto parts = std::make_unique<ArrayParts>();
  parts->owner = owner;
  parts->buffers = data.buffers;
  for (const ArrowData& child : data.children)
    parts->children.push_back(MakeArray(child, owner));
  PointAtChildren(*parts);
  ArrowArray array{};
  array.length = data.length;
  array.null_count = data.nulls;
  array.n_buffers = static_cast<std::int64_t>(parts->buffers.size());
  array.buffers = parts->buffers.data();
  array.n_children = static_cast<std::int64_t>(parts->children.size());
  array.children = parts->pointers.data();
  array.release = Release<ArrowArray, ArrayParts>;
  array.private_data = parts.release();
  return array;
}

/// A capsule with a structure in the heap, which goes with it unless it was moved away.
template <typename Structure>
nb::object MakeCapsule(const Structure& structure, const char* name) {
  auto owner = std::make_unique<ArrowOwner<Structure>>();
  *owner->Get() = structure;
  PyObject* const capsule = PyCapsule_New(owner->Get(), name, [](PyObject* self) {
    void* const pointer = PyCapsule_GetPointer(self, PyCapsule_GetName(self));
    delete static_cast<ArrowOwner<Structure>*>(pointer);
  });
  if (capsule == nullptr) throw nb::python_error();
  static_cast<void>(owner.release());
  return nb::steal(capsule);
}

/// A stream of one chunk.
struct StreamParts {
  ArrowResult result;
  bool isDone = false;
};

template <typename Make>
int Guarded(Make&& make) noexcept {
  constexpr int kNoMemory = 12;  // ENOMEM
  try {
    make();
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  }
  return 0;
}

int GetSchema(ArrowArrayStream* stream, ArrowSchema* out) {
  return Guarded(
      [&] { *out = MakeSchema(static_cast<StreamParts*>(stream->private_data)->result.type); });
}

int GetNext(ArrowArrayStream* stream, ArrowArray* out) {
  return Guarded([&] {
    auto* const parts = static_cast<StreamParts*>(stream->private_data);
    *out = {};
    if (parts->isDone) return;
    *out = MakeArray(parts->result.data, parts->result.owner);
    parts->isDone = true;
  });
}

}  // namespace

nb::object ExportSchema(const ArrowType& type) {
  return MakeCapsule(MakeSchema(type), "arrow_schema");
}

nb::tuple ExportArray(const ArrowResult& result) {
  return nb::make_tuple(ExportSchema(result.type),
                        MakeCapsule(MakeArray(result.data, result.owner), "arrow_array"));
}

nb::object ExportStream(const ArrowResult& result) {
  ArrowArrayStream stream{};
  stream.get_schema = GetSchema;
  stream.get_next = GetNext;
  stream.get_last_error = [](ArrowArrayStream*) -> const char* { return "memory ran out"; };
  stream.release = [](ArrowArrayStream* self) {
    delete static_cast<StreamParts*>(self->private_data);
    self->release = nullptr;
  };
  stream.private_data = new StreamParts{result};
  return MakeCapsule(stream, "arrow_array_stream");
}

}  // namespace trovex::python
