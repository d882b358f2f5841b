/* floor.cgi: the least that a CGI program can do which looks songs up in the index and changes one
   playlist durably. It does the same look-ups and the same synced writes as audio_playlist.cgi, and
   nothing else: no parameter is checked, nobody is kept out. So what a request of ours takes longer
   than this one is our own doing.

   QUERY_STRING is OPERATION&ROW&FILE[&NEW-FILE]. ROW is 1 for a playlist with a row in the index.
   The body holds the ids of songs (create, append) or ascending positions (remove),
   comma-separated; FILE is the playlist's path. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#define INDEX DEVICE_ROOT "/var/lib/vexo/index.db"

/* As the program has it: see kLogPages and kBusyMilliseconds of the index. */
enum { LOG_PAGES = 16, BUSY_MILLISECONDS = 10000 };

static sqlite3 *database;

static void require(int holds, const char *what) {
  if (!holds) {
    printf("Status: 500\nContent-Type: text/plain\n\n%s: %s, %s\n", what, strerror(errno),
           database == NULL ? "" : sqlite3_errmsg(database));
    exit(1);
  }
}

struct text {
  char *bytes;
  size_t size, room;
};

static void append(struct text *text, const char *bytes, size_t size) {
  if (text->size + size > text->room) {
    text->room = (text->size + size) * 2;
    text->bytes = realloc(text->bytes, text->room);
    require(text->bytes != NULL, "memory");
  }
  memcpy(text->bytes + text->size, bytes, size);
  text->size += size;
}

static void append_text(struct text *text, const char *bytes) {
  append(text, bytes, strlen(bytes));
}

/* Terminated by a '\0' that is not counted. */
static struct text read_all(int fd, size_t size) {
  struct text text = {malloc(size + 1), 0, size + 1};
  require(text.bytes != NULL, "memory");
  ssize_t got;
  while (text.size < size && (got = read(fd, text.bytes + text.size, size - text.size)) > 0) {
    text.size += (size_t)got;
  }
  text.bytes[text.size] = '\0';
  return text;
}

static int empty_log(void *unused, sqlite3 *db, const char *name, int pages) {
  (void)unused;
  (void)name;
  if (pages >= LOG_PAGES) {
    sqlite3_wal_checkpoint_v2(db, NULL, SQLITE_CHECKPOINT_TRUNCATE, NULL, NULL);
  }
  return SQLITE_OK;
}

static void open_index(void) {
  if (database != NULL) {
    return;
  }
  require(sqlite3_open_v2(INDEX, &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, NULL) ==
              SQLITE_OK,
          "index");
  sqlite3_busy_timeout(database, BUSY_MILLISECONDS);
  sqlite3_wal_hook(database, empty_log, NULL);
  sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, NULL);
  require(sqlite3_exec(database, "PRAGMA synchronous=FULL", NULL, NULL, NULL) == SQLITE_OK, "sync");
}

static sqlite3_stmt *prepare(const char *sql) {
  sqlite3_stmt *statement = NULL;
  open_index();
  require(sqlite3_prepare_v2(database, sql, -1, &statement, NULL) == SQLITE_OK, sql);
  return statement;
}

static void append_song(struct text *lines, sqlite3_stmt *song) {
  char seconds[32];
  snprintf(seconds, sizeof seconds, "#EXTINF:%ld,", (long)(sqlite3_column_double(song, 3) + 0.5));
  append_text(lines, seconds);
  append_text(lines, (const char *)sqlite3_column_text(song, 2));
  append_text(lines, " - ");
  append_text(lines, (const char *)sqlite3_column_text(song, 1));
  append_text(lines, "\n");
  append_text(lines, (const char *)sqlite3_column_text(song, 0));
  append_text(lines, "\n");
}

static void append_songs(struct text *lines, const char *ids) {
  sqlite3_stmt *song = prepare("SELECT path, title, artist, duration FROM songs WHERE id = ?1");
  sqlite3_exec(database, "BEGIN", NULL, NULL, NULL);
  for (char *end; *ids != '\0'; ids = *end == ',' ? end + 1 : end) {
    sqlite3_bind_int64(song, 1, strtoll(ids, &end, 10));
    require(end != ids, "an id");
    if (sqlite3_step(song) == SQLITE_ROW) {
      append_song(lines, song);
    }
    sqlite3_reset(song);
  }
  sqlite3_exec(database, "COMMIT", NULL, NULL, NULL);
}

static int open_folder(const char *file) {
  char folder[4096];
  snprintf(folder, sizeof folder, "%.*s", (int)(strrchr(file, '/') - file), file);
  const int fd = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  require(fd >= 0, "folder");
  return fd;
}

