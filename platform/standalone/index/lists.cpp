#include "index/lists.h"

#include <algorithm>
#include <utility>

namespace vexo::index {

ListWriter::ListWriter(Database &database)
    : database_(database),
      find_mark_(database, "SELECT key, id, entries FROM marks WHERE list = ?1 AND "
                           "(key, id) <= (?2, ?3) ORDER BY key DESC, id DESC LIMIT 1"),
      next_mark_(database, "SELECT key, id FROM marks WHERE list = ?1 AND (key, id) > (?2, ?3) "
                           "ORDER BY key, id LIMIT 1"),
      write_mark_(database, "INSERT INTO marks(list, key, id, entries) VALUES(?1, ?2, ?3, ?4) "
                            "ON CONFLICT(list, key, id) DO UPDATE SET entries = ?4"),
      remove_mark_(database, "DELETE FROM marks WHERE list = ?1 AND key = ?2 AND id = ?3"),
      find_place_(database, "SELECT key, id FROM entries WHERE list = ?1 AND (key, id) >= (?2, ?3) "
                            "ORDER BY key, id LIMIT 1 OFFSET ?4") {}

void ListWriter::Add(int64_t list, std::string key, int32_t id) {
  changes_.push_back({list, {std::move(key), id}, 1});
}

void ListWriter::Remove(int64_t list, std::string key, int32_t id) {
  changes_.push_back({list, {std::move(key), id}, -1});
}

void ListWriter::Member(int32_t group, Membership membership, int32_t id, bool is_one) {
  if (group != 0) {
    changes_.push_back({MemberList(group, membership), {"", id}, is_one ? 1 : -1});
  }
}

void ListWriter::Flush() {
  const auto place = [](const Change &change) { return std::tie(change.list, change.place); };
  std::sort(changes_.begin(), changes_.end(),
            [&](const Change &left, const Change &right) { return place(left) < place(right); });
  for (auto change = changes_.begin(); change != changes_.end();) {
    Change sum = *change;
    while (++change != changes_.end() && place(*change) == place(sum)) {
      sum.entries += change->entries;
    }
    Apply(sum);
  }
  CloseBucket();
  WriteEntries();
  changes_.clear();
}

void ListWriter::WriteEntries() {
  database_.RemoveEntries(std::exchange(removed_, {}));
  database_.AddEntries(std::exchange(added_, {}));
}

void ListWriter::Apply(const Change &change) {
  if (change.entries == 0) {
    return;
  }
  const bool has_marks = change.list >= 0;
  if (has_marks && !IsInBucket(change)) {
    CloseBucket();
    OpenBucket(change);
  }
  EntryRows &rows = change.entries > 0 ? added_ : removed_;
  rows.lists.push_back(change.list);
  rows.keys.push_back(change.place.key);
  rows.ids.push_back(change.place.id);
  if (has_marks) {
    bucket_->entries += change.entries;
    bucket_->changed = true;
  }
}

bool ListWriter::IsInBucket(const Change &change) const {
  return bucket_ && bucket_->list == change.list && !(change.place < bucket_->first) &&
         (!bucket_->next || change.place < *bucket_->next);
}

namespace {

/// Binds a place of a list to the parameters 1 to 3.
Statement &BindPlace(Statement &statement, int64_t list, const ListPlace &place) {
  return statement.Bind(1, list).BindBytes(2, place.key).Bind(3, int64_t{place.id});
}

std::optional<ListPlace> ReadPlace(Statement &statement) {
  std::optional<ListPlace> place;
  if (statement.Step()) {
    place.emplace(ListPlace{statement.Text(0), static_cast<int32_t>(statement.Int64(1))});
  }
  return place;
}

} // namespace

/// Every list has a mark before all entries, so the bucket of an entry is always found; one that is
/// new begins with it.
void ListWriter::OpenBucket(const Change &change) {
  Bucket bucket;
  bucket.list = change.list;
  if (const auto mark = ReadPlace(BindPlace(find_mark_, change.list, change.place))) {
    bucket.first = *mark;
    bucket.entries = find_mark_.Int64(2);
  }
  find_mark_.Reset();
  bucket.next = ReadPlace(BindPlace(next_mark_, bucket.list, bucket.first));
  next_mark_.Reset();
  bucket_ = std::move(bucket);
}

void ListWriter::CloseBucket() {
  if (bucket_ && bucket_->changed) {
    if (bucket_->entries == 0 && !(bucket_->first == ListPlace{})) {
      BindPlace(remove_mark_, bucket_->list, bucket_->first).Run();
    } else {
      Split();
    }
  }
  bucket_.reset();
}

/// Writes the mark of the bucket, and as many behind it as it has become too large for.
void ListWriter::Split() {
  ListPlace first = bucket_->first;
  int64_t left = bucket_->entries;
  if (left > kMostInBucket) {
    WriteEntries(); // to be counted
  }
  while (left > kMostInBucket) {
    constexpr int64_t kHalf = kMostInBucket / 2;
    BindPlace(find_place_, bucket_->list, first).Bind(4, kHalf);
    std::optional<ListPlace> next = ReadPlace(find_place_);
    find_place_.Reset();
    if (!next) {
      throw IndexError("list " + std::to_string(bucket_->list) +
                       " has fewer entries than it counts");
    }
    WriteMark(first, kHalf);
    first = std::move(*next);
    left -= kHalf;
  }
  WriteMark(first, left);
}

void ListWriter::WriteMark(const ListPlace &first, int64_t entries) {
  BindPlace(write_mark_, bucket_->list, first).Bind(4, entries).Run();
}

int64_t CountEntries(Database &database, int64_t list) {
  Statement sum(database, "SELECT CAST(sum(entries) AS bigint) FROM marks WHERE list = ?1");
  return sum.Bind(1, list).Step() ? sum.Int64(0) : 0;
}

namespace {

/// The bucket that an offset lies in, and how far from its beginning.
struct Position {
  ListPlace first;
  int64_t skip = 0;
  int64_t total = 0; ///< of the whole list
};

Position FindOffset(Database &database, int64_t list, int64_t offset) {
  Statement marks(database, "SELECT key, id, entries FROM marks WHERE list = ?1 ORDER BY key, id");
  marks.Bind(1, list);
  Position position;
  while (marks.Step()) {
    const int64_t entries = marks.Int64(2);
    if (offset >= position.total && offset < position.total + entries) {
      position.first = {marks.Text(0), static_cast<int32_t>(marks.Int64(1))};
      position.skip = offset - position.total;
    }
    position.total += entries;
  }
  return position;
}

} // namespace

Page<int32_t> ReadList(Database &database, int64_t list, bool ascending, const Range &range) {
  Range part = range;
  if (!ascending) {
    const int64_t total = CountEntries(database, list);
    part.offset = std::max<int64_t>(0, total - range.offset - range.limit);
    part.limit = std::max<int64_t>(0, total - range.offset - part.offset);
  }
  const Position position = FindOffset(database, list, part.offset);
  Page<int32_t> page;
  page.total = position.total;
  if (part.offset >= position.total || part.limit == 0) {
    return page;
  }
  Statement entries(database, "SELECT id FROM entries WHERE list = ?1 AND (key, id) >= (?2, ?3) "
                              "ORDER BY key, id LIMIT ?4 OFFSET ?5");
  BindPlace(entries, list, position.first).Bind(4, part.limit).Bind(5, position.skip);
  page.items = ReadIds(entries);
  if (!ascending) {
    std::reverse(page.items.begin(), page.items.end());
  }
  return page;
}

void WalkList(Database &database, int64_t list, bool ascending,
              const std::function<bool(int32_t)> &visit) {
  Statement entries(database, ascending ? "SELECT id FROM entries WHERE list = ?1 ORDER BY key, id"
                                        : "SELECT id FROM entries WHERE list = ?1 "
                                          "ORDER BY key DESC, id DESC");
  entries.Bind(1, list);
  while (entries.Step() && visit(static_cast<int32_t>(entries.Int64(0)))) {
  }
}

MemberReader::MemberReader(Database &database)
    : entries_(database, "SELECT id FROM entries WHERE list = ?1 AND key = ?2 ORDER BY id") {}

IdSet MemberReader::Of(int32_t group, Membership membership) {
  const Reading reading(entries_);
  return ReadIds(entries_.Bind(1, MemberList(group, membership)).BindBytes(2, ""));
}

IdSet IdsBetween(Database &database, int64_t list, const std::string &first,
                 const std::string &end) {
  Statement entries(database, "SELECT id FROM entries WHERE list = ?1 AND key >= ?2 AND key < ?3");
  entries.Bind(1, list).BindBytes(2, first).BindBytes(3, end);
  return ToSet(ReadIds(entries));
}

std::vector<std::string> FindListDamage(Database &database) {
  Statement lists(database,
                  "SELECT list, CAST(sum(entries) AS bigint), (SELECT count(*) FROM entries "
                  "WHERE entries.list = marks.list) FROM marks GROUP BY list");
  std::vector<std::string> findings;
  while (lists.Step()) {
    if (lists.Int64(1) != lists.Int64(2)) {
      findings.push_back("list " + std::to_string(lists.Int64(0)) + " has " +
                         std::to_string(lists.Int64(2)) + " entries and counts " +
                         std::to_string(lists.Int64(1)));
    }
  }
  return findings;
}

} // namespace vexo::index
