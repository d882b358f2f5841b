/* lists_floor.cgi: the least that a CGI program can do which shows a page of a playlist file, or
   the names of playlists. It does the same look-ups and reads as audio_library.cgi and prints the
   same members, and nothing else: nobody is asked who it is, no path is resolved, no text is
   escaped.

   QUERY_STRING is entries&OFFSET&LIMIT&ROW, version&ROW, or playlists&LIMIT. */
#define _GNU_SOURCE
#define XXH_INLINE_ALL
#include "floor_index.h"
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

struct file {
  char *bytes;
  size_t size;
};

/* The file of a row. */
static struct file read_file(long id) {
  struct stat facts;
  sqlite3_stmt *row = prepare("SELECT path FROM playlists WHERE owner = 0 AND id = ?1");
  sqlite3_bind_int64(row, 1, id);
  require(sqlite3_step(row) == SQLITE_ROW, "row");
  const char *path = (const char *)sqlite3_column_text(row, 0);
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  require(fd >= 0 && fstat(fd, &facts) == 0, path);
  struct file file = {malloc((size_t)facts.st_size + 1), (size_t)facts.st_size};
  require(read(fd, file.bytes, file.size) == (ssize_t)file.size, path);
  file.bytes[file.size] = '\0';
  return file;
}

static unsigned long long version_of(const struct file *file) {
  return XXH3_128bits(file->bytes, file->size).low64;
}

static void print_entry(sqlite3_stmt *song, long position, const char *info, const char *path,
                        size_t size) {
  sqlite3_bind_text(song, 1, path, (int)size, SQLITE_STATIC);
  printf("{\"position\":%ld,\"path\":\"%.*s\",\"title\":\"%.*s\",\"song\":", position, (int)size,
         path, (int)strcspn(info, "\n"), info);
  require(sqlite3_step(song) == SQLITE_ROW, "song");
  print_row(song);
  sqlite3_reset(song);
  puts("},");
}

static void print_entries(long id, long offset, long limit) {
  const struct file file = read_file(id);
  printf("ETag: \"%llx\"\n\n{\"items\":[", version_of(&file));
  sqlite3_stmt *song = prepare("SELECT id, title, artist, album, genre, type, track, disc, year, "
                               "duration FROM songs WHERE path = ?1");
  sqlite3_exec(database, "BEGIN", NULL, NULL, NULL);
  long position = 0;
  const char *info = "";
  for (const char *line = file.bytes; *line != '\0';) {
    const char *newline = strchrnul(line, '\n');
    if (*line == '#') {
      info = line;
    } else if (position++ >= offset && position <= offset + limit) {
      print_entry(song, position - 1, info, line, (size_t)(newline - line));
    }
    line = newline + (*newline == '\n');
  }
  sqlite3_exec(database, "COMMIT", NULL, NULL, NULL);
  printf("],\"total\":%ld}", position);
}

/* Rows and their files; what stands in them is known to nobody without a store like ours. */
static void print_playlists(long limit) {
  sqlite3_stmt *row =
      prepare("SELECT path, id, title FROM playlists WHERE owner = 0 ORDER BY path");
  long total = 0;
  printf("\n{\"items\":[");
  while (sqlite3_step(row) == SQLITE_ROW) {
    struct stat facts;
    require(lstat((const char *)sqlite3_column_text(row, 0), &facts) == 0, "file");
    if (total++ < limit) {
      printf("{\"id\":\"%s\",\"name\":\"%s\",\"size\":%ld,\"changed\":%ld},",
             (const char *)sqlite3_column_text(row, 1), (const char *)sqlite3_column_text(row, 2),
             (long)facts.st_size, (long)facts.st_mtime);
    }
  }
  printf("],\"total\":%ld}", total);
}

int main(void) {
  const char *what = strtok(strdup(getenv("QUERY_STRING")), "&");
  puts("Content-Type: application/json");
  if (strcmp(what, "entries") == 0) {
    const long offset = atol(strtok(NULL, "&"));
    const long limit = atol(strtok(NULL, "&"));
    print_entries(atol(strtok(NULL, "&")), offset, limit);
  } else if (strcmp(what, "version") == 0) {
    const struct file file = read_file(atol(strtok(NULL, "&")));
    printf("Status: 304\nETag: \"%llx\"\n\n", version_of(&file));
  } else {
    require(strcmp(what, "playlists") == 0, "operation");
    print_playlists(atol(strtok(NULL, "&")));
  }
  return 0;
}
