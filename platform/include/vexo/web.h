#pragma once
// The web framework: the request, who made it, and the answer.

#include <cstdint>
#include <cstdio>
#include <json/json.h>
#include <memory>
#include <string>
#include <vector>

/// Where on the pages of the host a request belongs; the host gives the numbers their meaning.
enum _tag_cgi_position : int {};

/// The client's browser, as far as its peculiarities matter for a download.
struct _tag_vexo_browser_info_ {
  int32_t type;     ///< 1 and 2 are browsers with peculiarities of their own, any other is plain
  char version[32]; ///< text such as "7.0"; empty when not known
};

/// One CGI request.
class WebMan {
public:
  WebMan();
  ~WebMan();

  /// Whether the request may go on. When it may not, the host has answered the client by itself.
  bool IsAuthorized(const char *privilege = nullptr, int level = 3,
                    _tag_cgi_position position = static_cast<_tag_cgi_position>(3));
  /// Loads the request's parameters. False when they could not be read, or when the host has
  /// refused and answered what they ask for; In() then finds none.
  bool LoadIn();
  /// The first value of the parameter `name`, or `fallback` (null allowed) when it was not sent.
  /// The text belongs to the WebMan and stays valid as long as it.
  const char *In(const char *name, const char *fallback) const;
  /// The name of the login user; empty when there is none.
  std::string GetLoginUserName() const;
  /// The login user's preference folder, without a trailing '/'; empty when there is no user.
  std::string GetPreferenceDir() const;
  /// Fills `info`; a negative result: the browser is not known and `info` is unspecified.
  int GetBrowserInfo(_tag_vexo_browser_info_ *info) const;

private:
  struct State;
  std::unique_ptr<State> state_;
};

/// The base of a program that serves one request: it owns the request and gives answers their form.
class ActionHandler {
public:
  ActionHandler();
  virtual ~ActionHandler();

  /// Serves the request. The result is the process's exit status.
  virtual int Process() = 0;

  /// Marks `response` as failed, for the reason `section`/`key`; `line` is the caller's source
  /// line.
  static void SetError(Json::Value &response, const char *section, const char *key, int line);
  /// Records the success flag in `response`.
  static void SetSuccess(Json::Value &response, bool success);
  /// Prints `response` as the CGI answer, with its header; a null value prints an empty object.
  static void PrintResponse(Json::Value response, const char *contentType);

protected:
  /// The request; it lives as long as the handler.
  WebMan &Request();

private:
  struct State;
  std::unique_ptr<State> state_;
};

class WebUtils {
public:
  /// Splits `text` at every `separator`. No empty elements: adjacent, leading and trailing
  /// separators add nothing.
  static std::vector<std::string> StringExplode(const std::string &text,
                                                const std::string &separator);
  /// Escapes the characters that HTML gives a meaning (& < > " '); with `keepSpaces` blanks are
  /// kept apart as well.
  static std::string EncodeHtml(const std::string &text, bool keepSpaces);
};

/// Sends a body to the client, with the headers that belong to it.
class HTTPFileOutputer {
public:
  /// Sends the file `path` as an attachment. 0: the body was sent; -1: nothing was, or not all.
  static int Output(const char *path, const char *contentType);
  /// Sends what `stream` (opened for reading, stays the caller's) yields until its end, offered to
  /// the client under `fileName`. 0: the body was sent; -1: nothing was, or not all.
  static int Output(FILE *stream, const char *fileName, const char *contentType);
};
