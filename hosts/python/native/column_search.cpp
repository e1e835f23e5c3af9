// The rows are cut into blocks, which the threads take one after the other. What a block finds is kept for
// itself and put together in the end.

#include "native/column_search.h"

#include "native/arrow_column.h"
#include "native/python_query.h"
#include "native/python_text.h"
#include "native/row_search.h"
#include "native/signals.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace trovex::python {

namespace {

constexpr std::size_t kMostRowsOfBlock = 1024;
/// A thread is started for so many bytes at least, of which a row has some more than those of its text.
constexpr std::size_t kBytesOfThread = 1 << 17;
constexpr std::size_t kBytesOfRow = 32;

struct Block {
  const TextChunk* chunk;
  std::int64_t from;
  std::int64_t to;
  std::size_t row;  // of the column

  std::size_t Size() const noexcept { return static_cast<std::size_t>(to - from); }
};

std::vector<Block> BlocksOf(const TextColumn& column, std::size_t threads) {
  // Documents are few and long: a block of them must not be what all others wait for.
  const std::size_t share = column.rows / (threads * 16) + 1;
  const auto size = static_cast<std::int64_t>(std::min(kMostRowsOfBlock, share));
  std::vector<Block> blocks;
  std::size_t row = 0;
  for (const TextChunk& chunk : column.chunks) {
    for (std::int64_t from = 0; from < chunk.Length(); from += size) {
      const std::int64_t to = std::min(chunk.Length(), from + size);
      blocks.push_back({&chunk, from, to, row});
      row += static_cast<std::size_t>(to - from);
    }
  }
  return blocks;
}

/// How many threads are worth their start.
std::size_t ThreadsFor(const TextColumn& column, std::size_t most) {
  std::size_t bytes = 0;
  for (const TextChunk& chunk : column.chunks) {
    for (std::int64_t row = 0; row < chunk.Length(); ++row) {
      bytes += kBytesOfRow + (chunk.IsNull(row) ? 0 : chunk.At(row).size());
      if (bytes >= most * kBytesOfThread) return most;
    }
  }
  return std::max<std::size_t>(1, bytes / kBytesOfThread);
}

void ReadRows(const Block& block, Rows& rows) {
  rows.clear();
  for (std::int64_t row = block.from; row < block.to; ++row) {
    std::string_view text;
    if (!block.chunk->IsNull(row)) {
      text = block.chunk->At(row);
      if (text.data() == nullptr) text = "";
    }
    rows.push_back(text);
  }
}

/// Threads that do blocks together. The one that calls does its part, and waits with an eye on signals.
class Team {
 public:
  Team(const RowPlan& plan, std::size_t blocks) : plan_(plan), blocks_(blocks) {}

  /// Calls work(search, block) for each block, from `threads` threads, until the search is stopped.
  /// Throws what a call threw.
  template <typename Work>
  void Run(std::size_t threads, const Work& work) {
    std::vector<std::thread> others;
    others.reserve(threads);
    const auto joined = [&] {
      for (std::thread& thread : others)
        thread.join();
    };
    try {
      for (std::size_t i = 1; i < threads; ++i) {
        {
          const std::lock_guard lock(mutex_);
          ++running_;
        }
        others.emplace_back([&] {
          TakeBlocks(nullptr, work);
          Ended();
        });
      }
    } catch (const std::system_error&) {
      Ended();  // those that could be started will do
    }
    TakeBlocks(&signals_, work);
    while (!AllEnded()) {
      if (signals_.Raised()) stop_ = true;
    }
    joined();
    if (failure_) std::rethrow_exception(failure_);
  }

  bool IsStopped() const { return stop_; }

 private:
  template <typename Work>
  void TakeBlocks(Signals* signals, const Work& work) {
    try {
      RowSearch search(plan_, stop_, signals);
      while (!search.IsStopped()) {
        const std::size_t block = next_.fetch_add(1);
        if (block >= blocks_) return;
        work(search, block);
      }
    } catch (...) {
      const std::lock_guard lock(mutex_);
      failure_ = std::current_exception();
      stop_ = true;
    }
  }