/* Writes a file beside `file`, syncs it, gives it the name and syncs the folder. */
static void write_durably(const char *file, const struct text *text, unsigned flags) {
  char temporary[4096 + 16];
  const int folder = open_folder(file);
  snprintf(temporary, sizeof temporary, "%s.%d", file, (int)getpid());
  const int fd = open(temporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  require(fd >= 0, "temporary file");
  require(write(fd, text->bytes, text->size) == (ssize_t)text->size, "write");
  require(fsync(fd) == 0, "sync");
  require(renameat2(AT_FDCWD, temporary, AT_FDCWD, file, flags) == 0, "rename");
  require(fsync(folder) == 0, "sync of the folder");
  if (flags == RENAME_EXCHANGE) {
    require(unlink(temporary) == 0, "unlink");
  }
}

/* The file locked, with its content. */
static struct text read_locked(const char *file) {
  struct stat facts;
  const int fd = open(file, O_RDWR | O_CLOEXEC);
  require(fd >= 0 && flock(fd, LOCK_EX) == 0 && fstat(fd, &facts) == 0, "playlist");
  return read_all(fd, (size_t)facts.st_size);
}

/* Runs an INSERT, UPDATE or DELETE in a transaction of its own. ?1 is `file`; ?2 to ?4 are size and
   times of the file `now`, ?5 is that path. */
static void write_row(const char *sql, const char *file, const char *now) {
  struct stat facts;
  char changed[32], modified[32];
  sqlite3_stmt *row = prepare(sql);
  sqlite3_bind_text(row, 1, file, -1, SQLITE_STATIC);
  if (now != NULL) {
    require(stat(now, &facts) == 0, "stat");
    sqlite3_bind_int64(row, 2, facts.st_size);
    sqlite3_bind_text(row, 3, ctime_r(&facts.st_ctime, changed), -1, SQLITE_STATIC);
    sqlite3_bind_text(row, 4, ctime_r(&facts.st_mtime, modified), -1, SQLITE_STATIC);
    sqlite3_bind_text(row, 5, now, -1, SQLITE_STATIC);
  }
  require(sqlite3_step(row) == SQLITE_DONE && sqlite3_changes(database) == 1, sql);
  sqlite3_finalize(row);
}

/* As with the program, this commit is not synced: the file tells the same. */
static void write_facts(const char *file) {
  open_index();
  require(sqlite3_exec(database, "PRAGMA synchronous=NORMAL", NULL, NULL, NULL) == SQLITE_OK,
          "sync");
  write_row("UPDATE playlists SET size = ?2, change_time = ?3, modification_time = ?4 "
            "WHERE owner = 0 AND path = ?1 AND ?5 = ?1",
            file, file);
}

static void create(int has_row, const char *file, const char *ids) {
  struct text lines = {NULL, 0, 0};
  append_text(&lines, "#EXTM3U\n");
  append_songs(&lines, ids);
  write_durably(file, &lines, RENAME_NOREPLACE);
  if (has_row) {
    write_row(
        "INSERT INTO playlists(owner, path, title, album, change_time, modification_time, size)"
        " VALUES(0, ?1, ?5, 'playlists', ?3, ?4, ?2)",
        file, file);
  }
}

static void append_to(int has_row, const char *file, const char *ids) {
  struct text lines = read_locked(file);
  append_songs(&lines, ids);
  write_durably(file, &lines, RENAME_EXCHANGE);
  if (has_row) {
    write_facts(file);
  }
}

static void remove_from(int has_row, const char *file, const char *positions) {
  const struct text old = read_locked(file);
  struct text left = {NULL, 0, 0};
  long position = 0;
  for (const char *line = old.bytes; *line != '\0';) {
    const char *newline = strchrnul(line, '\n');
    const size_t size = (size_t)(newline - line) + (*newline == '\n');
    const int goes = *positions != '\0' && strtol(positions, NULL, 10) == position;
    /* An #EXTINF belongs to the path behind it, the head to nothing. */
    if (!goes || strncmp(line, "#EXTM3U", 7) == 0) {
      append(&left, line, size);
    }
    if (*line != '#') {
      ++position;
      positions += goes ? strcspn(positions, ",") : 0;
      positions += goes && *positions == ',';
    }
    line += size;
  }
  write_durably(file, &left, RENAME_EXCHANGE);
  if (has_row) {
    write_facts(file);
  }
}

static void rename_to(int has_row, const char *file, const char *new_file) {
  require(renameat2(AT_FDCWD, file, AT_FDCWD, new_file, RENAME_NOREPLACE) == 0, "rename");
  if (has_row) {
    write_row(
        "UPDATE playlists SET size = ?2, change_time = ?3, modification_time = ?4, path = ?5, "
        "title = ?5 WHERE owner = 0 AND path = ?1",
        file, new_file);
  }
}

/* As with the program, only a removal that must not outlive its row is synced. */
static void delete_file(int has_row, const char *file) {
  require(unlink(file) == 0, "removal");
  if (has_row) {
    require(fsync(open_folder(file)) == 0, "sync of the folder");
    write_row("DELETE FROM playlists WHERE owner = 0 AND path = ?1", file, NULL);
  }
}

int main(void) {
  const char *length = getenv("CONTENT_LENGTH");
  const struct text body = read_all(STDIN_FILENO, length == NULL ? 0 : strtoul(length, NULL, 10));
  char *query = strdup(getenv("QUERY_STRING"));
  const char *operation = strtok(query, "&");
  const int has_row = atoi(strtok(NULL, "&"));
  const char *file = strtok(NULL, "&");
  if (strcmp(operation, "create") == 0) {
    create(has_row, file, body.bytes);
  } else if (strcmp(operation, "append") == 0) {
    append_to(has_row, file, body.bytes);
  } else if (strcmp(operation, "remove") == 0) {
    remove_from(has_row, file, body.bytes);
  } else if (strcmp(operation, "rename") == 0) {
    rename_to(has_row, file, strtok(NULL, "&"));
  } else {
    require(strcmp(operation, "delete") == 0, "operation");
    delete_file(has_row, file);
  }
  puts("Content-Type: text/plain; charset=\"UTF-8\"\n\n{\"success\":true}");
  return 0;
}
