// The byte behind a text, which automata overwrite with a newline so as not to ask at every byte
// whether the text is over.

#ifndef TROVEX_MATCHER_KEPT_BYTE_H
#define TROVEX_MATCHER_KEPT_BYTE_H

namespace trovex {

/// Remembers the byte at a place and puts it back at the end.
class KeptByte {
 public:
  explicit KeptByte(char* place) : place_(place), kept_(*place) {}
  ~KeptByte() { *place_ = kept_; }
  KeptByte(const KeptByte&) = delete;
  KeptByte& operator=(const KeptByte&) = delete;

  /// The byte as it was.
  char Byte() const { return kept_; }

 private:
  char* place_;
  char kept_;
};

}  // namespace trovex

#endif  // TROVEX_MATCHER_KEPT_BYTE_H