  void Ended() {
    const std::lock_guard lock(mutex_);
    --running_;
    ended_.notify_all();
  }

  bool AllEnded() {
    std::unique_lock lock(mutex_);
    return ended_.wait_for(lock, std::chrono::milliseconds(20), [&] { return running_ == 0; });
  }

  const RowPlan& plan_;
  std::size_t blocks_;
  std::atomic<std::size_t> next_{0};
  std::atomic<bool> stop_{false};
  Signals signals_;
  std::mutex mutex_;
  std::condition_variable ended_;
  std::size_t running_ = 0;
  std::exception_ptr failure_;
};

struct GivenUp {
  std::size_t row;
  std::size_t at;
};

/// The rows of a column that are null, as a bitmap; those that gave up among them.
struct Nulls {
  std::vector<std::uint8_t> present;
  std::int64_t count = 0;
};

void SetBit(std::vector<std::uint8_t>& bits, std::size_t row) {
  bits[row / 8] = static_cast<std::uint8_t>(bits[row / 8] | 1U << (row % 8));
}

std::vector<std::uint8_t> Bits(std::size_t rows) {
  return std::vector<std::uint8_t>(rows / 8 + 1, 0);
}

bool GetBit(const void* bits, std::size_t row) {
  return (static_cast<const std::uint8_t*>(bits)[row / 8] >> (row % 8) & 1) != 0;
}

/// What is found in one block.
struct BlockResult {
  std::vector<Verdict> verdicts;
  std::vector<bool> nulls;
  std::vector<GivenUp> gaveUp;
  // For items: their number up to the end of each row, and their ranges.
  std::vector<std::int64_t> itemEnds;
  std::vector<std::int64_t> starts;
  std::vector<std::int64_t> ends;
  std::string texts;
  std::vector<std::int64_t> textEnds;
  std::vector<std::int64_t> tagEnds;
  std::vector<std::int32_t> tags;
  std::vector<std::int64_t> tagStarts;
  std::vector<std::int64_t> tagStops;
};

void NoteRows(const Block& block, const Rows& rows, BlockResult& result) {
  result.verdicts.assign(block.Size(), Verdict::kNo);
  result.nulls.resize(block.Size());
  for (std::size_t i = 0; i < rows.size(); ++i)
    result.nulls[i] = rows[i].data() == nullptr;
}

void NoteGaveUp(const Block& block, const Rows& rows, bool counted, const RowSearch& search,
                BlockResult& result) {
  std::size_t next = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (result.verdicts[i] != Verdict::kGaveUp) continue;
    const std::size_t byte = search.GaveUpAt()[next++];
    result.gaveUp.push_back({block.row + i, Positions(rows[i], counted).From(byte)});
  }
}

BlockResult MatchBlock(RowSearch& search, const Block& block, bool counted) {
  Rows rows;
  ReadRows(block, rows);
  BlockResult result;
  NoteRows(block, rows, result);
  search.Matches(rows, result.verdicts.data());
  NoteGaveUp(block, rows, counted, search, result);
  return result;
}

/// Writes items down in the positions of their rows.
class ItemWriter {
 public:
  ItemWriter(const Rows& rows, bool counted, bool texts, BlockResult& result)
      : rows_(rows), counted_(counted), texts_(texts), result_(result) {
    result.itemEnds.reserve(rows.size());
  }

  void Add(std::size_t row, const Item& item) {
    if (row != row_ || !positions_) Begin(row);
    result_.starts.push_back(Signed(positions_->Advance(item.begin)));
    result_.ends.push_back(Signed(positions_->From(item.end)));
    if (texts_) {
      result_.texts += rows_[row].substr(item.begin, item.Size());
      result_.textEnds.push_back(Signed(result_.texts.size()));
    }
    for (std::size_t i = 0; i < item.tagCount; ++i) {
      result_.tags.push_back(item.tags[i].tag);
      result_.tagStarts.push_back(Signed(positions_->From(item.tags[i].begin)));
      result_.tagStops.push_back(Signed(positions_->From(item.tags[i].end)));
    }
    result_.tagEnds.push_back(Signed(result_.tags.size()));
  }

