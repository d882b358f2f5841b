#include "index/postgres_texts.h"
#include "index/words.h"

#include "text/case_folding.h"
#include "text/utf8.h"

namespace vexo::index {
namespace {

/// Whose texts they are.
enum class Kind : int64_t { kSong, kTitle, kGroup, kGroupArtist };

/// What the server takes as text.
std::string ForServer(std::string text) {
  std::string valid = text::ToValidUtf8(std::move(text));
  constexpr std::string_view kReplacement = "\xef\xbf\xbd";
  for (std::size_t nul = valid.find('\0'); nul != std::string::npos; nul = valid.find('\0')) {
    valid.replace(nul, 1, kReplacement);
  }
  return valid;
}

/// The pattern of LIKE for texts that hold this one.
std::string Pattern(const std::string &part) {
  std::string pattern = "%";
  for (const char c : part) {
    if (c == '%' || c == '_' || c == '\\') {
      pattern += '\\';
    }
    pattern += c;
  }
  return pattern + '%';
}

class PostgresTextWriter : public TextWriter {
public:
  explicit PostgresTextWriter(Database &database)
      : add_(database, "INSERT INTO texts VALUES(?1, ?2, convert_from(?3, 'UTF8'))"),
        remove_(database, "DELETE FROM texts WHERE kind = ?1 AND id = ?2") {}

  void AddSong(const Song &song) override {
    // Which of the columns has the keyword, the folded columns tell.
    Add(Kind::kSong, song.id,
        text::FoldCase(song.title + '\n' + song.artist + '\n' + song.album + '\n' + song.genre));
  }
  void RemoveSong(const Song &song) override { Remove(Kind::kSong, song.id); }
  void AddTitle(int32_t song, std::string_view title) override {
    Add(Kind::kTitle, song, MarkedText(title));
  }
  void RemoveTitle(int32_t song, std::string_view) override { Remove(Kind::kTitle, song); }
  void AddGroup(int32_t group, std::string_view name, std::string_view artist) override {
    Add(Kind::kGroup, group, MarkedText(name));
    Add(Kind::kGroupArtist, group, MarkedText(artist));
  }
  void RemoveGroup(int32_t group, std::string_view, std::string_view) override {
    Remove(Kind::kGroup, group);
    Remove(Kind::kGroupArtist, group);
  }
  void Flush() override {}

private:
  Statement &BindKey(Statement &statement, Kind kind, int32_t id) {
    return statement.Bind(1, static_cast<int64_t>(kind)).Bind(2, int64_t{id});
  }
  void Add(Kind kind, int32_t id, std::string text) {
    if (!text.empty()) {
      const std::string valid = ForServer(std::move(text));
      BindKey(add_, kind, id).Bind(3, valid).Run();
    }
  }
  void Remove(Kind kind, int32_t id) { BindKey(remove_, kind, id).Run(); }

  Statement add_, remove_;
};

IdSet TextsLike(Database &database, const std::string &kinds, const std::string &word) {
  Statement statement(database, "SELECT id FROM texts WHERE kind IN (" + kinds +
                                    ") AND text LIKE convert_from(?1, 'UTF8')");
  return ToSet(ReadIds(statement.Bind(1, Pattern(MarkedWord(word)))));
}

std::string Number(Kind kind) { return std::to_string(static_cast<int64_t>(kind)); }

} // namespace

std::unique_ptr<TextWriter> PostgresTexts::MakeWriter(ListWriter &) {
  return std::make_unique<PostgresTextWriter>(database_);
}

std::vector<IdSet> PostgresTexts::SongsWithWords(const std::vector<std::string> &words) {
  std::vector<IdSet> found;
  found.reserve(words.size());
  for (const std::string &word : words) {
    found.push_back(TextsLike(database_, Number(Kind::kTitle), word));
  }
  return found;
}

IdSet PostgresTexts::GroupsWithWord(const std::string &word, bool with_artist) {
  return TextsLike(database_,
                   Number(Kind::kGroup) + (with_artist ? ", " + Number(Kind::kGroupArtist) : ""),
                   word);
}

KeywordCondition PostgresTexts::WithKeyword(const char *column, const std::string &folded) {
  if (!HasTrigram(folded) || folded.find('\0') != std::string::npos) {
    return {"owner = ?1 AND " + HoldsKeyword(database_.dialect(), column, "?2"), {folded}};
  }
  return {"id IN (SELECT id FROM texts WHERE kind = " + Number(Kind::kSong) +
              " AND text LIKE convert_from(?2, 'UTF8')) AND +owner = ?1 AND " +
              HoldsKeyword(database_.dialect(), column, "?3"),
          {Pattern(folded), folded}};
}

} // namespace vexo::index
