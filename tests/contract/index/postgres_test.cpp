// What only the PostgreSQL engine must hold: its server, and what befalls the way to it.

#include "contract/index/engine.h"
#include "index/postgres_database.h"
#include "index/postgres_schema.h"
#include "support/processes.h"

#include <atomic>
#include <barrier>
#include <csignal>
#include <gmock/gmock.h>
#include <thread>

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

  /// Lets so many next rows of playlists do this, when they are added or at COMMIT.
  void AtNextPlaylists(int times, const std::string &what, const std::string &trigger = "TRIGGER",
                       const std::string &when = "BEFORE") {
    Execute("CREATE SEQUENCE times;"
            "CREATE FUNCTION happen() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN "
            "IF nextval('times') <= " +
            std::to_string(times) + " THEN " + what +
            "; END IF; RETURN NEW; END $$;"
            "CREATE " +
            trigger + " happen " + when + " INSERT ON playlists " +
            (when == "AFTER" ? "DEFERRABLE INITIALLY DEFERRED " : "") +
            "FOR EACH ROW EXECUTE FUNCTION happen()");
  }
  void AtNextCommits(int times, const std::string &what) {
    AtNextPlaylists(times, what, "CONSTRAINT TRIGGER", "AFTER");
  }

  /// Adds a playlist in a transaction; gives how often that was tried.
  static int AddInTransaction(MediaIndex &index, const std::string &path) {
    int calls = 0;
    index.InTransaction(MediaIndex::Durable::kNow, [&] {
      ++calls;
      index.AddPlaylist(MakePlaylist(path));
    });
    return calls;
  }

  static constexpr const char *kConflict = "RAISE EXCEPTION 'undone' USING ERRCODE = '40001'";
  static constexpr const char *kBreak = "PERFORM pg_terminate_backend(pg_backend_pid())";

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
  AtNextPlaylists(3, kConflict);
  int calls = 0;
  index->AddPlaylist(MakePlaylist("/a"));
  index->RemovePlaylist(0, index->PlaylistByPath(0, "/a")->id);
  Execute("SELECT setval('times', 1)");
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
  AtNextPlaylists(1'000'000, kConflict);
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

TEST_F(PostgresServerTest, ATransactionThatOthersUndoAtItsEndIsDoneAgain) {
  const auto index = OpenPostgresIndex(url_);
  EXPECT_THAT(index->AllPlaylists(0), IsEmpty());
  AtNextCommits(2, kConflict);
  EXPECT_EQ(AddInTransaction(*index, "/a"), 3);
  EXPECT_THAT(index->AllPlaylists(0), SizeIs(1));
}

TEST_F(PostgresServerTest, AStatementWhoseConnectionBreaksInATransactionIsDoneAgainWithIt) {
  const auto index = OpenPostgresIndex(url_);
  EXPECT_THAT(index->AllPlaylists(0), IsEmpty());
  AtNextPlaylists(2, kBreak);
  EXPECT_EQ(AddInTransaction(*index, "/a"), 3);
  EXPECT_THAT(index->AllPlaylists(0), SizeIs(1));
}

TEST_F(PostgresServerTest, AConnectionThatBreaksAtTheEndIsAnErrorAndNothingIsDoneTwice) {
  const auto index = OpenPostgresIndex(url_);
  EXPECT_THAT(index->AllPlaylists(0), IsEmpty());
  AtNextCommits(1, kBreak);
  EXPECT_THROW(AddInTransaction(*index, "/a"), IndexError);
  EXPECT_THAT(index->AllPlaylists(0), IsEmpty());
  EXPECT_EQ(AddInTransaction(*index, "/a"), 1);
}

TEST_F(PostgresServerTest, AChangeAloneWhoseConnectionBreaksIsAnError) {
  const auto index = OpenPostgresIndex(url_);
  EXPECT_THAT(index->AllPlaylists(0), IsEmpty());
  AtNextPlaylists(1, kBreak);
  EXPECT_THROW(index->AddPlaylist(MakePlaylist("/a")), IndexError);
  index->AddPlaylist(MakePlaylist("/a"));
  EXPECT_THAT(index->AllPlaylists(0), SizeIs(1));
}

