#include "api/candidate_json.h"
#include "api/song_json.h"
#include <algorithm>
#include <cmath>
#include <utility>

namespace vexo::api {

Json::Value WhyJson(const catalog::Likeness &likeness) {
  Json::Value why(Json::arrayValue);
  for (const auto &[is_so, name] : {std::pair(likeness.file_name, "file_name"),
                                    {likeness.folders > 0, "folder"},
                                    {likeness.title, "title"},
                                    {likeness.artist, "artist"},
                                    {likeness.duration, "duration"}}) {
    if (is_so) {
      why.append(name);
    }
  }
  return why;
}

Json::Value CandidatesJson(const std::vector<catalog::Candidate> &candidates, std::size_t most) {
  constexpr double kHundredths = 100;
  Json::Value json(Json::arrayValue);
  for (std::size_t i = 0; i < std::min(most, candidates.size()); ++i) {
    Json::Value &item = json.append(Json::Value(Json::objectValue));
    item["song"] = SongJson(*candidates[i].song);
    item["score"] = std::round(candidates[i].likeness.score * kHundredths) / kHundredths;
    item["why"] = WhyJson(candidates[i].likeness);
  }
  return json;
}

} // namespace vexo::api
