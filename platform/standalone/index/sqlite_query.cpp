#include "index/sqlite_query.h"
#include "index/sqlite_rows.h"
#include "text/text.h"

#include <algorithm>
#include <array>
#include <span>

namespace vexo::index {
namespace {

struct Column {
  Field field;
  const char *name; ///< what clients sort by
  const char *expression;
};

constexpr std::array kColumns = {
    Column{Field::kTitle, "title", "fold(title)"},
    Column{Field::kArtist, "artist", "fold(artist)"},
    Column{Field::kAlbum, "album", "fold(album)"},
    Column{Field::kAlbumArtist, "album_artist", "fold(album_artist)"},
    Column{Field::kGenre, "genre", "fold(genre)"},
    Column{Field::kComposer, "composer", "fold(composer)"},
    Column{Field::kComment, "comment", "fold(comment)"},
    Column{Field::kPath, "path", "fold(path)"},
    Column{Field::kType, "type", "fold(type)"},
    Column{Field::kYear, "year", "year"},
    Column{Field::kTrack, "track", "track"},
    Column{Field::kDisc, "disc", "disc"},
    Column{Field::kBitrate, "bitrate", "bitrate"},
    Column{Field::kSampleRate, "sample_rate", "sample_rate"},
    Column{Field::kChannels, "channels", "channels"},
    Column{Field::kSongLength, "duration", "CAST(duration AS INTEGER)"},
    Column{Field::kFileSize, "size", "size"},
    Column{Field::kRating, "rating", "rating"},
    Column{Field::kPlayCount, "play_count", "play_count"},
    Column{Field::kCompilation, "compilation", "compilation"},
    Column{Field::kTimeAdded, "time_added", "time_added"},
    Column{Field::kTimeModified, "time_modified", "time_modified"},
};

const char *Expression(Field field) {
  return std::find_if(kColumns.begin(), kColumns.end(),
                      [&](const Column &column) { return column.field == field; })
      ->expression;
}

/// Translates conditions. SQLite's parser takes some twenty nested parentheses, rules may have
/// more: a condition that lies deeper becomes a column of a query of its own, which the next one
/// reads.
class ConditionTranslator {
public:
  explicit ConditionTranslator(int owner) {
    source_ = "SELECT * FROM songs WHERE songs.owner = " + Parameter(int64_t{owner});
  }

  SqlText Finish(const std::optional<Condition> &where, const SongQuery &query);

private:
  static constexpr int kDeepest = 8;

  std::string Parameter(std::variant<int64_t, std::string> value) {
    text_.parameters.push_back(std::move(value));
    return "?" + std::to_string(text_.parameters.size());
  }

  std::string Translate(const Condition &condition, int depth);
  std::string TranslateJunction(const Condition &condition, int depth);
  std::string TranslateTest(const Condition &test);
  std::string TranslateTextTest(const std::string &column, const Condition &test);
  std::string TranslateNumberTest(const std::string &column, const Condition &test);
  std::string AsColumn(const std::string &condition);

