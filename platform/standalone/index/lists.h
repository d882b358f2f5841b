#pragma once
// Lists of ids in the order of sort keys, of which any stretch is found as quickly as the first
// one.
//
// A list is the rows of `entries` with its number. `marks` divide it into buckets: each tells where
// one begins and how many entries are in it, so the way to an offset leads over the marks, of which
// there are few, and through a part of one bucket.

#include "index/ids.h"
#include "index/orders.h"
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace vexo::index {

/// Where an entry stands in its list.
struct ListPlace {
  std::string key;
  int32_t id = 0;

  friend bool operator==(const ListPlace &, const ListPlace &) = default;
  friend bool operator<(const ListPlace &a, const ListPlace &b) {
    return std::tie(a.key, a.id) < std::tie(b.key, b.id);
  }
};

/// Changes lists. What is added and removed happens in Flush(), in the order of the lists, so that
/// neighbours are written together; what cancels out is not written at all.
class ListWriter {
public:
  /// Entries of a bucket: half of the most when it is made.
  static constexpr int64_t kMostInBucket = 2048;

  explicit ListWriter(Database &database);
  void Add(int64_t list, std::string key, int32_t id);
  /// The entry must be there.
  void Remove(int64_t list, std::string key, int32_t id);
  /// Adds to a list of members, or with false takes out of it; nothing for the group 0.
  void Member(int32_t group, Membership membership, int32_t id, bool is_one);
  void Flush();

private:
  struct Change {
    int64_t list;
    ListPlace place;
    int entries; ///< 1: one more, -1: one less
  };
  struct Bucket {
    int64_t list = 0;
    ListPlace first;
    std::optional<ListPlace> next; ///< nothing: it is the last one
    int64_t entries = 0;
    bool changed = false;
  };

  void Apply(const Change &change);
  [[nodiscard]] bool IsInBucket(const Change &change) const;
  void OpenBucket(const Change &change);
  void CloseBucket();
  void Split();
  void WriteEntries();
  void WriteMark(const ListPlace &first, int64_t entries);

  Database &database_;
  std::vector<Change> changes_;
  EntryRows added_, removed_; ///< to be written
  std::optional<Bucket> bucket_;
  Statement find_mark_, next_mark_, write_mark_, remove_mark_, find_place_;
};

/// The number of entries of a list.
int64_t CountEntries(Database &database, int64_t list);

/// The ids of a stretch of a list, and how many it has as a whole. Descending: from its end on.
Page<int32_t> ReadList(Database &database, int64_t list, bool ascending, const Range &range);

/// Goes through a list until `visit` answers false.
void WalkList(Database &database, int64_t list, bool ascending,
              const std::function<bool(int32_t)> &visit);

/// Reads the members of groups.
class MemberReader {
public:
  explicit MemberReader(Database &database);

  /// The members of a group, as a set.
  IdSet Of(int32_t group, Membership membership);

private:
  Statement entries_;
};

/// The ids of the entries with keys from `first` on and before `end`, ascending by id.
IdSet IdsBetween(Database &database, int64_t list, const std::string &first,
                 const std::string &end);

/// What is wrong with the marks of a list, a line a finding.
std::vector<std::string> FindListDamage(Database &database);

} // namespace vexo::index
