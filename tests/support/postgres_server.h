#pragma once
// A PostgreSQL server for the tests of a program, started when the first of them wants it.

#include "index/postgres_connection.h"
#include "support/temporary_folder.h"
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

class PostgresServer {
public:
  /// The one of this process and of those that it forks.
  static PostgresServer &Get() {
    static PostgresServer server;
    return server;
  }

  [[nodiscard]] std::string url(const std::string &database = "postgres") const {
    return "postgresql://vexo@/" + database + "?host=" + folder_;
  }

  /// Makes an empty database, in the place of one of that name; gives its URL.
  [[nodiscard]] std::string MakeDatabase(const std::string &name) const {
    vexo::index::PostgresConnection connection(url());
    connection.Execute(("DROP DATABASE IF EXISTS " + name + " WITH (FORCE)").c_str());
    connection.Execute(("CREATE DATABASE " + name).c_str());
    return url(name);
  }

  /// Empties the index, if there is one.
  void Clear() const {
    vexo::index::PostgresConnection connection(url());
    connection.Execute(R"sql(
DO $$
DECLARE name text;
BEGIN
  IF to_regclass('catalog') IS NULL THEN
    RETURN;
  END IF;
  FOREACH name IN ARRAY '{songs,texts,playlists,unreadable_files,song_groups,group_albums,entries,
    marks,song_marks,lost_marks}'::text[] LOOP
    IF pg_relation_size(name) > 1000000 THEN
      EXECUTE 'TRUNCATE ' || name;
    ELSE
      EXECUTE 'DELETE FROM ' || name;
    END IF;
  END LOOP;
  PERFORM setval('song_ids', 1, false), setval('playlist_ids', 1, false),
    setval('group_ids', 1, false);
END $$)sql");
  }

private:
  PostgresServer() {
    if (mkdtemp(folder_.data()) == nullptr || pipe2(life_.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no place for a server");
    }
    std::array<int, 2> ready{};
    if (pipe2(ready.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    process_ = fork();
    if (process_ == 0) {
      dup2(life_[0], STDIN_FILENO);
      dup2(ready[1], STDOUT_FILENO);
      execl(POSTGRES_SERVER, "postgres_server", folder_.c_str(), nullptr);
      _exit(127);
    }
    close(life_[0]);
    close(ready[1]);
    char byte = 0;
    const bool is_ready = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    if (!is_ready) {
      throw std::runtime_error("no PostgreSQL server could be started");
    }
  }
  ~PostgresServer() {
    close(life_[1]);
    waitpid(process_, nullptr, 0);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  // In memory, and short: it holds a socket.
  std::string folder_ = "/dev/shm/vexo-postgres-XXXXXX";
  std::array<int, 2> life_{}; ///< the server lives as long as its other end
  pid_t process_ = -1;
};
