// Which bytes of a vector belong to a set, as bits. For the files that are compiled once for every instruction
// set; each of these has its own.

#if defined(TROVEX_MATCHER_RUNS_SET_MEMBERS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TROVEX_MATCHER_RUNS_SET_MEMBERS_INL_H
#undef TROVEX_MATCHER_RUNS_SET_MEMBERS_INL_H
#else
#define TROVEX_MATCHER_RUNS_SET_MEMBERS_INL_H
#endif

#include "matcher/scan/few_bytes-inl.h"
#include "matcher/scan/mask_bits-inl.h"
#include "matcher/scan/vector_scan.h"

#include <hwy/highway.h>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

HWY_BEFORE_NAMESPACE();
namespace trovex {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Byte = unsigned char;
using Tag = hn::CappedTag<std::uint8_t, 64>;
using Bytes = hn::Vec<Tag>;

/// The bytes of a word of bits, and how many vectors these are.
constexpr std::size_t kPlaces = 64;
constexpr std::size_t kVector = hn::MaxLanes(Tag());
constexpr std::size_t kVectors = kPlaces / kVector;

/// The set that the first probe of some tables looks for, in one of its forms. Given a vector, the bits of the
/// bytes that belong to it.
class ByteMembers {
 public:
  explicit HWY_INLINE ByteMembers(const ScanTables& tables)
      : value_(hn::Set(Tag(), tables.values[0])) {}
  HWY_INLINE std::uint64_t operator()(Bytes bytes) const {
    return BitsOfMask<Tag>(hn::Eq(bytes, value_));
  }

 private:
  Bytes value_;
};

class RangeMembers {
 public:
  explicit HWY_INLINE RangeMembers(const ScanTables& tables)
      : mask_(hn::Set(Tag(), tables.masks[0])),
        value_(hn::Set(Tag(), tables.values[0])),
        width_(hn::Set(Tag(), tables.widths[0])) {}
  HWY_INLINE std::uint64_t operator()(Bytes bytes) const {
    const Bytes excess = hn::SaturatedSub(hn::Sub(hn::And(bytes, mask_), value_), width_);
    return BitsOfMask<Tag>(hn::Eq(excess, hn::Zero(Tag())));
  }

 private:
  Bytes mask_;
  Bytes value_;
  Bytes width_;
};

template <class D>
class KindMembersOf {
 public:
  explicit HWY_INLINE KindMembersOf(const ScanTables& tables)
      : KindMembersOf(tables.low[0], tables.high[0]) {}
  HWY_INLINE KindMembersOf(const NibbleTable& low, const NibbleTable& high)
      : low_(hn::LoadDup128(D(), low.data())), high_(hn::LoadDup128(D(), high.data())) {}
  HWY_INLINE std::uint64_t operator()(hn::Vec<D> bytes) const {
    return BitsOfMask<D>(hn::Ne(KindsOf(bytes), hn::Zero(D())));
  }
  /// Nothing for bytes that do not belong to the set.
  HWY_INLINE hn::Vec<D> KindsOf(hn::Vec<D> bytes) const {
    const hn::Vec<D> low = hn::TableLookupBytes(low_, hn::And(bytes, hn::Set(D(), 15)));
    const hn::Vec<D> high = hn::TableLookupBytes(high_, hn::ShiftRight<4>(bytes));
    return hn::And(low, high);
  }

 private:
  hn::Vec<D> low_;
  hn::Vec<D> high_;
};
using KindMembers = KindMembersOf<Tag>;

/// The members among the sixty-four bytes at `place`.
template <class Members>
HWY_INLINE std::uint64_t MembersOfWord(const Members& members, const Byte* place) {
  std::uint64_t bits = 0;
  for (std::size_t part = 0; part < kVectors; ++part)
    bits |= members(hn::LoadU(Tag(), place + part * kVector)) << (part * kVector);
  return bits;
}

/// The same of up to sixty-four bytes, `count` of them; of none or less there are none.
template <class Members>
HWY_INLINE std::uint64_t MembersOfFew(const Members& members, const Byte* place,
                                      std::ptrdiff_t count) {
  return BitsOfUpTo64<Tag>(place, count, [&](auto block) { return members(BytesOf<Tag>(block)); });
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace trovex
HWY_AFTER_NAMESPACE();

#endif

#endif  // toggled for every instruction set