  /// Ends all rows that have not been.
  void End() { EndRowsBefore(rows_.size()); }

 private:
  static std::int64_t Signed(std::size_t number) { return static_cast<std::int64_t>(number); }

  void Begin(std::size_t row) {
    EndRowsBefore(row);
    row_ = row;
    positions_.emplace(rows_[row], counted_);
  }

  void EndRowsBefore(std::size_t row) {
    while (result_.itemEnds.size() < row)
      result_.itemEnds.push_back(Signed(result_.starts.size()));
  }

  const Rows& rows_;
  bool counted_;
  bool texts_;
  BlockResult& result_;
  std::size_t row_ = 0;
  std::optional<Positions> positions_;
};

BlockResult FindBlock(RowSearch& search, const Block& block, bool counted,
                      const ColumnOptions& options) {
  Rows rows;
  ReadRows(block, rows);
  BlockResult result;
  NoteRows(block, rows, result);
  ItemWriter writer(rows, counted, options.texts, result);
  search.Find(
      rows, options.tags, [&](std::size_t row, const Item& item) { writer.Add(row, item); },
      result.verdicts.data());
  writer.End();
  NoteGaveUp(block, rows, counted, search, result);
  return result;
}

struct Searched {
  std::vector<Block> blocks;
  std::vector<BlockResult> results;
  std::size_t rows = 0;
  bool isString = true;
  Nulls nulls;
  std::vector<std::size_t> gaveUp;
};

/// Raises for the first row that gave up, unless it is to be null.
void NoteNulls(Searched& searched, const ColumnOptions& options) {
  searched.nulls.present = Bits(searched.rows);
  for (std::size_t b = 0; b < searched.blocks.size(); ++b) {
    const Block& block = searched.blocks[b];
    const BlockResult& result = searched.results[b];
    for (const GivenUp& row : result.gaveUp) {
      if (!options.nullWhereGaveUp) RaiseGaveUp(row.at, row.row);
      searched.gaveUp.push_back(row.row);
    }
    for (std::size_t i = 0; i < block.Size(); ++i) {
      const bool isNull = result.nulls[i] || result.verdicts[i] == Verdict::kGaveUp;
      if (isNull) {
        ++searched.nulls.count;
      } else {
        SetBit(searched.nulls.present, block.row + i);
      }
    }
  }
}

template <typename Work>
Searched SearchBlocks(const Query& query, nb::handle object, const ColumnOptions& options,
                      const Work& work) {
  const TextColumn column = ReadColumn(object);
  const Encoding encoding = column.isString ? Encoding::kUtf8 : options.encoding;
  const std::size_t threads = ThreadsFor(column, options.threads);
  Searched searched;
  searched.rows = column.rows;
  searched.isString = column.isString;
  {
    const nb::gil_scoped_release released;
    const RowPlan plan(query, encoding);
    searched.blocks = BlocksOf(column, options.threads);
    searched.results.resize(searched.blocks.size());
    Team team(plan, searched.blocks.size());
    team.Run(threads, [&](RowSearch& search, std::size_t block) {
      searched.results[block] = work(search, searched.blocks[block], column.isString);
    });
  }
  if (PyErr_Occurred() != nullptr) throw nb::python_error();
  NoteNulls(searched, options);
  return searched;
}

/// The bitmap of the rows that are there; null where all are.
const void* PresentOf(const Nulls& nulls) {
  return nulls.count == 0 ? nullptr : nulls.present.data();
}

ArrowType Int64Type(const char* name) {
  return {"l", name, false, {}};
}

ArrowData Values(const std::vector<std::int64_t>& values) {
  return {static_cast<std::int64_t>(values.size()), 0, {nullptr, values.data()}, {}};
}