  SqlText text_;
  std::string source_;
  int columns_ = 0;
};

std::string ConditionTranslator::AsColumn(const std::string &condition) {
  const std::string name = "condition" + std::to_string(++columns_);
  text_.sql += (columns_ == 1 ? "WITH " : ", ") + ("step" + std::to_string(columns_)) + " AS (" +
               source_ + ")";
  source_ = "SELECT *, (" + condition + ") AS " + name + " FROM step" + std::to_string(columns_);
  return name;
}

std::string ConditionTranslator::Translate(const Condition &condition, int depth) {
  if (condition.kind == Condition::Kind::kTest) {
    return TranslateTest(condition);
  }
  if (depth == kDeepest) {
    return AsColumn(Translate(condition, 0));
  }
  if (condition.kind == Condition::Kind::kNot) {
    return "NOT " + Translate(condition.children.at(0), depth + 1);
  }
  return TranslateJunction(condition, depth);
}

/// Joins by halves, as SQLite also bounds the depth of an expression: a AND b AND c ... is as deep
/// as it is long.
std::string JoinBalanced(std::span<const std::string> terms, const char *word) {
  if (terms.size() == 1) {
    return terms.front();
  }
  const std::size_t half = terms.size() / 2;
  return "(" + JoinBalanced(terms.first(half), word) + word +
         JoinBalanced(terms.subspan(half), word) + ")";
}

std::string ConditionTranslator::TranslateJunction(const Condition &condition, int depth) {
  const bool all = condition.kind == Condition::Kind::kAnd;
  if (condition.children.empty()) {
    return all ? "1" : "0";
  }
  std::vector<std::string> terms;
  for (const Condition &child : condition.children) {
    terms.push_back(Translate(child, depth + 1));
  }
  return JoinBalanced(terms, all ? " AND " : " OR ");
}

std::string ConditionTranslator::TranslateTest(const Condition &test) {
  const std::string column = Expression(test.field);
  return test.comparison <= Comparison::kEndsWith ? TranslateTextTest(column, test)
                                                  : TranslateNumberTest(column, test);
}

std::string ConditionTranslator::TranslateTextTest(const std::string &column,
                                                   const Condition &test) {
  if (test.text.empty() && test.comparison != Comparison::kIs) {
    return "1";
  }
  const std::string text = Parameter(text::FoldCase(test.text));
  switch (test.comparison) {
  case Comparison::kIncludes:
    return "instr(" + column + ", " + text + ")";
  case Comparison::kStartsWith:
    return "substr(" + column + ", 1, length(" + text + ")) = " + text;
  case Comparison::kEndsWith:
    return "substr(" + column + ", -length(" + text + ")) = " + text;
  default:
    return column + " = " + text;
  }
}

std::string ConditionTranslator::TranslateNumberTest(const std::string &column,
                                                     const Condition &test) {
  constexpr std::array kOperators = {" = ", " <> ", " < ", " <= ", " > ", " >= "};
  const auto position =
      static_cast<std::size_t>(test.comparison) - static_cast<std::size_t>(Comparison::kEqual);
  return column + kOperators.at(position) + Parameter(test.number);
}

SqlText ConditionTranslator::Finish(const std::optional<Condition> &where, const SongQuery &query) {
  const std::string condition = where ? Translate(*where, 0) : "1";
  const std::string limit =
      " LIMIT " + (query.limit > 0 ? Parameter(query.limit) : std::string("-1"));
  std::string rest = " FROM (" + source_ + ") AS songs WHERE " + condition;
  if (query.random) {
    text_.sql += "SELECT " VEXO_SONG_COLUMNS " FROM songs WHERE id IN (SELECT id" + rest +
                 " ORDER BY random()" + limit + ")";
    return std::move(text_);
  }
  const std::string order =
      query.order ? Expression(*query.order) + std::string(query.ascending ? ", " : " DESC, ") : "";
  text_.sql += "SELECT " VEXO_SONG_COLUMNS + rest + " ORDER BY " + order + "id" + limit;
  return std::move(text_);
}

} // namespace

SqlText TranslateQuery(int owner, const SongQuery &query) {
  return ConditionTranslator(owner).Finish(query.where, query);
}

void BindAll(Statement &statement, const SqlText &text) {
  int parameter = 1;
  for (const auto &value : text.parameters) {
    if (const auto *number = std::get_if<int64_t>(&value)) {
      statement.Bind(parameter++, *number);
    } else {
      statement.Bind(parameter++, std::get<std::string>(value));
    }
  }
}

std::string SortExpression(const std::string &name) {
  const auto column = std::find_if(kColumns.begin(), kColumns.end(),
                                   [&](const Column &c) { return c.name == name; });
  return column == kColumns.end() ? Expression(Field::kAlbum) : column->expression;
}

} // namespace vexo::index
