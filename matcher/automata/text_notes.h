// What the searches of one text, one after another, find out for those that follow.
//
// The search for a match goes on behind its end for as long as a longer one is possible, and that may
// be far: behind every "Datei", "Datei(.*Verzeichnis)?" looks for a "Verzeichnis" up to the end of the
// line. The next search would read the same stretch in the same state and find as little. So here is
// noted, at one place in a thousand bytes, in which state the rest of a line was read in vain. Without
// that, all matches on a long line would cost its square.
//
// The notes hold for one pattern and for a text that does not change.

#ifndef TROVEX_MATCHER_AUTOMATA_TEXT_NOTES_H
#define TROVEX_MATCHER_AUTOMATA_TEXT_NOTES_H

#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

namespace trovex {

class TextNotes {
 public:
  using Byte = unsigned char;
  /// A place of the text and the state in which it was reached.
  using Visit = std::pair<const Byte*, std::int32_t>;

  /// Notes are taken at the first stop in each block of this size.
  static std::uintptr_t BlockOf(const Byte* place) {
    return reinterpret_cast<std::uintptr_t>(place) / kBlock;
  }
  /// The end of the block that holds `place`.
  static const Byte* BlockEnd(const Byte* place) {
    return place + (kBlock - reinterpret_cast<std::uintptr_t>(place) % kBlock);
  }

  /// Forgets everything unless it was noted under the same `generation` of states.
  void BeginGeneration(unsigned generation) {
    if (std::exchange(generation_, generation) != generation) vain_.clear();
  }

  /// Notes that no match ended behind `visits`.
  void NoteVain(const std::vector<Visit>& visits) {
    for (const auto& [place, state] : visits)
      vain_[place] = state;
  }

  /// Whether it is noted that no match ends behind `visit`.
  bool IsVain(const Visit& visit) const {
    const auto noted = vain_.find(visit.first);
    return noted != vain_.end() && noted->second == visit.second;
  }

 private:
  static constexpr std::uintptr_t kBlock = 1024;

  unsigned generation_ = 0;
  std::unordered_map<const Byte*, std::int32_t> vain_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_AUTOMATA_TEXT_NOTES_H
