#include "index/ids.h"

#include <algorithm>
#include <iterator>

namespace vexo::index {

IdSet ReadIds(Statement &statement) {
  IdSet ids;
  while (statement.Step()) {
    ids.push_back(static_cast<int32_t>(statement.Int64(0)));
  }
  return ids;
}

IdSet ToSet(IdSet ids) {
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  return ids;
}

IdSet Intersection(std::vector<IdSet> sets) {
  std::sort(sets.begin(), sets.end(),
            [](const IdSet &left, const IdSet &right) { return left.size() < right.size(); });
  IdSet all = std::move(sets.front());
  for (auto set = sets.begin() + 1; set != sets.end(); ++set) {
    std::erase_if(all,
                  [&](int32_t id) { return !std::binary_search(set->begin(), set->end(), id); });
  }
  return all;
}

IdBits::IdBits(const IdSet &set)
    : bits_(set.empty() ? 0 : static_cast<std::size_t>(set.back()) + 1) {
  for (const int32_t id : set) {
    bits_[static_cast<std::size_t>(id)] = true;
  }
}

bool IdBits::Has(int32_t id) const {
  const auto position = static_cast<std::size_t>(id);
  return position < bits_.size() && bits_[position];
}

namespace {

/// Where a stretch of a list of so many begins and ends.
std::pair<std::ptrdiff_t, std::ptrdiff_t> Bounds(std::size_t size, const Range &range) {
  const auto most = static_cast<int64_t>(size);
  const int64_t begin = std::clamp<int64_t>(range.offset, 0, most);
  return {begin, begin + std::clamp<int64_t>(range.limit, 0, most - begin)};
}

} // namespace

IdSet SortedPart(std::vector<KeyedId> ids, bool ascending, const Range &range) {
  const auto [begin, end] = Bounds(ids.size(), range);
  const auto comes_before = [&](const KeyedId &left, const KeyedId &right) {
    return ascending ? left < right : right < left;
  };
  if (begin < end) {
    std::nth_element(ids.begin(), ids.begin() + begin, ids.end(), comes_before);
    std::partial_sort(ids.begin() + begin, ids.begin() + end, ids.end(), comes_before);
  }
  IdSet part;
  std::transform(ids.begin() + begin, ids.begin() + end, std::back_inserter(part),
                 [](const KeyedId &id) { return id.second; });
  return part;
}

IdSet Part(const IdSet &ids, bool ascending, const Range &range) {
  const auto [begin, end] = Bounds(ids.size(), range);
  return ascending ? IdSet(ids.begin() + begin, ids.begin() + end)
                   : IdSet(ids.rbegin() + begin, ids.rbegin() + end);
}

} // namespace vexo::index
