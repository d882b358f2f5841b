#pragma once
// A host for tests: it defines every function of platform/include/vexo, answers as the test has
// scripted it, and records each call with its arguments, in order, as readable text.

#include "vexo/media_info.h"
#include "vexo/web.h"
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <unordered_set>
#include <vector>

namespace recording {

/// One thing that the program did with its host: a call ("VEXOPlaylistDBSave({path="/a.m3u"})") or
/// a line of the system log ("syslog(Bad parameter.)").
struct Event {
  std::string name; ///< of the function
  std::string text; ///< the call with its arguments; texts are quoted, a null pointer is `null`
};

/// One line of the system log, taken apart at its prefix "%s:%d ".
struct LogLine {
  int priority;
  std::string module; ///< empty when the line has no such prefix
  int line;
  std::string message; ///< the whole line when it has no such prefix
};

/// A document that was printed.
struct Answer {
  Json::Value document;
  std::string content_type;
};

/// A body that was sent: the file's path and no bytes, or the stream's name and what it held.
struct Sent {
  std::string name;
  std::string content_type;
  std::string bytes;
};

struct Host {
  // The request.
  bool authorized = true;
  std::map<std::string, std::string> parameters;
  std::string user = "anna";
  std::string preference_folder = "/preferences/anna";
  int user_id = 7;
  bool personal_library = false;
  std::string personal_folder; ///< empty: the user has none, the call fails
  _tag_vexo_browser_info_ browser{};

  /// Results of a function, by its name: each call takes the next, the last one stays. A function
  /// that is not here succeeds. For one that returns a pointer, 0 stands for null.
  std::map<std::string, std::deque<int>> results;
  /// The text that a function writes into its buffer, by its name; not here: the buffer is
  /// untouched. For VEXOAudioConfGet the settings, by their key.
  std::map<std::string, std::string> texts;
  /// The records that a function finds, by its name: songs, playlist rows, entries of a file. Not
  /// here: an empty list, or for a function that loads a file, a file that is not there.
  std::map<std::string, std::vector<__tag_VEXO_MEDIA_INFO>> records;
  /// Run after a call was recorded and before it answers, by the function's name.
  std::map<std::string, std::function<void(const Event &)>> on;

  // What the program did.
  std::vector<Event> events; ///< all of it
  std::vector<LogLine> log;
  std::vector<Answer> answers;
  std::vector<Sent> sent;
  std::vector<__tag_VEXO_MEDIA_INFO> saved; ///< playlist records that were saved or updated
  int error_line = 0;                       ///< of the last SetError()
  int open_rows = 0;                        ///< playlist rows that were handed out and not released
  int open_cursors = 0;
  int open_lists = 0; ///< VLIBCSzLists
  int open_rules = 0; ///< chains of rule nodes
  int open_files = 0; ///< AudioPlaylists

  Host() = default;
  Host(const Host &) = delete;
  Host &operator=(const Host &) = delete;
  ~Host();

  /// The events without the questions that may be asked any number of times: parameters, user,
  /// preference folder, whether there is a personal library.
  [[nodiscard]] std::vector<std::string> Effects() const;
  /// The calls of one function.
  [[nodiscard]] std::vector<std::string> Calls(const std::string &name) const;
  /// The messages of the system log, without their prefix.
  [[nodiscard]] std::vector<std::string> Messages() const;
  /// The printed document as compact JSON ("null" for an empty one); a text that says so when not
  /// exactly one was printed.
  [[nodiscard]] std::string AnswerText() const;

  // For the functions of the host.
  void Record(const std::string &name, const std::vector<std::string> &arguments);
  [[nodiscard]] int Result(const std::string &name, int fallback);
  /// The scripted records of `name` as a list that is the program's; what it does not release goes
  /// with the host.
  [[nodiscard]] VEXOPlaylistRec *SongList(const std::string &name);
  /// Copies the scripted text of `name` into `buffer`, cut at `size`.
  void Fill(const std::string &name, char *buffer, int size) const;

  std::unordered_set<VEXOPlaylistRec *> lent; ///< nodes handed out and not released
};

/// The host of the running test.
Host &TheHost();
/// Starts afresh with a host that has recorded nothing.
void ResetHost();

/// Records a call and gives its scripted result, 0 when there is none.
int Scripted(const std::string &name, const std::vector<std::string> &arguments);

/// A song record with an id and a path.
__tag_VEXO_MEDIA_INFO Song(int id, const std::string &path, const std::string &title = "");

// How arguments are shown.
std::string Show(const char *text);
std::string Show(long number);
/// The fields that are not zero, times left out.
std::string Show(const __tag_VEXO_MEDIA_INFO *record);
/// "[12 /a.mp3, 13 /b.mp3]", "null" for the empty list.
std::string Show(const VEXOPlaylistRec *list);

} // namespace recording
