#pragma once
// The tokens of rule files. Any bytes can be cut into tokens: what no rule may hold is a token too.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vexo::smart {

enum class TokenKind {
  kEnd,
  kString,     ///< with its quotes
  kOpenString, ///< a string that does not end on its line
  kWord,       ///< letters, digits and '_', no digit first
  kInteger,
  kDate, ///< YYYY-MM-DD
  kOpenBrace,
  kCloseBrace,
  kOpenParenthesis,
  kCloseParenthesis,
  kAnd,
  kOr,
  kNot,
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual,
  kUnknown, ///< one byte
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::size_t begin = 0, end = 0; ///< byte offsets into the text
  bool starts_line = false;       ///< nothing but blanks stands before it on its line
};

/// Gives the tokens of a text in order, without blanks and comments. Copies are cheap: a copy looks
/// ahead.
class Lexer {
public:
  /// Begins at the byte offset `begin`. `text` must outlive the lexer.
  explicit Lexer(std::string_view text, std::size_t begin = 0) : text_(text), at_(begin) {}
  Token Next();

private:
  void SkipBlanks();
  [[nodiscard]] Token Cut(TokenKind kind, std::size_t length);
  Token CutString();
  Token CutNumber();
  Token CutSign();

  std::string_view text_;
  std::size_t at_;
  bool starts_line_ = true;
};

/// The value of a string token, `quoted` being the token with its quotes; nothing when it has an
/// escape other than \" and \\, or is not UTF-8.
std::optional<std::string> StringValue(std::string_view quoted);

/// `value` as a string token. It must hold no line break.
std::string QuoteString(std::string_view value);

/// Whether `word`, in any letter case, is the word `lower_case`.
bool IsWord(std::string_view word, std::string_view lower_case);

} // namespace vexo::smart