TEST_F(PostgresServerTest, WhatIsReadIsReadAgainWhenTheConnectionBreaks) {
  Execute("CREATE SEQUENCE times;"
          "CREATE FUNCTION seven() RETURNS bigint LANGUAGE plpgsql AS $$ BEGIN "
          "IF nextval('times') <= 2 THEN PERFORM pg_terminate_backend(pg_backend_pid()); END IF; "
          "RETURN 7; END $$");
  PostgresDatabase database(url_);
  EXPECT_EQ(database.Number("SELECT seven()"), 7);
  int calls = 0;
  database.ReadAtOnce([&] {
    ++calls;
    const int64_t begin = database.Number("SELECT extract(epoch FROM now())::bigint");
    if (calls == 1) {
      Disconnect();
    }
    EXPECT_EQ(database.Number("SELECT extract(epoch FROM now())::bigint"), begin);
  });
  EXPECT_EQ(calls, 2);
}

TEST_F(PostgresServerTest, OfTwoThatWaitForEachOtherOneBeginsAgain) {
  EXPECT_EQ(PostgresDatabase(url_).Number("SELECT count(*) FROM locks"), 3);
  std::barrier both(2);
  std::atomic<int> calls = 0;
  const auto take = [&](Lock first, int second) {
    PostgresDatabase database(url_);
    bool is_first = true;
    database.Transact(first, [&] {
      ++calls;
      EXPECT_EQ(database.Number("SELECT 1"), 1); // it has the first lock
      if (std::exchange(is_first, false)) {
        both.arrive_and_wait();
      }
      database.Number(
          ("SELECT id FROM locks WHERE id = " + std::to_string(second) + " FOR UPDATE").c_str());
    });
  };
  std::thread other([&] { take(Lock::kSongs, static_cast<int>(Lock::kPlaylists)); });
  take(Lock::kPlaylists, static_cast<int>(Lock::kSongs));
  other.join();
  EXPECT_EQ(calls, 3);
}

TEST_F(PostgresServerTest, AnOlderIndexIsBroughtUpToDate) {
  OpenPostgresIndex(url_)->WriteSongs({MakeSong("/a/b")}, {});
  Execute("DROP INDEX songs_path_start; CREATE INDEX songs_owner ON songs(owner);"
          "UPDATE schema_version SET version = 1");
  EXPECT_THAT(OpenPostgresIndex(url_)->SongFiles(0), SizeIs(1));
  PostgresDatabase database(url_);
  EXPECT_EQ(database.Number("SELECT version FROM schema_version"), PostgresSchemaVersion());
  EXPECT_EQ(database.Number("SELECT count(*) FROM pg_class WHERE relname = 'songs_path_start'"), 1);
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

/// What is said of a connection to this URL that cannot be made.
std::string FailureOf(const std::string &url) {
  try {
    const PostgresConnection connection(url);
  } catch (const IndexError &error) {
    return error.what();
  }
  return "";
}

TEST(PostgresUrl, APasswordIsNotTold) {
  for (const char *place :
       {"geheim%zz@127.0.0.1:1", "geheim%00@127.0.0.1:1", "geheim@[::1", "geheim/1@127.0.0.1:1",
        "a@geheim@127.0.0.1:1", "geheim@127.0.0.1:1/x?y=z", "geheim@127.0.0.1:1"}) {
    const std::string failure = FailureOf(std::string("postgresql://vexo:") + place);
    EXPECT_THAT(failure, HasSubstr("index's server"));
    EXPECT_THAT(failure, ::testing::Not(HasSubstr("geheim")));
  }
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
  Execute("DELETE FROM texts; DELETE FROM entries; UPDATE songs SET folded_title = ''");
  EXPECT_THAT(index->FindDamage(), testing::Not(IsEmpty()));
  index->RepairDamage();
  EXPECT_THAT(index->FindDamage(), IsEmpty());
  SongList list;
  list.words = "green";
  EXPECT_EQ(index->ListSongs(list, {0, 10}).total, 1);
  Search search;
  search.field = 1; // the title
  search.keyword = "Green";
  EXPECT_THAT(index->SearchSongs(0, search), SizeIs(1));
  index->Optimize();
}

} // namespace
} // namespace vexo::index
