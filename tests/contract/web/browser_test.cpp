#include "web/browser.h"
#include <gtest/gtest.h>
#include <string>

namespace {

TEST(BrowserTest, TheUserAgentTellsTypeAndVersion) {
  const struct {
    const char *description, *agent;
    int type;
    const char *version;
  } rows[] = {
      {"Internet Explorer 6", "Mozilla/4.0 (compatible; MSIE 6.0; Windows NT 5.1; SV1)", 1, "6.0"},
      {"Internet Explorer 7", "Mozilla/4.0 (compatible; MSIE 7.0; Windows NT 6.0)", 1, "7.0"},
      {"Internet Explorer 10", "Mozilla/5.0 (compatible; MSIE 10.0; Windows NT 6.2; Trident/6.0)",
       1, "10.0"},
      {"Internet Explorer 11", "Mozilla/5.0 (Windows NT 6.1; Trident/7.0; rv:11.0) like Gecko", 1,
       "11.0"},
      {"no version of Internet Explorer", "MSIE x", 0, ""},
      {"Firefox 3.6",
       "Mozilla/5.0 (X11; U; Linux i686; en-US; rv:1.9.2) Gecko/20100115 Firefox/3.6", 2, "3.6"},
      {"Firefox 26", "Mozilla/5.0 (Windows NT 6.1; rv:26.0) Gecko/20100101 Firefox/26.0", 2,
       "26.0"},
      {"the Firefox after these years",
       "Mozilla/5.0 (Windows NT 6.1; rv:27.0) Gecko/20100101 Firefox/27.0", 0, ""},
      {"a Firefox of today",
       "Mozilla/5.0 (X11; Linux x86_64; rv:140.0) Gecko/20100101 Firefox/140.0", 0, ""},
      {"a version that is no number", "Firefox/.", 0, ""},
      {"a version beyond all numbers", "Firefox/99999999999999999999", 0, ""},
      {"Chromium",
       "Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/141.0.0.0 "
       "Safari/537.36",
       0, ""},
      {"Safari",
       "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/605.1.15 (KHTML, like Gecko) "
       "Version/18.0 Safari/605.1.15",
       0, ""},
      {"curl", "curl/7.88.1", 0, ""},
      {"rv without Internet Explorer", "x rv:11.0", 0, ""},
      {"nothing", "", 0, ""},
  };
  for (const auto &row : rows) {
    const vexo::web::Browser browser = vexo::web::BrowserFromUserAgent(row.agent);
    EXPECT_EQ(browser.type, row.type) << row.description;
    EXPECT_EQ(browser.version, row.version) << row.description;
  }
}

} // namespace
