/* The index, as the C programs read it that ours are measured beside. */
#pragma once
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>

#define INDEX DEVICE_ROOT "/var/lib/vexo/index.db"

static sqlite3 *database;

static void require(int holds, const char *what) {
  if (!holds) {
    printf("Status: 500\nContent-Type: text/plain\n\n%s: %s\n", what,
           database == NULL ? "" : sqlite3_errmsg(database));
    exit(1);
  }
}

static sqlite3_stmt *prepare(const char *sql) {
  sqlite3_stmt *statement = NULL;
  if (database == NULL) {
    require(sqlite3_open_v2(INDEX, &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, NULL) ==
                SQLITE_OK,
            "index");
    sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, NULL);
  }
  require(sqlite3_prepare_v2(database, sql, -1, &statement, NULL) == SQLITE_OK, sql);
  return statement;
}

/* As an object of JSON, whose texts are not escaped. */
static void print_row(sqlite3_stmt *row) {
  for (int column = 0; column < sqlite3_column_count(row); ++column) {
    const int is_text = sqlite3_column_type(row, column) == SQLITE_TEXT;
    printf(is_text ? "%s\"%s\":\"%s\"" : "%s\"%s\":%s", column == 0 ? "{" : ",",
           sqlite3_column_name(row, column), (const char *)sqlite3_column_text(row, column));
  }
  putchar('}');
}
