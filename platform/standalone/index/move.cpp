#include "index/move.h"
#include "index/groups.h"
#include "index/rows.h"
#include "index/sql_index.h"
#include "index/texts.h"
#include "text/case_folding.h"

#include <array>
#include <map>
#include <span>
#include <string_view>

namespace vexo::index {
namespace {

enum class ValueType { kWhole, kReal, kText, kBlob };

struct MovedColumn {
  const char *name;
  ValueType type = ValueType::kWhole;
};

/// A table, the first columns of which tell its rows apart.
struct MovedTable {
  const char *name;
  std::size_t key_columns;
  std::vector<MovedColumn> columns;
};

constexpr ValueType kText = ValueType::kText, kBlob = ValueType::kBlob, kReal = ValueType::kReal;

const std::vector<MovedTable> kTables = {
    {"songs",
     1,
     {{"id"},
      {"owner"},
      {"path", kText},
      {"title", kText},
      {"artist", kText},
      {"album", kText},
      {"genre", kText},
      {"track"},
      {"disc"},
      {"year"},
      {"duration", kReal},
      {"bitrate"},
      {"sample_rate"},
      {"channels"},
      {"size"},
      {"album_artist", kText},
      {"composer", kText},
      {"comment", kText},
      {"type", kText},
      {"rating"},
      {"play_count"},
      {"compilation"},
      {"time_added"},
      {"time_modified"},
      {"time_changed"},
      {"album_id"},
      {"artist_id"},
      {"album_artist_id"},
      {"genre_id"},
      {"composer_id"},
      {"folder_id"}}},
    {"playlists",
     1,
     {{"id"},
      {"owner"},
      {"path", kText},
      {"title", kText},
      {"album", kText},
      {"change_time", kText},
      {"modification_time", kText},
      {"size"},
      {"inode"},
      {"born_ns"}}},
    {"song_groups",
     1,
     {{"id"},
      {"owner"},
      {"kind"},
      {"identity", kBlob},
      {"name", kText},
      {"parent_id"},
      {"uses"},
      {"songs"},
      {"duration_ms"},
      {"size"},
      {"albums"},
      {"artist_id"},
      {"compilation"},
      {"discs"},
      {"year_from"},
      {"year_to"},
      {"time_added"},
      {"cover_song"}}},
    {"group_albums", 2, {{"group_id"}, {"album_id"}, {"songs"}}},
    {"entries", 3, {{"list"}, {"key", kBlob}, {"id"}}},
    {"marks", 3, {{"list"}, {"key", kBlob}, {"id"}, {"entries"}}},
    {"unreadable_files", 2, {{"owner"}, {"path", kText}, {"size"}, {"time_modified"}}},
    {"song_marks",
     2,
     {{"\"user\""}, {"song"}, {"rating"}, {"play_count"}, {"time_starred"}, {"time_played"}}},
    {"lost_marks",
     3,
     {{"owner"},
      {"path", kText},
      {"\"user\""},
      {"rating"},
      {"play_count"},
      {"time_starred"},
      {"time_played"}}},
};

/// A row's values, each as its bytes.
using Row = std::vector<std::string>;

std::string ColumnList(const MovedTable &table, std::size_t count) {
  std::string list;
  for (std::size_t i = 0; i < count; ++i) {
    list += (i == 0 ? "" : ", ") + std::string(table.columns[i].name);
  }
  return list;
}

std::string ParameterList(std::size_t count) {
  std::string list;
  for (std::size_t i = 1; i <= count; ++i) {
    list += (i == 1 ? "?" : ", ?") + std::to_string(i);
  }
  return list;
}

template <typename Number> std::string BytesOf(Number number) {
  return {reinterpret_cast<const char *>(&number), sizeof number};
}

template <typename Number> Number NumberOf(std::string_view bytes) {
  Number number{};
  bytes.copy(reinterpret_cast<char *>(&number), sizeof number);
  return number;
}

std::string ReadValue(const Statement &row, int column, ValueType type) {
  switch (type) {
  case ValueType::kWhole:
    return BytesOf(row.Int64(column));
  case ValueType::kReal:
    return BytesOf(row.Double(column));
  default:
    return row.Text(column);
  }
}

void BindValue(Statement &statement, int parameter, ValueType type, const std::string &value) {
  switch (type) {
  case ValueType::kWhole:
    statement.Bind(parameter, NumberOf<int64_t>(value));
    break;
  case ValueType::kReal:
    statement.Bind(parameter, NumberOf<double>(value));
    break;
  case ValueType::kText:
    statement.Bind(parameter, std::string_view(value));
    break;
  case ValueType::kBlob:
    statement.BindBytes(parameter, value);
    break;
  }
}

void BindRow(Statement &statement, const MovedTable &table, const Row &row, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    BindValue(statement, static_cast<int>(i) + 1, table.columns[i].type, row[i]);
  }
}

/// Words of titles belong to the search of one engine, which the other does in its own way.
bool IsOfTitles(const MovedTable &table, const Row &row) {
  constexpr auto kTitles = static_cast<int64_t>(Membership::kTitles);
  const auto list = NumberOf<int64_t>(row[0]);
  return std::string_view(table.name) == "entries" && list < 0 && -list % 8 == kTitles;
}

/// Shows all rows of a table, in the order of their keys, from a stretch at a time.
void ForEachRow(Database &database, const MovedTable &table,
                const std::function<void(const Row &)> &visit) {
  constexpr int64_t kStretch = 5000;
  const std::string key = ColumnList(table, table.key_columns);
  const std::string head =
      "SELECT " + ColumnList(table, table.columns.size()) + " FROM " + table.name;
  const std::string tail = " ORDER BY " + key + " LIMIT " + std::to_string(kStretch);
  const std::string first = head + tail;
  const std::string next =
      head + " WHERE (" + key + ") > (" + ParameterList(table.key_columns) + ")" + tail;
  Row row;
  for (int64_t rows = kStretch; rows == kStretch;) {
    rows = 0;
    Statement select(database, row.empty() ? first : next);
    const Row last = row;
    if (!last.empty()) {
      BindRow(select, table, last, table.key_columns);
    }
    for (; select.Step(); ++rows) {
      row.clear();
      for (std::size_t i = 0; i < table.columns.size(); ++i) {
        row.push_back(ReadValue(select, static_cast<int>(i), table.columns[i].type));
      }
      if (!IsOfTitles(table, row)) {
        visit(row);
      }
    }
  }
}

/// How many rows there are, and a number that changes with each value of them.
struct Sum {
  int64_t rows = 0;
  uint64_t values = 0;

