// The media index on PostgreSQL.

#include "index/postgres_database.h"
#include "index/sql_index.h"

namespace vexo::index {
namespace {

/// What PostgresIndex has before it is a SqlIndex.
struct Connection {
  PostgresDatabase server;
};

class PostgresIndex : private Connection, public SqlIndex {
public:
  PostgresIndex(const std::string &url, std::chrono::seconds patience)
      : Connection{PostgresDatabase(url, PostgresDatabase::kBusyMilliseconds, patience)},
        SqlIndex(server) {}

  void Optimize() override;

private:
  void FindOwnDamage(std::vector<std::string> &findings) override;
  void ClearTexts() override { server.Execute("DELETE FROM texts"); }
};

void PostgresIndex::Optimize() {
  for (const char *table : {"songs", "texts", "entries", "marks", "song_groups", "group_albums"}) {
    server.Execute(("VACUUM (ANALYZE) " + std::string(table)).c_str());
  }
}

void PostgresIndex::FindOwnDamage(std::vector<std::string> &findings) {
  const int64_t missing =
      server.Number("SELECT count(*) FROM songs WHERE NOT EXISTS (SELECT 1 FROM texts "
                    "WHERE kind = 0 AND texts.id = songs.id)");
  if (missing != 0) {
    findings.push_back(std::to_string(missing) + " songs are in no search");
  }
}

} // namespace

std::unique_ptr<MediaIndex> OpenPostgresIndex(const std::string &url,
                                              std::chrono::seconds patience) {
  return std::make_unique<PostgresIndex>(url, patience);
}

} // namespace vexo::index
