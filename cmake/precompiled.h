// What many units include of the standard library, compiled once for all of them where TROVEX_PRECOMPILED_HEADERS
// says so. A unit includes what it uses all the same: it is also built without this header.

#ifndef TROVEX_CMAKE_PRECOMPILED_H
#define TROVEX_CMAKE_PRECOMPILED_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#endif  // TROVEX_CMAKE_PRECOMPILED_H