  void Add(const Row &row) {
    uint64_t value = 0xcbf29ce484222325; // FNV-1a
    const auto add = [&](std::string_view bytes) {
      for (const char c : bytes) {
        value = (value ^ static_cast<unsigned char>(c)) * 0x100000001b3;
      }
    };
    for (const std::string &column : row) {
      add(BytesOf(column.size()));
      add(column);
    }
    ++rows;
    values += value;
  }
  friend bool operator==(const Sum &, const Sum &) = default;
};

/// Writes rows of a table, and what an engine keeps beside their texts.
class RowWriter {
public:
  RowWriter(Database &database, const MovedTable &table)
      : table_(table),
        keeps_folded_(std::string_view(table.name) == "songs" && database.dialect().keeps_folded),
        insert_(database, Sql(database.dialect())) {}

  void Write(const Row &row) {
    BindRow(insert_, table_, row, row.size());
    int parameter = static_cast<int>(row.size());
    std::vector<std::string> folded; // they live until the statement has run
    folded.reserve(row.size());
    for (std::size_t i = 0; keeps_folded_ && i < row.size(); ++i) {
      if (table_.columns[i].type == kText) {
        insert_.Bind(++parameter, folded.emplace_back(text::FoldCase(row[i])));
      }
    }
    insert_.Run();
  }

private:
  std::string Sql(const Dialect &dialect) const {
    std::string columns = ColumnList(table_, table_.columns.size());
    std::size_t count = table_.columns.size();
    for (const MovedColumn &column : table_.columns) {
      if (keeps_folded_ && column.type == kText) {
        columns += ", " + dialect.folded(column.name);
        ++count;
      }
    }
    return std::string("INSERT INTO ") + table_.name + "(" + columns + ") VALUES(" +
           ParameterList(count) + ")";
  }

  const MovedTable &table_;
  bool keeps_folded_;
  Statement insert_;
};

int64_t CountRows(Database &database, const MovedTable &table) {
  return database.Number((std::string("SELECT count(*) FROM ") + table.name).c_str());
}

void RequireEmpty(Database &database) {
  for (const MovedTable &table : kTables) {
    if (CountRows(database, table) != 0) {
      throw IndexError(std::string("the target is not empty: it has ") + table.name);
    }
  }
}

void CopyTable(Database &from, Database &to, const MovedTable &table,
               const MoveProgress &progress) {
  const int64_t all = CountRows(from, table);
  Sum sum;
  Sum copied;
  RowWriter writer(to, table);
  ForEachRow(from, table, [&](const Row &row) {
    writer.Write(row);
    sum.Add(row);
    progress(table.name, sum.rows, all);
  });
  ForEachRow(to, table, [&](const Row &row) { copied.Add(row); });
  if (!(copied == sum)) {
    throw IndexError(std::string("what was copied is not what was read: ") + table.name);
  }
}

/// What searches find, as the target's engine keeps it.
void FillSearch(Database &to) {
  ListWriter lists(to);
  const std::unique_ptr<TextWriter> texts = to.texts().MakeWriter(lists);
  Statement songs(to, "SELECT " VEXO_SONG_COLUMNS " FROM songs ORDER BY id");
  while (songs.Step()) {
    const Song song = ReadSong(songs);
    texts->AddSong(song);
    texts->AddTitle(song.id, song.title);
  }
  Statement groups(to, "SELECT " VEXO_GROUP_COLUMNS " FROM " VEXO_GROUP_TABLES " ORDER BY g.id");
  while (groups.Step()) {
    const Group group = ReadGroup(groups);
    if (HasWords(group.kind)) {
      texts->AddGroup(group.id, group.name, group.artist);
    }
  }
  texts->Flush();
  lists.Flush();
}

Database &DatabaseOf(MediaIndex &index) { return dynamic_cast<SqlIndex &>(index).database(); }

} // namespace

void CopyIndex(MediaIndex &from, MediaIndex &to, const MoveProgress &progress) {
  from.CompleteCatalog();
  Database &source = DatabaseOf(from);
  Database &target = DatabaseOf(to);
  const Moment moment(source);
  target.Transact(Lock::kSongs, [&] {
    RequireEmpty(target);
    for (const MovedTable &table : kTables) {
      CopyTable(source, target, table, progress);
    }
    Statement revision(target, "UPDATE catalog SET revision = ?1");
    revision.Bind(1, source.Number("SELECT revision + 1 FROM catalog")).Run();
    for (const char *table : {"songs", "playlists", "song_groups"}) {
      target.SetLastId(table, source.LastId(table));
    }
    FillSearch(target);
  });
}

} // namespace vexo::index
