#include "smart/parser.h"

#include "smart/lexer.h"
#include "smart/vocabulary.h"
#include "text/numbers.h"
#include "text/utf8.h"
#include <algorithm>
#include <chrono>
#include <utility>

namespace vexo::smart {
namespace {

using index::Comparison;

class Parser {
public:
  explicit Parser(std::string_view text) : text_(text), lexer_(text) { Advance(); }

  SmartPlaylist ParseWhole() {
    SmartPlaylist playlist;
    playlist.name = TakeString();
    Expect(TokenKind::kOpenBrace, "expected {");
    playlist.criteria = ParseOr(0);
    playlist.order = ParseOrder();
    playlist.limit = ParseLimit();
    Expect(TokenKind::kCloseBrace, "expected and, or, order by, limit or }");
    Expect(TokenKind::kEnd, "expected nothing more");
    return playlist;
  }

private:
  [[noreturn]] void Fail(const std::string &message) const {
    if (token_.kind == TokenKind::kOpenString) {
      throw SyntaxError(token_.begin, "a string must end on its line");
    }
    throw SyntaxError(token_.begin, message);
  }

  [[nodiscard]] std::string_view TokenText() const {
    return text_.substr(token_.begin, token_.end - token_.begin);
  }
  void Advance() { token_ = lexer_.Next(); }

  bool Accept(TokenKind kind) {
    if (token_.kind != kind) {
      return false;
    }
    Advance();
    return true;
  }
  void Expect(TokenKind kind, const char *message) {
    if (!Accept(kind)) {
      Fail(message);
    }
  }
  [[nodiscard]] bool AtWord(std::string_view word) const {
    return token_.kind == TokenKind::kWord && IsWord(TokenText(), word);
  }
  bool AcceptWord(std::string_view word) {
    if (!AtWord(word)) {
      return false;
    }
    Advance();
    return true;
  }
  void ExpectWord(std::string_view word) {
    if (!AcceptWord(word)) {
      Fail("expected " + std::string(word));
    }
  }
  bool AcceptAnd() { return Accept(TokenKind::kAnd) || AcceptWord("and"); }
  bool AcceptOr() { return Accept(TokenKind::kOr) || AcceptWord("or"); }
  bool AcceptNot() { return Accept(TokenKind::kNot) || AcceptWord("not"); }

  std::string TakeString() {
    if (token_.kind != TokenKind::kString) {
      Fail("expected a string");
    }
    std::optional<std::string> value = StringValue(TokenText());
    if (!value) {
      Fail(text::IsUtf8(TokenText()) ? R"(a string has no escapes but \" and \\)"
                                     : "a string must be UTF-8");
    }
    Advance();
    return *std::move(value);
  }

  int64_t TakeInteger(int64_t largest = INT64_MAX) {
    if (token_.kind != TokenKind::kInteger) {
      Fail("expected a whole number");
    }
    const std::optional<int64_t> number = text::ParseInteger(TokenText());
    if (!number || *number > largest) {
      Fail("the number is too large");
    }
    Advance();
    return *number;
  }

  [[nodiscard]] int Deeper(int depth) const {
    if (depth == kDeepestNesting) {
      Fail("nested more than " + std::to_string(kDeepestNesting) + " deep");
    }
    return depth + 1;
  }

  /// Operands of one kind of connection, which stay side by side.
  template <typename AcceptConnection, typename ParseOperand>
  Criteria ParseConnected(Criteria::Kind kind, AcceptConnection accept, ParseOperand parse) {
    Criteria first = parse();
    if (!accept()) {
      return first;
    }
    Criteria whole;
    whole.kind = kind;
    whole.children.push_back(std::move(first));
    do {
      whole.children.push_back(parse());
    } while (accept());
    return whole;
  }

  Criteria ParseOr(int depth) {
    return ParseConnected(
        Criteria::Kind::kOr, [this] { return AcceptOr(); }, [&] { return ParseAnd(depth); });
  }
  Criteria ParseAnd(int depth) {
    return ParseConnected(
        Criteria::Kind::kAnd, [this] { return AcceptAnd(); }, [&] { return ParseOperand(depth); });
  }

  static Criteria Not(Criteria criteria) {
    Criteria negation;
    negation.kind = Criteria::Kind::kNot;
    negation.children.push_back(std::move(criteria));
    return negation;
  }

  Criteria ParseOperand(int depth) {
    if (AcceptNot()) {
      return Not(ParseOperand(Deeper(depth)));
    }
    if (!Accept(TokenKind::kOpenParenthesis)) {
      return ParsePredicate(depth);
    }
    Criteria criteria = ParseOr(Deeper(depth));
    Expect(TokenKind::kCloseParenthesis, "expected and, or or )");
    return criteria;
  }

  const FieldWord *AcceptField() {
    if (token_.kind != TokenKind::kWord) {
      return nullptr;
    }
    const auto *found = std::ranges::find_if(
        kFields, [this](const FieldWord &field) { return IsWord(TokenText(), field.word); });
    if (found == kFields.end()) {
      return nullptr;
    }
    Advance();
    return found;
  }

  Criteria ParsePredicate(int depth) {
    if (predicates_++ == kMostPredicates) {
      Fail("more than " + std::to_string(kMostPredicates) + " conditions");
    }
    const FieldWord *field = AcceptField();
    if (field == nullptr) {
      Fail("expected a field, not or (");
    }
    const bool negated = AcceptNot();
    if (negated) {
      static_cast<void>(Deeper(depth));
    }
    Criteria test = ParseTest(field->type);
    test.field = field->field;
    return negated ? Not(std::move(test)) : test;
  }