ArrowType ItemsType(bool isString, const ColumnOptions& options) {
  ArrowType item{"+s", "item", false, {Int64Type("start"), Int64Type("end")}};
  if (options.texts) item.children.push_back({isString ? "U" : "Z", "text", false, {}});
  if (options.tags) {
    ArrowType tag{
        "+s", "item", false, {{"i", "tag", false, {}}, Int64Type("start"), Int64Type("end")}};
    item.children.push_back({"+L", "tags", false, {std::move(tag)}});
  }
  return {"+L", "", true, {std::move(item)}};
}

/// All buffers of a column of items.
struct ItemBuffers {
  Nulls nulls;
  std::vector<std::int64_t> rowOffsets{0};
  std::vector<std::int64_t> starts;
  std::vector<std::int64_t> ends;
  std::string texts;
  std::vector<std::int64_t> textOffsets{0};
  std::vector<std::int64_t> tagOffsets{0};
  std::vector<std::int32_t> tags;
  std::vector<std::int64_t> tagStarts;
  std::vector<std::int64_t> tagStops;
};

template <typename Number>
void Append(std::vector<Number>& all, std::vector<Number>& some) {
  all.insert(all.end(), some.begin(), some.end());
  some = {};
}

/// Puts a block's results after the others, and lets go of them.
void Append(ItemBuffers& all, BlockResult& block) {
  const std::int64_t items = all.rowOffsets.back(), tags = all.tagOffsets.back();
  for (const std::int64_t end : block.itemEnds)
    all.rowOffsets.push_back(items + end);
  const auto texts = static_cast<std::int64_t>(all.texts.size());
  for (const std::int64_t end : block.textEnds)
    all.textOffsets.push_back(texts + end);
  all.texts += std::exchange(block.texts, {});
  for (const std::int64_t end : block.tagEnds)
    all.tagOffsets.push_back(tags + end);
  Append(all.starts, block.starts);
  Append(all.ends, block.ends);
  Append(all.tags, block.tags);
  Append(all.tagStarts, block.tagStarts);
  Append(all.tagStops, block.tagStops);
}

ArrowData ItemsData(const ItemBuffers& buffers, std::size_t rows, const ColumnOptions& options) {
  const auto items = static_cast<std::int64_t>(buffers.starts.size());
  ArrowData item{items, 0, {nullptr}, {Values(buffers.starts), Values(buffers.ends)}};
  if (options.texts) {
    item.children.push_back(
        {items, 0, {nullptr, buffers.textOffsets.data(), buffers.texts.data()}, {}});
  }
  if (options.tags) {
    const auto count = static_cast<std::int64_t>(buffers.tags.size());
    ArrowData numbers{count, 0, {nullptr, buffers.tags.data()}, {}};
    ArrowData tag{count,
                  0,
                  {nullptr},
                  {std::move(numbers), Values(buffers.tagStarts), Values(buffers.tagStops)}};
    item.children.push_back({items, 0, {nullptr, buffers.tagOffsets.data()}, {std::move(tag)}});
  }
  return {static_cast<std::int64_t>(rows),
          buffers.nulls.count,
          {PresentOf(buffers.nulls), buffers.rowOffsets.data()},
          {std::move(item)}};
}

std::int64_t NumberAt(const ArrowData& numbers, std::size_t index) {
  return static_cast<const std::int64_t*>(numbers.buffers[1])[index];
}

nb::list TagsToList(const ArrowData& tags, std::size_t item) {
  const ArrowData& tag = tags.children[0];
  const auto end = static_cast<std::size_t>(NumberAt(tags, item + 1));
  nb::list list;
  for (auto i = static_cast<std::size_t>(NumberAt(tags, item)); i < end; ++i) {
    nb::dict one;
    one["tag"] = static_cast<const std::int32_t*>(tag.children[0].buffers[1])[i];
    one["start"] = NumberAt(tag.children[1], i);
    one["end"] = NumberAt(tag.children[2], i);
    list.append(one);
  }
  return list;
}

