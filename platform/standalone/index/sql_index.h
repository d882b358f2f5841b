#pragma once
// The media index on a database that is asked in SQL: what all engines have in common.

#include "index/database.h"
#include "index/media_index.h"
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vexo::index {

class SqlIndex : public MediaIndex {
public:
  std::vector<Song> SongsById(int owner, const std::vector<int32_t> &ids) override;
  void VisitSongsById(int owner, const std::vector<int32_t> &ids,
                      const std::function<void(const SongView &)> &visit) override;
  std::vector<Song> SongsByPath(const std::vector<std::string> &paths) override;
  void VisitSongsByPath(const std::vector<std::string> &paths,
                        const std::function<void(const SongView &)> &visit) override;
  std::vector<Song> SearchSongs(int owner, const Search &search) override;
  std::vector<Song> RandomSongs(int owner, int count) override;
  std::vector<Song> QuerySongs(int owner, const SongQuery &query) override;
  SongTotals CountSongs(int owner, const SongQuery &query) override;
  std::vector<Song> SongsNamed(int owner, SongName kind, const std::vector<std::string> &names,
                               int most_of_each) override;
  Page<CatalogSong> ListSongs(const SongList &list, const Range &range) override;
  Page<Group> ListGroups(const GroupList &list, const Range &range) override;
  std::optional<CatalogSong> FindSong(int owner, int32_t id) override;
  std::optional<Group> FindGroup(int owner, GroupKind kind, int32_t id) override;
  int32_t GroupNamed(int owner, GroupKind kind, const std::string &name) override;
  int64_t Revision() override;
  std::vector<SongMark> MarksOf(int user, const std::vector<int32_t> &songs) override;
  Page<SongMark> ListMarks(int user, bool starred, const Range &range) override;
  std::optional<Mark> ChangeMark(int user, int32_t song, const MarkChange &change) override;
  int64_t RemoveMarks(int user) override;
  std::vector<SongFile> SongFiles(int owner) override;
  void WriteSongs(const std::vector<Song> &songs, const std::vector<int32_t> &removed) override;
  std::vector<SongFile> UnreadableFiles(int owner) override;
  void SetUnreadableFiles(int owner, const std::vector<SongFile> &files) override;

  int32_t AddPlaylist(const Playlist &playlist) override;
  bool UpdatePlaylist(int owner, int32_t id, const Playlist &values) override;
  bool UpdatePlaylist(int owner, const std::string &old_path, const Playlist &values) override;
  bool RemovePlaylist(int owner, int32_t id) override;
  std::vector<Playlist> PlaylistsById(int owner, const std::vector<int32_t> &ids) override;
  std::optional<Playlist> PlaylistByPath(int owner, const std::string &path) override;
  std::vector<Playlist> AllPlaylists(int owner) override;
  void InTransaction(Durable durable, const std::function<void()> &work) override;

  /// What it is kept in.
  [[nodiscard]] Database &database() const { return database_; }

  void CompleteCatalog() override;
  std::vector<std::string> FindDamage() override;
  void RepairDamage() override;

protected:
  /// The database must live as long.
  explicit SqlIndex(Database &database) : database_(database) {}

  /// What a process that writes songs in batches needs otherwise.
  virtual void BeginBatches() {}
  /// Adds what is wrong with the engine's own part: its files, and search by texts.
  virtual void FindOwnDamage(std::vector<std::string> &findings) = 0;
  /// Empties what search by texts has, and builds the indexes of the tables anew.
  virtual void ClearTexts() = 0;

private:
  Database &database_;
  std::optional<Statement> playlist_by_id_; ///< prepared once: an edit looks at its row repeatedly
};

} // namespace vexo::index