  Criteria ParseTest(FieldType type) {
    switch (type) {
    case FieldType::kNumber:
      return ParseNumberTest();
    case FieldType::kTime:
      return ParseTimeTest();
    case FieldType::kText:
      break;
    }
    return ParseTextTest();
  }

  Criteria ParseTextTest() {
    Criteria test;
    test.kind = Criteria::Kind::kText;
    if (AcceptWord("is")) {
      test.comparison = Comparison::kIs;
      if (AcceptWord("empty")) {
        return test;
      }
    } else if (AcceptWord("includes")) {
      test.comparison = Comparison::kIncludes;
    } else if (AcceptWord("starts")) {
      ExpectWord("with");
      test.comparison = Comparison::kStartsWith;
    } else if (AcceptWord("ends")) {
      ExpectWord("with");
      test.comparison = Comparison::kEndsWith;
    } else {
      Fail("expected is, includes, starts with or ends with");
    }
    test.text = TakeString();
    return test;
  }

  Criteria ParseNumberTest() {
    static constexpr std::pair<TokenKind, Comparison> kComparisons[] = {
        {TokenKind::kEqual, Comparison::kEqual},
        {TokenKind::kNotEqual, Comparison::kNotEqual},
        {TokenKind::kLess, Comparison::kLess},
        {TokenKind::kLessEqual, Comparison::kLessEqual},
        {TokenKind::kGreater, Comparison::kGreater},
        {TokenKind::kGreaterEqual, Comparison::kGreaterEqual},
    };
    const auto *found =
        std::ranges::find(kComparisons, token_.kind, &std::pair<TokenKind, Comparison>::first);
    if (found == std::end(kComparisons)) {
      Fail("expected =, !=, <, <=, > or >=");
    }
    Advance();
    Criteria test;
    test.kind = Criteria::Kind::kNumber;
    test.comparison = found->second;
    test.number = TakeInteger();
    return test;
  }

  Criteria ParseTimeTest() {
    Criteria test;
    test.kind = Criteria::Kind::kTime;
    if (AcceptWord("before")) {
      test.comparison = Comparison::kLess;
    } else if (AcceptWord("after")) {
      test.comparison = Comparison::kGreaterEqual;
    } else {
      Fail("expected before or after");
    }
    test.date = ParseDate();
    return test;
  }

  Date ParseDate() {
    Date date;
    while (token_.kind == TokenKind::kInteger) {
      static_cast<void>(Deeper(static_cast<int>(date.shifts.size())));
      Date::Shift &shift = date.shifts.emplace_back();
      shift.count = TakeInteger(kLargestCount);
      shift.unit = TakeUnit();
      const bool ago = AtWord("ago");
      if (ago || AtWord("before")) {
        shift.count = -shift.count;
      } else if (!AtWord("after")) {
        Fail("expected ago, before or after");
      }
      Advance();
      if (ago) {
        return date;
      }
    }
    ParseAnchor(date);
    return date;
  }

  Unit TakeUnit() {
    for (const UnitWords &unit : kUnits) {
      if (AcceptWord(unit.one) || AcceptWord(unit.many)) {
        return unit.unit;
      }
    }
    Fail("expected days, weeks, months or years");
  }

  void ParseAnchor(Date &date) {
    if (token_.kind == TokenKind::kDate) {
      return TakeDay(date);
    }
    for (const AnchorWords &words : kAnchors) {
      const Lexer after_first = lexer_;
      const Token first = token_;
      if (AcceptWord(words.first)) {
        if (words.second.empty() || AcceptWord(words.second)) {
          date.anchor = words.anchor;
          return;
        }
        lexer_ = after_first;
        token_ = first;
      }
    }
    Fail("expected a date");
  }

  void TakeDay(Date &date) {
    const std::string_view text = TokenText();
    const auto number = [&](std::size_t begin, std::size_t length) {
      return static_cast<int>(text::ParseInteger(text.substr(begin, length)).value_or(0));
    };
    date.anchor = Date::Anchor::kDay;
    date.year = number(0, 4);
    date.month = number(5, 2);
    date.day = number(8, 2);
    const std::chrono::year_month_day day{std::chrono::year(date.year),
                                          std::chrono::month(static_cast<unsigned>(date.month)),
                                          std::chrono::day(static_cast<unsigned>(date.day))};
    if (!day.ok()) {
      Fail("there is no such day");
    }
    Advance();
  }

  std::optional<Order> ParseOrder() {
    if (!AcceptWord("order")) {
      return std::nullopt;
    }
    ExpectWord("by");
    Order order;
    if (!AcceptWord("random")) {
      const FieldWord *field = AcceptField();
      if (field == nullptr) {
        Fail("expected a field or random");
      }
      order.field = field->field;
    }
    order.ascending = !AcceptWord("desc");
    if (order.ascending) {
      AcceptWord("asc");
    }
    return order;
  }

  std::optional<int64_t> ParseLimit() {
    return AcceptWord("limit") ? std::optional(TakeInteger()) : std::nullopt;
  }

  std::string_view text_;
  Lexer lexer_;
  Token token_;
  int predicates_ = 0;
};

} // namespace

SmartPlaylist ParsePlaylist(std::string_view text) { return Parser(text).ParseWhole(); }

} // namespace vexo::smart
