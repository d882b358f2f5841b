// What only the PostgreSQL engine must hold: its server, and what befalls the way to it.

#include "contract/index/engine.h"
#include "index/postgres_database.h"
#include "index/postgres_schema.h"
#include "support/processes.h"

#include <csignal>
#include <gmock/gmock.h>

namespace vexo::index {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class PostgresServerTest : public ::testing::Test {
protected:
  void Execute(const std::string &sql) { PostgresConnection(url_).Execute(sql.c_str()); }

  /// Ends all connections to the database but the one that says so.
  void Disconnect() {
    Execute("SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity "
            "WHERE datname = current_database() AND pid <> pg_backend_pid()");
  }

  /// Lets so many next rows of playlists fail as if others had undone them.
  void FailPlaylists(int times) {
    Execute("CREATE SEQUENCE failures;"
            "CREATE FUNCTION fail() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN "
            "IF nextval('failures') <= " +
            std::to_string(times) +
            " THEN RAISE EXCEPTION 'undone' USING ERRCODE = '40001'; END IF; RETURN NEW; END $$;"
            "CREATE TRIGGER fail BEFORE INSERT ON playlists FOR EACH ROW EXECUTE FUNCTION fail()");
  }

  std::string url_ = PostgresServer::Get().MakeDatabase("alone");
};

TEST_F(PostgresServerTest, ProcessesThatMakeTheIndexAtOnceAllSucceed) {
  constexpr int kProcesses = 10;
  EXPECT_EQ(RunAtOnce(kProcesses,
                      [&](int i) {
                        OpenPostgresIndex(url_)->AddPlaylist(MakePlaylist("/" + std::to_string(i)));
                        return 0;
                      }),
            kProcesses);
  EXPECT_THAT(OpenPostgresIndex(url_)->AllPlaylists(0), SizeIs(kProcesses));
}

TEST_F(PostgresServerTest, AnIndexOfANewerProgramIsRefusedAndKept) {
  OpenPostgresIndex(url_)->AddPlaylist(MakePlaylist("/a"));
  Execute("UPDATE schema_version SET version = version + 1");
  EXPECT_THROW(OpenPostgresIndex(url_)->AllPlaylists(0), IndexError);
  Execute("UPDATE schema_version SET version = version - 1");
  EXPECT_THAT(OpenPostgresIndex(url_)->AllPlaylists(0), SizeIs(1));
}

TEST_F(PostgresServerTest, AServerThatIsNotThereIsAnErrorThatSaysSo) {
  try {
    OpenPostgresIndex("postgresql://vexo@/vexo?host=/nowhere")->AllPlaylists(0);
    FAIL();
  } catch (const IndexError &error) {
    EXPECT_THAT(error.what(), HasSubstr("/nowhere"));
  }
}

TEST_F(PostgresServerTest, WhatOthersUndidIsDoneAgain) {
  const auto index = OpenPostgresIndex(url_);
  EXPECT_THAT(index->AllPlaylists(0), IsEmpty());
  FailPlaylists(3);
  int calls = 0;
  index->AddPlaylist(MakePlaylist("/a"));
  index->RemovePlaylist(0, index->PlaylistByPath(0, "/a")->id);
  Execute("SELECT setval('failures', 1)");
  index->InTransaction(MediaIndex::Durable::kNow, [&] {
    ++calls;
    index->AddPlaylist(MakePlaylist("/b"));
  });
  EXPECT_EQ(calls, 3);
  EXPECT_THAT(index->AllPlaylists(0), SizeIs(1));
}

TEST_F(PostgresServerTest, AConflictThatDoesNotEndIsAnError) {
  const auto index = OpenPostgresIndex(url_);
  EXPECT_THAT(index->AllPlaylists(0), IsEmpty());
  FailPlaylists(1'000'000);
  EXPECT_THROW(index->AddPlaylist(MakePlaylist("/a")), IndexError);
  EXPECT_THAT(index->AllPlaylists(0), IsEmpty());
}

TEST_F(PostgresServerTest, AConnectionThatWasClosedMeanwhileIsOpenedAgain) {
  const auto index = OpenPostgresIndex(url_);
  index->AddPlaylist(MakePlaylist("/a"));
  Disconnect();
  index->AddPlaylist(MakePlaylist("/b"));
  Disconnect();
  EXPECT_THAT(index->AllPlaylists(0), SizeIs(2));
}

TEST_F(PostgresServerTest, ATransactionWhoseConnectionBreaksIsDoneAgainFromItsBeginning) {
  const auto index = OpenPostgresIndex(url_);
  int calls = 0;
  index->InTransaction(MediaIndex::Durable::kNow, [&] {
    index->AddPlaylist(MakePlaylist("/a"));
    if (++calls == 1) {
      Disconnect();
    }
    index->AddPlaylist(MakePlaylist("/b"));
  });
  EXPECT_EQ(calls, 2);
  EXPECT_THAT(index->AllPlaylists(0), SizeIs(2));
}

TEST_F(PostgresServerTest, RowsThatAreSentTogetherKeepTheirPlaceAmongOtherStatements) {
  PostgresDatabase database(url_);
  database.Transact(Lock::kSongs, [&] {
    Statement add(database, "INSERT INTO entries VALUES(?1, ?2, ?3)");
    Statement add_mark(database, "INSERT INTO marks VALUES(?1, ?2, ?3, 1 + ?3)");
    for (const int64_t id : {1, 2, 3}) {
      add.Bind(1, int64_t{7}).Bind(2, "key").Bind(3, id).Run();
      add_mark.Bind(1, int64_t{7}).Bind(2, "").Bind(3, id).Run();
    }
    database.Execute("UPDATE entries SET list = 8");
    add.Bind(3, int64_t{1}).Run();
  });
  EXPECT_EQ(database.Number("SELECT sum(list) FROM entries"), 3 * 8 + 7);
  EXPECT_EQ(database.Number("SELECT sum(entries) FROM marks"), 2 + 3 + 4);
}

TEST_F(PostgresServerTest, IdsOfOneTransactionAreInTheOrderOfItsRows) {
  const auto index = OpenPostgresIndex(url_);
  std::vector<int32_t> ids{index->AddPlaylist(MakePlaylist("/first"))};
  index->InTransaction(MediaIndex::Durable::kNow, [&] {
    for (int i = 0; i < 100; ++i) {
      ids.push_back(index->AddPlaylist(MakePlaylist("/" + std::to_string(i))));
    }
  });
  EXPECT_EQ(ids.front(), 1);
  EXPECT_EQ(ids.back(), 101) << "none was left out";
  ids.push_back(index->AddPlaylist(MakePlaylist("/last")));
  EXPECT_THAT(ids, testing::WhenSorted(testing::ElementsAreArray(ids)));
  EXPECT_EQ(index->PlaylistByPath(0, "/99")->id, 101);
  EXPECT_THAT(index->PlaylistsById(0, ids), SizeIs(102));
}

TEST_F(PostgresServerTest, ALockOfAnotherProcessIsWaitedForNotLongerThanItsTime) {
  PostgresDatabase holder(url_);
  PostgresDatabase other(url_, 20);
  holder.Transact(Lock::kPlaylists, [&] {
    EXPECT_EQ(holder.Number("SELECT count(*) FROM playlists"), 0);
    EXPECT_THROW(
        other.Transact(Lock::kPlaylists, [&] { other.Execute("UPDATE playlists SET size = 0"); }),
        IndexError);
    other.Transact(Lock::kMarks, [&] { other.Execute("UPDATE song_marks SET rating = 0"); });
  });
}

TEST_F(PostgresServerTest, AServerThatKeepsSilentIsGivenUpAndLeftAloneForAWhile) {
  PostgresDatabase database(url_, 20, std::chrono::seconds(1));
  const auto server = static_cast<pid_t>(database.Number("SELECT pg_backend_pid()"));
  ASSERT_EQ(kill(server, SIGSTOP), 0);
  const auto write = [&] { database.Execute("UPDATE playlists SET size = 0"); };
  EXPECT_THROW(database.Transact(Lock::kPlaylists, write), IndexError);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_THROW(database.Number("SELECT 1"), ServerSilent);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
  kill(server, SIGCONT);
  EXPECT_EQ(PostgresDatabase(url_).Number("SELECT 1"), 1);
}

TEST_F(PostgresServerTest, AStatementLargerThanTheServerTakesAtOnceIsGivenUpWhenItIsSilent) {
  PostgresConnection connection(url_, std::chrono::seconds(1));
  const PostgresQuery whose{"SELECT CAST(pg_backend_pid() AS text)"};
  const PostgresResult answer = connection.Exchange(std::span(&whose, 1));
  const pid_t server = std::stoi(PQgetvalue(answer.get(), 0, 0));
  const std::string text(2'000'000, 'x');
  const PostgresQuery large{"SELECT length($1)", {ToValue(std::string_view(text))}};
  connection.Exchange(std::span(&large, 1));
  ASSERT_EQ(kill(server, SIGSTOP), 0);
  EXPECT_THROW(connection.Exchange(std::span(&large, 1)), ServerSilent);
  EXPECT_FALSE(connection.Undo());
  kill(server, SIGCONT);
}

TEST_F(PostgresServerTest, WhoHoldsALockAndSaysNothingMoreLosesItAndBeginsAgain) {
  PostgresDatabase silent(url_, 100);
  PostgresDatabase other(url_);
  const auto mark = [](Database &database) { database.Execute("UPDATE catalog SET revision = 0"); };
  int calls = 0;
  silent.Transact(Lock::kPlaylists, [&] {
    EXPECT_EQ(silent.Number("SELECT count(*) FROM playlists"), 0);
    if (++calls == 1) {
      other.Transact(Lock::kPlaylists, [&] { mark(other); });
    }
    mark(silent);
  });
  EXPECT_EQ(calls, 2);
}

TEST_F(PostgresServerTest, PathsAreAnyBytes) {
  const auto index = OpenPostgresIndex(url_);
  std::string path = "/";
  for (uint64_t i = 0; i < 4000; ++i) {
    path += static_cast<char>(1 + (i * i * 7919 + i / 7) % 255);
  }
  Playlist playlist = MakePlaylist(path);
  index->AddPlaylist(playlist);
  EXPECT_TRUE(index->PlaylistByPath(0, path));
  EXPECT_THROW(index->AddPlaylist(playlist), IndexError);
  index->WriteSongs({MakeSong(path), MakeSong("/\xff\xfe")}, {});
  EXPECT_THAT(index->SongsByPath({path, "/\xff\xfe"}), SizeIs(2));
  EXPECT_THAT(index->FindDamage(), IsEmpty());
}

TEST_F(PostgresServerTest, ASearchThatIsBrokenIsFoundAndBuiltAnew) {
  const auto index = OpenPostgresIndex(url_);
  index->WriteSongs({MakeSong("/green")}, {});
  Execute("DELETE FROM texts; DELETE FROM entries");
  EXPECT_THAT(index->FindDamage(), testing::Not(IsEmpty()));
  index->RepairDamage();
  EXPECT_THAT(index->FindDamage(), IsEmpty());
  SongList list;
  list.words = "green";
  EXPECT_EQ(index->ListSongs(list, {0, 10}).total, 1);
  index->Optimize();
}

} // namespace
} // namespace vexo::index
