#pragma once
// The rows of groups, and how changes of songs change them.

#include "index/lists.h"
#include "index/song_identity.h"
#include "index/texts.h"
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace vexo::index {

/// The columns that ReadGroup() reads, in its order, and the tables that they are of.
#define VEXO_GROUP_COLUMNS                                                                         \
  "g.id, g.owner, g.kind, g.name, g.songs, g.duration_ms, g.size, g.albums, g.parent_id, "         \
  "g.artist_id, coalesce(a.name, ''), g.compilation, g.discs, g.year_from, g.year_to, "            \
  "g.time_added, g.cover_song"
#define VEXO_GROUP_TABLES "song_groups AS g LEFT JOIN song_groups AS a ON a.id = g.artist_id"

Group ReadGroup(const Statement &row);

/// Whether groups of the kind are found by words: years are few, and folders are found by songs.
bool HasWords(GroupKind kind);

/// What one song, or its going (-1), adds to a group.
struct Share {
  int32_t song = 0;
  int64_t uses = 0;  ///< a group without any is none
  int64_t songs = 0; ///< of these, those that count
  int64_t duration_ms = 0, size_bytes = 0;
};

/// Collects what changes in groups, and writes it in Flush().
class GroupWriter {
public:
  GroupWriter(Database &database, ListWriter &lists, TextWriter &texts);
  /// The group of this identity; 0 when there is none.
  int32_t Known(int owner, const GroupIdentity &identity);
  /// The group of this identity, made when there is none, and named so; 0 for no identity.
  int32_t Resolve(int owner, const GroupIdentity &identity, int32_t parent_id = 0);
  /// The same of a folder, and of those that it lies in.
  int32_t ResolveFolder(int owner, const std::string &path);
  void Count(int32_t id, const Share &share);
  /// The folder and all that it lies in.
  void CountFolders(int32_t folder, const Share &share);
  /// So many more songs (or fewer) of the album are in the group.
  void Link(int32_t group, int32_t album, int64_t songs);
  /// To be called when the songs are written.
  void Flush();

private:
  struct Change {
    Group old; ///< as it stands in the database, or is about to: the same if nothing changes
    int64_t old_uses = 0;
    Share share;
    int64_t albums = 0;
    std::string name;       ///< as a song named it last
    int32_t cover_song = 0; ///< 0: one is to be found
  };

  static std::string KeyOf(int owner, const GroupIdentity &identity);
  static Change ReadChange(const Statement &row);
  int32_t Keep(std::string key, Change change);
  std::optional<Change> Find(int owner, const GroupIdentity &identity);
  Change Make(int owner, const GroupIdentity &identity, int32_t parent_id);
  Change &Get(int32_t id);
  std::string NameOf(int32_t id);
  void FlushLinks();
  void Write(const Change &change);
  void DescribeAlbum(Group &album);
  int32_t FindCover(const Group &group);
  void WriteRow(const Group &group, int64_t uses);
  void List(const Group &old, bool was_listed, const Group &now, bool is_listed);
  void ListWords(const Group &old, bool was_listed, const Group &now, bool is_listed);

  ListWriter &lists_;
  TextWriter &texts_;
  std::unordered_map<std::string, int32_t> ids_; ///< by owner, kind and identity
  std::map<int32_t, Change> changes_;
  std::map<std::pair<int32_t, int32_t>, int64_t> links_; ///< by group and album
  Statement find_, read_, make_, write_, remove_, name_, album_songs_, read_link_, write_link_,
      remove_link_, first_member_, first_below_;
};

} // namespace vexo::index
