/* library_floor.cgi: the least that a CGI program can do which looks a page of the index up. It
   does the same look-ups as audio_library.cgi and prints the same members, and nothing else: nobody
   is asked who it is, no parameter is checked, no text is escaped. So what a request of ours takes
   longer than this one is our own doing.

   QUERY_STRING is "version", or WHAT&LIST&OFFSET&LIMIT (WHAT: songs or groups; LIST: the number of
   a kept order), or search&WORD&WORD. */
#include "floor_index.h"
#include <string.h>

enum { MOST_IDS = 1000 };

static long long version(void) {
  sqlite3_stmt *statement = prepare("SELECT revision FROM catalog");
  require(sqlite3_step(statement) == SQLITE_ROW, "revision");
  return sqlite3_column_int64(statement, 0);
}

struct ids {
  long long total;
  int count;
  int id[MOST_IDS];
};

/* The stretch of a kept order: over its marks, then into one bucket. */
static void read_list(struct ids *ids, int list, long long offset, int limit) {
  char key[1024];
  int key_size = 0, id = 0;
  long long skip = 0;
  sqlite3_stmt *marks =
      prepare("SELECT key, id, entries FROM marks WHERE list = ?1 ORDER BY key, id");
  sqlite3_bind_int(marks, 1, list);
  while (sqlite3_step(marks) == SQLITE_ROW) {
    const long long entries = sqlite3_column_int64(marks, 2);
    if (offset >= ids->total && offset < ids->total + entries) {
      key_size = sqlite3_column_bytes(marks, 0);
      memcpy(key, key_size == 0 ? "" : sqlite3_column_blob(marks, 0), (size_t)key_size);
      id = sqlite3_column_int(marks, 1);
      skip = offset - ids->total;
    }
    ids->total += entries;
  }
  sqlite3_stmt *entries =
      prepare("SELECT id FROM entries WHERE list = ?1 AND (key, id) >= (?2, ?3) "
              "ORDER BY key, id LIMIT ?4 OFFSET ?5");
  sqlite3_bind_int(entries, 1, list);
  sqlite3_bind_blob(entries, 2, key, key_size, SQLITE_STATIC);
  sqlite3_bind_int(entries, 3, id);
  sqlite3_bind_int(entries, 4, limit);
  sqlite3_bind_int64(entries, 5, skip);
  while (sqlite3_step(entries) == SQLITE_ROW && ids->count < MOST_IDS) {
    ids->id[ids->count++] = sqlite3_column_int(entries, 0);
  }
}

static int by_number(const void *left, const void *right) {
  return *(const int *)left - *(const int *)right;
}

/* The songs that have a word in the title, or that are of an album or an artist with it. */
static void songs_with(struct ids *ids, const char *word) {
  sqlite3_stmt *statement = prepare(
      "SELECT entries.id FROM title_words CROSS JOIN entries ON list = -8 * title_words.rowid - 5 "
      "WHERE title_words MATCH ?1 UNION "
      "SELECT entries.id FROM group_words JOIN entries "
      "ON list IN (-8 * rowid - 1, -8 * rowid - 2) WHERE group_words MATCH 'name : ' || ?1");
  char quoted[200];
  snprintf(quoted, sizeof quoted, "\"%s\"", word);
  sqlite3_bind_text(statement, 1, quoted, -1, SQLITE_STATIC);
  while (sqlite3_step(statement) == SQLITE_ROW && ids->count < MOST_IDS) {
    ids->id[ids->count++] = sqlite3_column_int(statement, 0);
  }
  qsort(ids->id, (size_t)ids->count, sizeof ids->id[0], by_number);
}

static void search(struct ids *ids, const char *one, const char *other) {
  static struct ids others;
  songs_with(ids, one);
  songs_with(&others, other);
  int kept = 0;
  for (int i = 0; i < ids->count; ++i) {
    if (bsearch(&ids->id[i], others.id, (size_t)others.count, sizeof others.id[0], by_number)) {
      ids->id[kept++] = ids->id[i];
    }
  }
  ids->count = kept > 100 ? 100 : kept;
  ids->total = kept;
}

static void print_page(const struct ids *ids, const char *sql) {
  printf("{\"total\":%lld,\"items\":[", ids->total);
  sqlite3_stmt *row = prepare(sql);
  for (int i = 0; i < ids->count; ++i) {
    sqlite3_bind_int(row, 1, ids->id[i]);
    if (i > 0) {
      putchar(',');
    }
    if (sqlite3_step(row) == SQLITE_ROW) {
      print_row(row);
    }
    sqlite3_reset(row);
  }
  puts("]}");
}

int main(void) {
  static struct ids ids;
  char *query = strdup(getenv("QUERY_STRING"));
  const char *what = strtok(query, "&");
  const long long revision = version();
  if (strcmp(what, "version") == 0) {
    printf("Status: 304 Not Modified\nETag: \"%lld\"\n\n", revision);
    return 0;
  }
  const char *first = strtok(NULL, "&"), *second = strtok(NULL, "&"), *third = strtok(NULL, "&");
  require(sqlite3_exec(database, "BEGIN", NULL, NULL, NULL) == SQLITE_OK, "begin");
  if (strcmp(what, "search") == 0) {
    search(&ids, first, second);
  } else {
    read_list(&ids, atoi(first), atoll(second), atoi(third));
  }
  printf("Content-Type: application/json\nETag: \"%lld\"\n\n", revision);
  print_page(&ids,
             strcmp(what, "groups") == 0
                 ? "SELECT g.id, g.owner AS library, g.name, g.songs, g.duration_ms AS duration, "
                   "g.size, g.albums, g.artist_id, a.name AS artist, g.parent_id AS folder_id, "
                   "g.discs, g.year_from AS year, g.time_added AS added, g.cover_song FROM "
                   "song_groups AS g LEFT JOIN song_groups AS a ON a.id = g.artist_id "
                   "WHERE g.id = ?1"
                 : "SELECT id, owner AS library, title, artist, album, genre, type, track, disc, "
                   "year, duration, album_id, artist_id, album_artist_id, genre_id, folder_id, "
                   "time_added AS added FROM songs WHERE id = ?1");
  return 0;
}
