#pragma once
// Songs that an entry may mean.

#include "catalog/candidates.h"
#include <json/json.h>
#include <vector>

namespace vexo::api {

/// What a song and an entry have in common, by name.
Json::Value WhyJson(const catalog::Likeness &likeness);
/// The likeliest `most`, each with why and its score.
Json::Value CandidatesJson(const std::vector<catalog::Candidate> &candidates, std::size_t most);

} // namespace vexo::api
