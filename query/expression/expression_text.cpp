// What is kept of a decoded expression.

#include "query/expression/expression_text.h"

#include "text/decoded_expression.h"

#include <algorithm>

namespace trovex {

ExpressionText DecodeExpression(std::string_view expression, ExpressionEncoding encoding) {
  const std::string_view read = expression.substr(0, kMaxQueryLength);
  const DecodedExpression decoded = encoding == ExpressionEncoding::kUtf8
                                        ? DecodeUtf8Expression(read)
                                        : DecodeCodePageExpression(read);
  ExpressionText text;
  text.characters.assign(decoded.bytes.begin(), decoded.bytes.end());
  text.places.reserve(decoded.typed.size() + 1);
  for (const ByteRange& typed : decoded.typed)
    text.places.push_back(static_cast<std::uint32_t>(typed.begin));
  text.places.push_back(static_cast<std::uint32_t>(read.size()));
  text.substitute = decoded.substitute;
  const auto lacking = std::find(decoded.isLacking.begin(), decoded.isLacking.end(), true);
  if (lacking != decoded.isLacking.end()) {
    const ByteRange& typed =
        decoded.typed[static_cast<std::size_t>(lacking - decoded.isLacking.begin())];
    text.lacking = TypedRange{typed.begin, typed.end};
  }
  return text;
}

}  // namespace trovex
