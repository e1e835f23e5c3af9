// Offsets of what is shown in a text that was decoded, and what it takes to know them.

#include "hosts/cli/output/printer.h"

#include "hosts/cli/files/decoder.h"
#include "hosts/cli/output/outlet.h"
#include "hosts/cli/search/text_search.h"
#include "tests/dice.h"

#include <gtest/gtest.h>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace trovex::cli {
namespace {

/// A decoder that adds up how much text it is asked about.
class WatchedDecoder : public Decoder {
 public:
  explicit WatchedDecoder(const char* name)
      : Decoder(0), decoder_(ChooseDecoder("", FindEncoding(name).value())) {}

  void Decode(std::string_view in, bool last, std::string& out) override {
    decoder_->Decode(in, last, out);
  }
  std::uint64_t SourceLength(std::string_view decoded) const override {
    asked_ += decoded.size();
    return decoder_->SourceLength(decoded);
  }
  bool CountsOn() const override { return decoder_->CountsOn(); }
  std::unique_ptr<SourceCount> Count() const override {
    return std::make_unique<WatchedCount>(*this);
  }

  std::size_t Asked() const { return asked_; }

 private:
  class WatchedCount : public SourceCount {
   public:
    explicit WatchedCount(const WatchedDecoder& owner)
        : owner_(owner), count_(owner.decoder_->Count()) {}
    std::uint64_t Add(std::string_view decoded) override {
      owner_.asked_ += decoded.size();
      return count_->Add(decoded);
    }

   private:
    const WatchedDecoder& owner_;
    std::unique_ptr<SourceCount> count_;
  };

  std::unique_ptr<Decoder> decoder_;
  mutable std::size_t asked_ = 0;
};

/// What is shown of `text` as one piece.
std::string Printed(const Options& options, std::string_view expression, std::string_view text,
                    const Decoder& decoder) {
  const SearchPlan plan(std::get<Query>(Query::Compile(expression)), options, options.tag);
  const Printer printer(options, Display{});
  const FilePiece piece{"t", text, 0, &decoder};
  Found found;
  TextSearch(plan).Search(text, printer.NeedOfSearch(), found);
  LineCount(text).Number(found);
  PrintState state;
  std::string out;
  Outlet outlet(out, [](std::string&) {});
  Printer::Page page(printer, piece, state, outlet);
  page.Write(found);
  page.End();
  return out;
}

std::string SomeText(testing::Dice& dice, int lines, int length) {
  static const std::vector<std::string> kPieces = {"日本", "x", " ", "語", "a ", "かな", "y"};
  std::string text;
  for (int i = 0; i < lines; ++i) {
    for (int k = dice.Between(0, length); k > 0; --k)
      text += dice.OneOf(kPieces);
    text += "\n";
  }
  return text;
}

constexpr const char* kEncodings[] = {"iso-2022-jp", "shift_jis", "utf-16le"};

TEST(Offsets, AreThoseOfTheFileWhereverAMatchEnds) {
  Options options;
  options.json = true;
  options.scope = Scope::kLine;
  for (const char* const name : kEncodings) {
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
      testing::Dice dice(seed);
      const std::string text = SomeText(dice, dice.Between(1, 30), 20);
      const WatchedDecoder decoder(name);
      // The matches of one overlap or hold those of others.
      const std::string expression = dice.OneOf({"x", "x.*y & x", ".* & . & a x", "x.x & x & .x"});
      const std::string out = Printed(options, expression, text, decoder);
      std::istringstream records(out);
      std::vector<std::size_t> lineBegins = {0};
      for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') lineBegins.push_back(i + 1);
      }
      for (std::string line; std::getline(records, line);) {
        const nlohmann::json record = nlohmann::json::parse(line);
        const std::size_t begin = lineBegins[record["line"].get<std::size_t>() - 1] +
                                  record["byte_column"].get<std::size_t>() - 1;
        const std::size_t end = begin + record["text"].get<std::string>().size();
        ASSERT_EQ(record["start"], decoder.SourceLength(std::string_view(text).substr(0, begin)))
            << name << " seed " << seed << " " << line;
        ASSERT_EQ(record["end"], decoder.SourceLength(std::string_view(text).substr(0, end)))
            << name << " seed " << seed << " " << line;
      }
    }
  }
}

TEST(Offsets, AreCountedOnAndNotFromTheBegin) {
  testing::Dice dice(1);
  for (const bool longLines : {false, true}) {
    const std::string text = longLines ? SomeText(dice, 3, 9000) : SomeText(dice, 3000, 9);
    for (const char* const name : kEncodings) {
      Options options;
      options.scope = Scope::kLine;
      const auto askedFor = [&](const char* expression) {
        const WatchedDecoder decoder(name);
        Printed(options, expression, text, decoder);
        return decoder.Asked();
      };
      options.byteOffset = true;
      EXPECT_LE(askedFor("x"), text.size()) << name;
      options.output = OutputMode::kOnlyMatching;
      EXPECT_LE(askedFor("x"), text.size()) << name;
      options.output = OutputMode::kLines;
      options.json = true;
      EXPECT_LE(askedFor("x"), 2 * text.size()) << name;
      options.contextBefore = options.contextAfter = 1;
      EXPECT_LE(askedFor("a"), 3 * text.size()) << name;
      // Matches within matches take what they hold again, of their lines alone.
      if (!longLines) {
        EXPECT_LE(askedFor(".* & x"), 20 * text.size()) << name;
      }
    }
  }
}

}  // namespace
}  // namespace trovex::cli
