#include "smart/rule_query.h"

#include "smart/dates.h"

namespace vexo::smart {
namespace {

index::Condition::Kind ConditionKind(Criteria::Kind kind) {
  switch (kind) {
  case Criteria::Kind::kAnd:
    return index::Condition::Kind::kAnd;
  case Criteria::Kind::kOr:
    return index::Condition::Kind::kOr;
  case Criteria::Kind::kNot:
    return index::Condition::Kind::kNot;
  default:
    return index::Condition::Kind::kTest;
  }
}

index::Condition MakeCondition(const Criteria &criteria, std::time_t now) {
  index::Condition condition;
  condition.kind = ConditionKind(criteria.kind);
  condition.children.reserve(criteria.children.size());
  for (const Criteria &child : criteria.children) {
    condition.children.push_back(MakeCondition(child, now));
  }
  condition.field = criteria.field;
  condition.comparison = criteria.comparison;
  condition.text = criteria.text;
  condition.number = criteria.kind == Criteria::Kind::kTime
                         ? static_cast<int64_t>(ResolveDate(criteria.date, now))
                         : criteria.number;
  return condition;
}

} // namespace

index::SongQuery MakeQuery(const SmartPlaylist &playlist, std::time_t now) {
  index::SongQuery query;
  query.where = MakeCondition(playlist.criteria, now);
  if (playlist.order) {
    query.random = !playlist.order->field;
    query.order = playlist.order->field;
    query.ascending = playlist.order->ascending;
  }
  query.limit = playlist.limit.value_or(0);
  return query;
}

} // namespace vexo::smart
