#include "index/query.h"
#include "index/rows.h"
#include "text/case_folding.h"

#include <algorithm>
#include <array>
#include <span>

namespace vexo::index {
namespace {

struct Column {
  Field field;
  const char *name; ///< what clients sort by
  bool is_text = false;
};

constexpr std::array kColumns = {
    Column{Field::kTitle, "title", true},     Column{Field::kArtist, "artist", true},
    Column{Field::kAlbum, "album", true},     Column{Field::kAlbumArtist, "album_artist", true},
    Column{Field::kGenre, "genre", true},     Column{Field::kComposer, "composer", true},
    Column{Field::kComment, "comment", true}, Column{Field::kPath, "path", true},
    Column{Field::kType, "type", true},       Column{Field::kYear, "year"},
    Column{Field::kTrack, "track"},           Column{Field::kDisc, "disc"},
    Column{Field::kBitrate, "bitrate"},       Column{Field::kSampleRate, "sample_rate"},
    Column{Field::kChannels, "channels"},     Column{Field::kSongLength, "duration"},
    Column{Field::kFileSize, "size"},         Column{Field::kRating, "rating"},
    Column{Field::kPlayCount, "play_count"},  Column{Field::kCompilation, "compilation"},
    Column{Field::kTimeAdded, "time_added"},  Column{Field::kTimeModified, "time_modified"},
};

std::string ColumnExpression(const Dialect &dialect, const Column &column) {
  if (column.field == Field::kSongLength) {
    return dialect.whole_seconds;
  }
  return column.is_text ? dialect.folded(column.name) : column.name;
}

std::string ColumnExpression(const Dialect &dialect, Field field) {
  return ColumnExpression(
      dialect, *std::find_if(kColumns.begin(), kColumns.end(),
                             [&](const Column &column) { return column.field == field; }));
}

/// A condition in SQL, and how deep its parentheses nest.
struct Expression {
  std::string sql;
  int depth = 0;
};

/// Translates conditions. SQLite's parser takes some twenty nested parentheses, rules may have
/// more: a condition that lies deeper becomes a column of a query of its own, which the next one
/// reads.
class ConditionTranslator {
public:
  ConditionTranslator(const Dialect &dialect, int owner, int user, bool with_shared)
      : dialect_(dialect), user_(user) {
    source_ = "SELECT * FROM songs WHERE songs.owner IN (" + Parameter(int64_t{owner}) +
              (with_shared ? ", 0)" : ")");
  }

  SqlText Finish(const SongQuery &query);

private:
  static constexpr int kDeepest = 12;

  std::string Parameter(std::variant<int64_t, std::string> value) {
    text_.parameters.push_back(std::move(value));
    return "?" + std::to_string(text_.parameters.size());
  }

  Expression Translate(const Condition &condition);
  Expression Negate(const Condition &condition);
  Expression Join(std::vector<Expression> terms, const char *word);
  Expression JoinFew(std::span<const Expression> terms, const char *word);
  std::string TranslateTest(const Condition &test);
  std::string TranslateTextTest(const std::string &column, const Condition &test);
  std::string TranslateNumberTest(const std::string &column, const Condition &test);
  Expression Shallow(Expression expression);

  /// What stands for a field: of rating and play count, the user's mark.
  std::string ColumnOf(Field field);

