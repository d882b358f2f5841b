// Albums, artists, folders, ... to page through.

#include "index/groups.h"
#include "index/ids.h"
#include "index/lists.h"
#include "index/orders.h"
#include "index/rows.h"
#include "index/sort_keys.h"
#include "index/sql_index.h"
#include "index/texts.h"
#include "index/words.h"

#include <algorithm>
#include <unordered_map>

namespace vexo::index {
namespace {

/// Those that begin with the word: years are few, and in no index of words.
IdSet YearsWithWord(Database &database, int owner, const std::string &word) {
  Statement years(database, "SELECT id FROM song_groups WHERE owner = ?1 AND kind = ?2 "
                            "AND substr(name, 1, length(?3)) = ?3");
  years.Bind(1, int64_t{owner}).Bind(2, static_cast<int64_t>(GroupKind::kYear)).Bind(3, word);
  return ToSet(ReadIds(years));
}

/// The groups that may be what a list asks for; nothing: all of the kind.
std::optional<IdSet> Candidates(Database &database, const GroupList &list) {
  std::vector<IdSet> sets;
  for (const std::string &word : FoldedWords(list.words)) {
    sets.push_back(list.kind == GroupKind::kYear
                       ? YearsWithWord(database, list.owner, word)
                       : database.texts().GroupsWithWord(word, list.kind == GroupKind::kAlbum));
  }
  for (const int32_t group : list.in_groups) {
    Statement albums(database, "SELECT album_id FROM group_albums WHERE group_id = ?1");
    sets.push_back(ReadIds(albums.Bind(1, int64_t{group})));
  }
  if (list.artist_id != 0) {
    sets.push_back(MemberReader(database).Of(list.artist_id, Membership::kAlbums));
  }
  if (list.parent_id != 0) {
    sets.push_back(MemberReader(database).Of(list.parent_id, Membership::kChildren));
  }
  return sets.empty() ? std::nullopt : std::optional(Intersection(std::move(sets)));
}

IdSet GroupsOfKind(Database &database, const GroupList &list) {
  Statement statement(database, "SELECT id FROM song_groups WHERE owner = ?1 AND kind = ?2");
  statement.Bind(1, int64_t{list.owner}).Bind(2, static_cast<int64_t>(list.kind));
  return ToSet(ReadIds(statement));
}

bool IsWanted(const Group &group, const GroupList &list) {
  if (group.owner != list.owner || group.kind != list.kind) {
    return false;
  }
  if (!list.year_from && !list.year_to) {
    return true;
  }
  return group.year_to > 0 && group.year_to >= list.year_from.value_or(0) &&
         group.year_from <= list.year_to.value_or(INT32_MAX);
}

std::vector<Group> ReadGroups(Database &database, const IdSet &ids) {
  std::vector<Group> groups;
  groups.reserve(ids.size());
  database.ForEachKey({VEXO_GROUP_COLUMNS, VEXO_GROUP_TABLES " WHERE g.id = column1"}, InOrder(ids),
                      [&](const Statement &row) { groups.push_back(ReadGroup(row)); });
  return groups;
}

/// The wanted ones of the groups, sorted, and a stretch of them.
Page<Group> SortGroups(std::vector<Group> groups, const GroupList &list, const Range &range) {
  std::vector<KeyedId> keyed;
  std::unordered_map<int32_t, Group> by_id;
  for (Group &group : groups) {
    if (IsWanted(group, list)) {
      keyed.emplace_back(GroupSortKey(group, list.sort), group.id);
      by_id.emplace(group.id, std::move(group));
    }
  }
  Page<Group> page;
  page.total = static_cast<int64_t>(keyed.size());
  for (const int32_t id : SortedPart(std::move(keyed), list.ascending, range)) {
    page.items.push_back(std::move(by_id.at(id)));
  }
  return page;
}

const GroupOrder *ServingOrder(const GroupList &list) {
  for (const GroupOrder &order : OrdersOf(list.kind)) {
    if (!list.sort.empty() && order.Serves(list.sort)) {
      return &order;
    }
  }
  return nullptr;
}

Page<Group> ListWanted(Database &database, const GroupList &list, const Range &range) {
  const std::optional<IdSet> candidates = Candidates(database, list);
  const GroupOrder *order = ServingOrder(list);
  if (!candidates && order != nullptr && !list.year_from && !list.year_to) {
    const Page<int32_t> ids =
        ReadList(database, ListNumber(list.owner, order->number), list.ascending, range);
    return {ids.total, ReadGroups(database, ids.items)};
  }
  const IdSet ids = candidates ? *candidates : GroupsOfKind(database, list);
  return SortGroups(ReadGroups(database, ids), list, range);
}

} // namespace

Page<Group> SqlIndex::ListGroups(const GroupList &list, const Range &range) {
  Page<Group> page;
  database_.ReadAtOnce([&] { page = ListWanted(database_, list, range); });
  return page;
}

std::optional<Group> SqlIndex::FindGroup(int owner, GroupKind kind, int32_t id) {
  const std::vector<Group> groups = ReadGroups(database_, {id});
  if (groups.empty() || groups[0].owner != owner || groups[0].kind != kind) {
    return std::nullopt;
  }
  return groups[0];
}

int32_t SqlIndex::GroupNamed(int owner, GroupKind kind, const std::string &name) {
  const std::string identity = kind == GroupKind::kFolder ? name : NamedGroup(kind, name).identity;
  Statement find(database_, "SELECT id FROM song_groups WHERE owner = ?1 AND kind = ?2 AND " +
                                database_.dialect().Finds("identity", "?3"));
  find.Bind(1, int64_t{owner}).Bind(2, static_cast<int64_t>(kind)).BindBytes(3, identity);
  return find.Step() ? static_cast<int32_t>(find.Int64(0)) : 0;
}

} // namespace vexo::index
