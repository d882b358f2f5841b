#pragma once
// Sets of ids, as vectors in ascending order, and what pages are made of them.

#include "index/catalog.h"
#include "index/database.h"
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vexo::index {

using IdSet = std::vector<int32_t>;

/// The ids that a statement answers in its first column, in any order.
IdSet ReadIds(Statement &statement);

/// Makes a set of ids in any order.
IdSet ToSet(IdSet ids);

/// What all of the sets hold; there is at least one.
IdSet Intersection(std::vector<IdSet> sets);

/// Whether ids are in a set, for many questions.
class IdBits {
public:
  explicit IdBits(const IdSet &set);
  [[nodiscard]] bool Has(int32_t id) const;

private:
  std::vector<bool> bits_;
};

using KeyedId = std::pair<std::string, int32_t>;

/// A stretch of the ids in the order of their keys and, among equal ones, of ids; or in the
/// contrary order.
IdSet SortedPart(std::vector<KeyedId> ids, bool ascending, const Range &range);

/// A stretch of a list that is in order already.
IdSet Part(const IdSet &ids, bool ascending, const Range &range);

} // namespace vexo::index