  const Dialect &dialect_;
  int user_; ///< 0: nobody
  std::string user_parameter_;
  SqlText text_;
  std::string source_;
  int columns_ = 0;
};

/// `expression`, or, at maximum depth, the subquery column that now holds its value.
Expression ConditionTranslator::Shallow(Expression expression) {
  if (expression.depth < kDeepest) {
    return expression;
  }
  const std::string number = std::to_string(++columns_);
  text_.sql += (columns_ == 1 ? "WITH step" : ", step") + number + " AS (" + source_ + ")";
  source_ = "SELECT *, (" + expression.sql + ") AS condition" + number + " FROM step" + number;
  return {"condition" + number, 0};
}

Expression ConditionTranslator::Translate(const Condition &condition) {
  if (condition.kind == Condition::Kind::kTest) {
    constexpr int kDepthOfTest = 3; // of one that reads a mark
    return {TranslateTest(condition), kDepthOfTest};
  }
  if (condition.kind == Condition::Kind::kNot) {
    return Negate(condition.children.at(0));
  }
  const bool all = condition.kind == Condition::Kind::kAnd;
  std::vector<Expression> terms;
  for (const Condition &child : condition.children) {
    terms.push_back(Translate(child));
  }
  return terms.empty() ? Expression{all ? "TRUE" : "FALSE"}
                       : Join(std::move(terms), all ? " AND " : " OR ");
}

Expression ConditionTranslator::Negate(const Condition &condition) {
  const Expression inner = Shallow(Translate(condition));
  return {"NOT (" + inner.sql + ")", inner.depth + 1};
}

/// Joins any number of terms. SQLite bounds the depth of an expression, and a AND b AND c ... is as
/// deep as it is long: many terms are joined in groups, and the groups again.
Expression ConditionTranslator::Join(std::vector<Expression> terms, const char *word) {
  constexpr std::size_t kGroup = 50;
  while (terms.size() > 1) {
    std::vector<Expression> groups;
    for (std::size_t begin = 0; begin < terms.size(); begin += kGroup) {
      const std::size_t size = std::min(kGroup, terms.size() - begin);
      groups.push_back(JoinFew(std::span(terms).subspan(begin, size), word));
    }
    terms = std::move(groups);
  }
  return terms.front();
}

Expression ConditionTranslator::JoinFew(std::span<const Expression> terms, const char *word) {
  Expression joined;
  for (const Expression &term : terms) {
    const Expression shallow = Shallow(term);
    joined.sql += joined.sql.empty() ? "(" : word;
    joined.sql += shallow.sql;
    joined.depth = std::max(joined.depth, shallow.depth + 1);
  }
  joined.sql += ")";
  return joined;
}

std::string ConditionTranslator::ColumnOf(Field field) {
  std::string column = ColumnExpression(dialect_, field);
  if (user_ == 0 || (field != Field::kRating && field != Field::kPlayCount)) {
    return column;
  }
  if (user_parameter_.empty()) {
    user_parameter_ = Parameter(int64_t{user_});
  }
  // A song's id is the only column of that name where this stands.
  return "coalesce((SELECT mark." + column +
         " FROM song_marks AS mark WHERE mark.\"user\" = " + user_parameter_ +
         " AND mark.song = id), " + column + ")";
}

std::string ConditionTranslator::TranslateTest(const Condition &test) {
  const std::string column = ColumnOf(test.field);
  return test.comparison <= Comparison::kEndsWith ? TranslateTextTest(column, test)
                                                  : TranslateNumberTest(column, test);
}

std::string ConditionTranslator::TranslateTextTest(const std::string &column,
                                                   const Condition &test) {
  if (test.text.empty() && test.comparison != Comparison::kIs) {
    return "TRUE";
  }
  const std::string text = Parameter(text::FoldCase(test.text));
  switch (test.comparison) {
  case Comparison::kIncludes:
    return dialect_.contains(column, text);
  case Comparison::kStartsWith:
    return "substr(" + column + ", 1, length(" + text + ")) = " + text;
  case Comparison::kEndsWith:
    return dialect_.ends_with(column, text);
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

SqlText ConditionTranslator::Finish(const SongQuery &query) {
  const std::string condition = query.where ? Translate(*query.where).sql : "TRUE";
  const std::string limit = " LIMIT " + Parameter(query.limit > 0 ? query.limit : kNoLimit) +
                            (query.offset > 0 ? " OFFSET " + Parameter(query.offset) : "");
  const std::string matches = " FROM (" + source_ + ") AS songs WHERE " + condition;
  const std::string columns = "SELECT " VEXO_SONG_COLUMNS;
  if (query.random) {
    text_.sql += columns + " FROM songs WHERE id IN (SELECT id" + matches + " ORDER BY random()" +
                 limit + ")";
  } else {
    const std::string direction = query.ascending ? ", " : " DESC, ";
    const std::string order = query.order ? ColumnOf(*query.order) + direction : "";
    text_.sql += columns + matches + " ORDER BY " + order + "id" + limit;
  }
  return std::move(text_);
}

} // namespace

SqlText TranslateQuery(const Dialect &dialect, int owner, const SongQuery &query) {
  return ConditionTranslator(dialect, owner, query.user, query.with_shared).Finish(query);
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

std::string SortExpression(const Dialect &dialect, const std::string &name) {
  const auto column = std::find_if(kColumns.begin(), kColumns.end(),
                                   [&](const Column &c) { return c.name == name; });
  return column == kColumns.end() ? ColumnExpression(dialect, Field::kAlbum)
                                  : ColumnExpression(dialect, *column);
}

} // namespace vexo::index
