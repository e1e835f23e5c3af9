// How characters are counted, held against SQLite's own functions.

#include "hosts/sqlite/characters.h"
#include "tests/dice.h"
#include "tests/sqlite/database.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace {

using trovex::sqlite::CharacterCounter;
using trovex::testing::Database;
using trovex::testing::Dice;
using trovex::testing::Value;

TEST(Characters, AreCountedAsSqliteCountsThem) {
  const Database database;
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    Dice dice(seed);
    // Whole characters, and what is none.
    std::string text = dice.Bytes("ab\x80\xBF\xC3\xE2\xF0\xFF", 30);
    if (seed % 100 == 0) text = std::string(5000, 'a') + text + std::string(5000, '\xBF') + text;
    CharacterCounter counter(text);
    std::size_t counted = 0;
    const sqlite3_int64 all =
        std::get<sqlite3_int64>(database.One("SELECT length(?)", {Value(text)}));
    for (std::size_t place = 0; place < text.size();) {
      place = std::min(text.size(), place + static_cast<std::size_t>(dice.Between(0, 6)));
      if (seed % 100 == 0) place = std::min(text.size(), place + 700);
      counted = counter.CountTo(place);
      if (seed % 100 == 0) continue;
      // A cut character counts once, so the beginnings before a place are the length of what is before.
      ASSERT_EQ(Value(static_cast<sqlite3_int64>(counted)),
                database.One("SELECT length(?)", {Value(text.substr(0, place))}))
          << "seed " << seed << " place " << place;
    }
    ASSERT_EQ(static_cast<sqlite3_int64>(counted), all) << "seed " << seed;
  }
}

}  // namespace
