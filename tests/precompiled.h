// What many tests include, compiled once for all of them where TROVEX_PRECOMPILED_HEADERS says so. A test
// includes what it uses all the same: it is also built without this header.

#ifndef TROVEX_TESTS_PRECOMPILED_H
#define TROVEX_TESTS_PRECOMPILED_H

#include "cmake/precompiled.h"

#include <gtest/gtest.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>

#endif  // TROVEX_TESTS_PRECOMPILED_H
