// The text that a benchmark searches: the file named by its last argument.

#ifndef TROVEX_BENCH_BENCHMARK_TEXT_H
#define TROVEX_BENCH_BENCHMARK_TEXT_H

#include <benchmark/benchmark.h>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

/// Hands Google Benchmark its arguments and reads the file that is left into `text`. Returns whether
/// that went well; what went wrong is printed.
inline bool ReadBenchmarkText(int argc, char** argv, std::string& text) {
  benchmark::Initialize(&argc, argv);
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s [--benchmark_...] TEXT\n", argv[0]);
    return false;
  }
  std::ifstream file(argv[1], std::ios::binary);
  text.assign(std::istreambuf_iterator<char>(file), {});
  if (text.empty()) std::fprintf(stderr, "%s: cannot be read, or is empty\n", argv[1]);
  return !text.empty();
}

#endif  // TROVEX_BENCH_BENCHMARK_TEXT_H
