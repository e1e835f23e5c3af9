// The results as JSON:
//
//     { "contestants": [name, ...], "doors": number of those that are the library's own,
//       "forms": [ { "name", "rows": [ { "name", "matches", "gigabytes_per_second": {name: number},
//                                        "refused": [name, ...], "ratios": {name: number},
//                                        "by_hand" }, ... ],
//                    "geometric_means": {name: number} }, ... ],
//       "compiling": [ { "name", "microseconds": {name: number}, "refused": [name, ...] }, ... ],
//       "growth": [ { "name", "seconds": {megabytes: number} }, ... ] }
//
// What has no number is left out; "refused" are those who would not compile the row.

#include "bench/side_by_side/contestants.h"
#include "bench/side_by_side/results.h"

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

namespace trovex::bench {

namespace {

using Json = nlohmann::ordered_json;

/// The numbers by the names of the contestants.
Json ByContestant(const Columns& columns) {
  Json json = Json::object();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i]) json[Contestants()[i].name] = *columns[i];
  }
  return json;
}

/// The names of those who refused.
Json ToJson(const Refusals& refused) {
  Json json = Json::array();
  for (std::size_t i = 0; i < refused.size(); ++i) {
    if (refused[i]) json.push_back(Contestants()[i].name);
  }
  return json;
}

Json ToJson(const RowResult& result) {
  Json json = {{"name", result.row->name}};
  if (result.matches) json["matches"] = *result.matches;
  json["gigabytes_per_second"] = ByContestant(result.rates);
  json["refused"] = ToJson(result.refused);
  Columns ratios(kDoors);
  for (std::size_t door = 0; door < kDoors; ++door)
    ratios[door] = result.Ratio(door);
  json["ratios"] = ByContestant(ratios);
  json["by_hand"] = result.row->IsByHand();
  return json;
}

Json ToJson(const FormResult& form) {
  Json json = {{"name", form.name}, {"rows", Json::array()}};
  for (const RowResult& row : form.rows)
    json["rows"].push_back(ToJson(row));
  Columns means(kDoors);
  for (std::size_t door = 0; door < kDoors; ++door) {
    if (const auto ratios = form.Ratios(door); !ratios.empty()) means[door] = GeometricMean(ratios);
  }
  json["geometric_means"] = ByContestant(means);
  return json;
}

Json ToJson(const CompileResult& result) {
  return {{"name", result.row->name},
          {"microseconds", ByContestant(result.microseconds)},
          {"refused", ToJson(result.refused)}};
}

Json ToJson(const GrowthResult& result) {
  Json seconds = Json::object();
  for (std::size_t i = 0; i < std::size(kGrowthMegabytes); ++i) {
    if (result.seconds[i]) seconds[std::to_string(kGrowthMegabytes[i])] = *result.seconds[i];
  }
  return {{"name", result.name}, {"seconds", seconds}};
}

template <class Result>
Json ToJson(const std::vector<Result>& results) {
  Json json = Json::array();
  for (const Result& result : results)
    json.push_back(ToJson(result));
  return json;
}

}  // namespace

bool WriteJson(const Results& results, const std::string& file) {
  Json json = {{"contestants", Json::array()},
               {"doors", kDoors},
               {"forms", ToJson(results.forms)},
               {"compiling", ToJson(results.compiling)},
               {"growth", ToJson(results.growth)}};
  for (const Contestant& contestant : Contestants())
    json["contestants"].push_back(contestant.name);
  std::ofstream out(file);
  out << json.dump(2) << '\n';
  out.close();
  return !out.fail();
}

}  // namespace trovex::bench
