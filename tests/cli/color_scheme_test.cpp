// Colour schemes by name and by hand.

#include "hosts/cli/command/color_scheme.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <variant>

namespace trovex::cli {
namespace {

ColorScheme Scheme(std::string_view typed) {
  auto scheme = ParseColorScheme(typed);
  if (const auto* fault = std::get_if<std::string>(&scheme)) {
    ADD_FAILURE() << *fault;
    return {};
  }
  return std::get<ColorScheme>(scheme);
}

std::string FaultOf(std::string_view typed) {
  auto scheme = ParseColorScheme(typed);
  const auto* const fault = std::get_if<std::string>(&scheme);
  return fault == nullptr ? "" : *fault;
}

TEST(ColorSchemes, AreKnownByTheirNames) {
  EXPECT_EQ(Scheme("default").match, ColorScheme().match);
  EXPECT_NE(Scheme("light").name, ColorScheme().name);
  EXPECT_EQ(Scheme("mono").line, "");
}

TEST(ColorSchemes, PartsHaveStylesOfSeveralWords) {
  EXPECT_EQ(Scheme("match=bold+red").match, "1;31");
  EXPECT_EQ(Scheme("match=bright-blue+on-yellow").match, "94;43");
  EXPECT_EQ(Scheme("match=208+on-17+underline").match, "38;5;208;48;5;17;4");
  EXPECT_EQ(Scheme("match=on-bright-white").match, "107");
  EXPECT_EQ(Scheme("name=none").name, "");
}

TEST(ColorSchemes, WhatIsNotToldStaysAsItIs) {
  const ColorScheme scheme = Scheme("light,match=green,line=cyan");
  EXPECT_EQ(scheme.match, "32");
  EXPECT_EQ(scheme.line, "36");
  EXPECT_EQ(scheme.name, Scheme("light").name);
  EXPECT_EQ(Scheme("match=green").separator, ColorScheme().separator);
}

TEST(ColorSchemes, WhatIsUnknownIsRefused) {
  EXPECT_EQ(FaultOf("match=bold+rot"), "There is no colour or style \"rot\".");
  EXPECT_EQ(FaultOf("what=red"),
            "There is no part \"what\" to colour; the parts are name, line, separator and match.");
  for (const char* const wrong : {"", "match", "match=", "match=256", "match=-1", "match=bright-5",
                                  "match=red,", "match=red+", "match=1;31", "=red"})
    EXPECT_NE(FaultOf(wrong), "") << wrong;
}

}  // namespace
}  // namespace trovex::cli
