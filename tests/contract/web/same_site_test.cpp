#include "web/same_site.h"
#include <gtest/gtest.h>

namespace vexo::web {
namespace {

struct Row {
  const char *what, *origin, *host;
};

TEST(IsOriginOfHost, AcceptsTheHostItself) {
  const Row rows[] = {
      {"a name", "http://music.local", "music.local"},
      {"a port", "http://music.local:8080", "music.local:8080"},
      {"the default port, written in one", "http://music.local", "music.local:80"},
      {"the default port, written in the other", "http://music.local:80", "music.local"},
      {"the default port of https", "https://music.local", "music.local:443"},
      {"https before a proxy", "https://music.local", "music.local"},
      {"an empty port", "http://music.local", "music.local:"},
      {"letter case", "HTTP://Music.Local", "mUSIC.lOCAL"},
      {"an IPv4 address", "http://127.0.0.1:8080", "127.0.0.1:8080"},
      {"an IPv6 address", "http://[::1]", "[::1]"},
      {"an IPv6 address with a port", "http://[::1]:8080", "[::1]:8080"},
      {"an IPv6 address with the default port", "http://[::1]:80", "[::1]"},
  };
  for (const Row &row : rows) {
    EXPECT_TRUE(IsOriginOfHost(row.origin, row.host)) << row.what;
  }
}

TEST(IsOriginOfHost, RefusesEverythingElse) {
  const Row rows[] = {
      {"another name", "http://evil.example", "music.local"},
      {"a longer name", "http://music.local.evil.example", "music.local"},
      {"a name before it", "http://evil.music.local", "music.local"},
      {"a user before it", "http://music.local@evil.example", "music.local"},
      {"another port", "http://music.local:8081", "music.local:8080"},
      {"a port that the host lacks", "http://music.local:8080", "music.local"},
      {"a port that the origin lacks", "http://music.local", "music.local:8080"},
      {"https on the port of http", "https://music.local", "music.local:80"},
      {"an opaque origin", "null", "null"},
      {"an opaque origin in capitals", "NULL", "music.local"},
      {"nothing", "", "music.local"},
      {"only a scheme", "http://", ""},
      {"no host", "http://music.local", ""},
      {"another scheme", "chrome-extension://music.local", "music.local"},
      {"a file", "file://", "music.local"},
      {"no scheme", "music.local", "music.local"},
      {"two origins", "http://music.local http://evil.example", "music.local"},
      {"a path", "http://music.local/", "music.local"},
      {"another IPv6 address", "http://[::2]", "[::1]"},
      {"an IPv6 address and its last number as a port", "http://[::1]", "[::]:1"},
  };
  for (const Row &row : rows) {
    EXPECT_FALSE(IsOriginOfHost(row.origin, row.host)) << row.what;
  }
}

TEST(OriginOfUrl, EndsWhereThePathBegins) {
  const struct {
    const char *what, *url, *origin;
  } rows[] = {
      {"a path", "http://music.local:8080/a/b?c#d", "http://music.local:8080"},
      {"no path", "https://music.local", "https://music.local"},
      {"a query", "http://music.local?http://evil.example/", "http://music.local"},
      {"a fragment", "http://music.local#/", "http://music.local"},
      {"an address in the path", "http://evil.example/http://music.local/", "http://evil.example"},
      {"a user", "http://music.local@evil.example/", "http://music.local@evil.example"},
      {"no scheme", "/page", ""},
      {"no host", "about:blank", ""},
      {"nothing", "", ""},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(OriginOfUrl(row.url), row.origin) << row.what;
  }
}

} // namespace
} // namespace vexo::web
