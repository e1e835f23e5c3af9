// Found items as plain values, and the combination of two arrays told in the slowest way there is.
//
// The merged order of both arrays is written out as a list first. An item's neighbours in the other
// array are then looked up in that list: the last entry of the other array before it and the first
// one after it. Nothing is remembered from one item to the next.

#ifndef TROVEX_TESTS_EXPR_FOUND_ITEMS_MODEL_H
#define TROVEX_TESTS_EXPR_FOUND_ITEMS_MODEL_H

#include <trovex/found_items.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trovex::testing {

/// An item that counts how many of its kind are alive.
class LiveItem : public CFoundItem {
 public:
  LiveItem(int start, int end, int tagMatched) : CFoundItem(start, end, tagMatched) { ++Alive(); }
  LiveItem(const LiveItem&) = delete;
  LiveItem& operator=(const LiveItem&) = delete;
  ~LiveItem() override { --Alive(); }

  static int& Alive() {
    static int alive = 0;
    return alive;
  }
};

struct ModelItem {
  int start = 0;
  int end = 0;
  int tagMatched = 0;
};

/// An array as values; a slot without a value is a null slot.
struct ModelArray {
  std::vector<std::optional<ModelItem>> slots;
  int negative = 0;

  bool IsNegative() const { return negative != 0; }
  bool IsEmpty() const { return slots.empty(); }

  void SetTagMatched() {
    for (auto& slot : slots) {
      if (slot) slot->tagMatched = 1;
    }
  }
};

inline std::unique_ptr<CFoundItemArray> MakeArray(const ModelArray& model) {
  auto array = std::make_unique<CFoundItemArray>();
  for (const auto& slot : model.slots) {
    array->Add(slot ? new LiveItem(slot->start, slot->end, slot->tagMatched) : nullptr);
  }
  array->SetNegative(model.negative);
  return array;
}

inline std::string Describe(const ModelArray& model) {
  std::string text = "negative " + std::to_string(model.negative) + ":";
  for (const auto& slot : model.slots) {
    text += slot ? " [" + std::to_string(slot->start) + "," + std::to_string(slot->end) + ")" +
                       std::to_string(slot->tagMatched)
                 : " null";
  }
  return text;
}

inline std::string Describe(CFoundItemArray& array) {
  ModelArray model;
  model.negative = array.IsNegative();
  for (int i = 0; i < array.GetSize(); ++i) {
    CFoundItem* item = array.GetAt(i);
    model.slots.push_back(
        item == nullptr ? std::optional<ModelItem>()
                        : ModelItem{item->GetStartPos(), item->GetEndPos(), item->TagMatched()});
  }
  return Describe(model);
}

/// One step of the walk over two arrays: slot `index` of the first array or of the second.
struct WalkStep {
  bool ofFirst;
  std::size_t index;
  ModelItem item;
};

inline std::vector<WalkStep> MergedOrder(const ModelArray& first, const ModelArray& second) {
  std::vector<WalkStep> a;
  std::vector<WalkStep> b;
  for (std::size_t i = 0; i < first.slots.size(); ++i) {
    if (first.slots[i]) a.push_back({true, i, *first.slots[i]});
  }
  for (std::size_t i = 0; i < second.slots.size(); ++i) {
    if (second.slots[i]) b.push_back({false, i, *second.slots[i]});
  }
  std::vector<WalkStep> order;
  while (!a.empty() || !b.empty()) {
    const bool takeFirst = b.empty() || (!a.empty() && a.front().item.start < b.front().item.start);
    std::vector<WalkStep>& source = takeFirst ? a : b;
    order.push_back(source.front());
    source.erase(source.begin());
  }
  return order;
}

inline bool IsNear(const std::vector<WalkStep>& order, std::size_t position, int nearBy) {
  const WalkStep& step = order[position];
  for (std::size_t i = position; i-- > 0;) {
    if (order[i].ofFirst == step.ofFirst) continue;
    if (std::abs(step.item.start - order[i].item.end) <= nearBy) return true;
    break;
  }
  for (std::size_t i = position + 1; i < order.size(); ++i) {
    if (order[i].ofFirst == step.ofFirst) continue;
    return std::abs(order[i].item.start - step.item.end) <= nearBy;
  }
  return false;
}

/// The combination of `first` and `second`, which change as the library's sources change.
inline ModelArray ModelMerge(ModelArray& first, ModelArray& second, int nearBy) {
  const std::vector<WalkStep> order = MergedOrder(first, second);
  ModelArray result;
  if (nearBy < 0) {
    for (const WalkStep& step : order)
      result.slots.emplace_back(step.item);
    first.slots.clear();
    second.slots.clear();
    return result;
  }
  if (first.IsNegative() != second.IsNegative()) {
    for (std::size_t i = 0; i < order.size(); ++i) {
      if (IsNear(order, i, nearBy)) return result;
    }
    ModelArray& positive = first.IsNegative() ? second : first;
    for (const auto& slot : positive.slots) {
      if (slot) result.slots.push_back(slot);
    }
    positive.slots.clear();
    return result;
  }
  for (std::size_t i = 0; i < order.size(); ++i) {
    if (!IsNear(order, i, nearBy)) continue;
    result.slots.emplace_back(order[i].item);
    (order[i].ofFirst ? first : second).slots[order[i].index].reset();
  }
  result.negative = first.IsNegative() && second.IsNegative() ? 1 : 0;
  return result;
}

}  // namespace trovex::testing

#endif  // TROVEX_TESTS_EXPR_FOUND_ITEMS_MODEL_H
