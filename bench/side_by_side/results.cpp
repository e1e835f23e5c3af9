#include "bench/side_by_side/results.h"

#include "bench/side_by_side/contestants.h"

#include <algorithm>
#include <cmath>

namespace trovex::bench {

namespace {

/// The rate of the fastest peer; none when no peer has one.
std::optional<double> BestPeer(const Columns& rates) {
  // No number is less than any number.
  return rates.size() > kDoors ? *std::max_element(rates.begin() + kDoors, rates.end())
                               : std::nullopt;
}

}  // namespace

std::optional<double> RowResult::Ratio(std::size_t door) const {
  const std::optional<double> best = BestPeer(rates);
  if (!rates[door] || !best) return std::nullopt;
  return *rates[door] / *best;
}

bool RowResult::HasFailed(std::size_t door) const {
  return !rates[door] && BestPeer(rates);
}

std::vector<double> FormResult::Ratios(std::size_t door) const {
  std::vector<double> ratios;
  for (const RowResult& row : rows) {
    if (const auto ratio = row.Ratio(door)) ratios.push_back(*ratio);
  }
  return ratios;
}

bool Results::Agree() const {
  return std::all_of(forms.begin(), forms.end(), [](const FormResult& form) {
    return std::all_of(form.rows.begin(), form.rows.end(),
                       [](const RowResult& row) { return row.agree; });
  });
}

double GeometricMean(const std::vector<double>& numbers) {
  double sum = 0;
  for (const double number : numbers)
    sum += std::log(number);
  return std::exp(sum / static_cast<double>(numbers.size()));
}

}  // namespace trovex::bench
