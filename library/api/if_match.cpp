#include "api/if_match.h"
#include "web/entity_tags.h"
#include "web/request.h"
#include <algorithm>

namespace vexo::api {

bool MeetsIfMatch(const std::string &version) {
  const auto field = web::Variable("HTTP_IF_MATCH");
  if (!field) {
    return true;
  }
  const auto tags = web::ParseEntityTags(*field);
  return tags && (tags->any || std::find(tags->strong.begin(), tags->strong.end(), version) !=
                                   tags->strong.end());
}

} // namespace vexo::api