nb::object TextAt(const ArrowData& texts, bool isString, std::size_t item) {
  const std::int64_t begin = NumberAt(texts, item);
  const char* const text = static_cast<const char*>(texts.buffers[2]) + begin;
  const auto length = static_cast<Py_ssize_t>(NumberAt(texts, item + 1) - begin);
  PyObject* const object = isString ? PyUnicode_DecodeUTF8(text, length, "replace")
                                    : PyBytes_FromStringAndSize(text, length);
  if (object == nullptr) throw nb::python_error();
  return nb::steal(object);
}

}  // namespace

nb::list BooleanColumn::ToList() const {
  const ArrowData& data = arrow.data;
  nb::list list;
  for (std::size_t row = 0; row < Rows(); ++row) {
    if (data.buffers[0] != nullptr && !GetBit(data.buffers[0], row)) {
      list.append(nb::none());
    } else {
      list.append(nb::bool_(GetBit(data.buffers[1], row)));
    }
  }
  return list;
}

nb::list ItemsColumn::ToList() const {
  const ArrowData& data = arrow.data;
  const ArrowData& item = data.children[0];
  nb::list list;
  for (std::size_t row = 0; row < Rows(); ++row) {
    if (data.buffers[0] != nullptr && !GetBit(data.buffers[0], row)) {
      list.append(nb::none());
      continue;
    }
    nb::list items;
    const auto end = static_cast<std::size_t>(NumberAt(data, row + 1));
    for (auto i = static_cast<std::size_t>(NumberAt(data, row)); i < end; ++i) {
      nb::dict one;
      one["start"] = NumberAt(item.children[0], i);
      one["end"] = NumberAt(item.children[1], i);
      for (std::size_t more = 2; more < item.children.size(); ++more) {
        const ArrowType& type = arrow.type.children[0].children[more];
        if (type.name == "tags") {
          one["tags"] = TagsToList(item.children[more], i);
        } else {
          one["text"] = TextAt(item.children[more], type.format == "U", i);
        }
      }
      items.append(one);
    }
    list.append(items);
  }
  return list;
}

BooleanColumn SearchMatches(const Query& query, nb::handle object, const ColumnOptions& options) {
  struct Buffers {
    Nulls nulls;
    std::vector<std::uint8_t> values;
  };
  Searched searched = SearchBlocks(query, object, options, MatchBlock);
  auto buffers = std::make_shared<Buffers>();
  buffers->values = Bits(searched.rows);
  for (std::size_t b = 0; b < searched.blocks.size(); ++b) {
    const std::vector<Verdict>& verdicts = searched.results[b].verdicts;
    for (std::size_t i = 0; i < verdicts.size(); ++i) {
      if (verdicts[i] == Verdict::kYes) SetBit(buffers->values, searched.blocks[b].row + i);
    }
  }
  buffers->nulls = std::move(searched.nulls);
  BooleanColumn column;
  column.gaveUp = std::move(searched.gaveUp);
  column.arrow.type = {"b", "", true, {}};
  column.arrow.data = {static_cast<std::int64_t>(searched.rows),
                       buffers->nulls.count,
                       {PresentOf(buffers->nulls), buffers->values.data()},
                       {}};
  column.arrow.owner = std::move(buffers);
  return column;
}

ItemsColumn SearchItems(const Query& query, nb::handle object, const ColumnOptions& options) {
  const auto find = [&](RowSearch& search, const Block& block, bool counted) {
    return FindBlock(search, block, counted, options);
  };
  Searched searched = SearchBlocks(query, object, options, find);
  auto buffers = std::make_shared<ItemBuffers>();
  {
    const nb::gil_scoped_release released;
    buffers->rowOffsets.reserve(searched.rows + 1);
    for (BlockResult& result : searched.results)
      Append(*buffers, result);
  }
  buffers->nulls = std::move(searched.nulls);
  ItemsColumn column;
  column.gaveUp = std::move(searched.gaveUp);
  column.arrow.type = ItemsType(searched.isString, options);
  column.arrow.data = ItemsData(*buffers, searched.rows, options);
  column.arrow.owner = std::move(buffers);
  return column;
}

}  // namespace trovex::python
