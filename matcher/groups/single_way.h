// Patterns of which the text leaves only one way open.
//
// If the steps that can consume the next byte never take the same byte, a match
// can be followed from its start without a choice; if those that can have
// consumed the byte before never do, from its end. Most patterns that people
// write allow one or the other: "([a-z]+)-([a-z]+)." is read from the end.
// There is one way through such a match then, and a pass over it finds the
// groups. Anchors are not asked: the way is the only one without them already.

#ifndef TROVEX_MATCHER_GROUPS_SINGLE_WAY_H
#define TROVEX_MATCHER_GROUPS_SINGLE_WAY_H

#include "matcher/groups/way_graph.h"
#include "text/byte_map.h"
#include "text/byte_range.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace trovex {

/// What stands between two bytes on a way: brackets of groups and anchors.
struct WayMark {
  WayKind kind;  // kOpen, kClose or kAnchor
  int value;
};

/// A way from one step that consumes to the next. The start of the pattern
/// counts as the former, its end as the latter.
struct WayPath {
  int from;
  int to;
  std::vector<WayMark> marks;
};

/// All such ways in `graph`, with their anchors or without; nothing if there
/// are more than a few hundred. A reference is left by its `next` alone.
std::optional<std::vector<WayPath>> PathsOf(const WayGraph& graph, bool withAnchors);

/// Classes of bytes that no set of `graph` tells apart. Returns how many there
/// are.
std::size_t MakeByteClasses(const WayGraph& graph, ByteMap& classOf);

class SingleWay {
 public:
  /// Nothing if the pattern leaves a choice in both directions, or is large.
  static std::optional<SingleWay> Make(const WayGraph& graph);

  /// Writes the ranges of the groups of `match`: group g's to groups[g - 1].
  /// `opened` is work space. Returns false if the pattern does not match that
  /// range.
  bool Find(TextView text, const ByteRange& match, std::vector<ByteRange>& groups,
            std::vector<std::size_t>& opened) const;

 private:
  using State = std::uint16_t;
  static constexpr State kNoState = UINT16_MAX;
  struct Link {
    State to = kNoState;
    std::uint16_t marks = 0;  // number of a list; 0: none
  };

  bool FillForward(const WayGraph& graph, const std::vector<WayPath>& paths);
  bool FillBackward(const WayGraph& graph, const std::vector<WayPath>& paths);
  void Clear(std::size_t stateCount);
  static bool Set(Link& link, const Link& value);
  bool SetForBytes(const CharSet& bytes, std::size_t state, const Link& value);
  const Link& LinkFor(std::size_t state, unsigned char byte) const {
    return links_[state * classCount_ + classOf_[byte]];
  }
  bool FindForward(TextView text, const ByteRange& match, std::vector<ByteRange>& groups,
                   std::vector<std::size_t>& opened) const;
  bool FindBackward(TextView text, const ByteRange& match, std::vector<ByteRange>& groups) const;
  void MarkForward(std::uint16_t list, std::size_t place, std::vector<ByteRange>& groups,
                   std::vector<std::size_t>& opened) const;
  void MarkBackward(std::uint16_t list, std::size_t place, std::vector<ByteRange>& groups) const;

  bool isForward_ = false;
  int groupCount_ = 0;
  State first_ = 0;
  State last_ = 0;
  ByteMap classOf_{};
  std::size_t classCount_ = 0;
  std::vector<Link> links_;     // by state and class of the byte
  std::vector<Link> endLinks_;  // by state: to the end, or to the start
  std::vector<std::vector<WayMark>> marks_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_GROUPS_SINGLE_WAY_H
