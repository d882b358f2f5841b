#include "smart/lexer.h"

#include "text/utf8.h"
#include <algorithm>

namespace vexo::smart {
namespace {

// Of ASCII only, whatever the locale.
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool BeginsWord(char c) { return (LowerCase(c) >= 'a' && LowerCase(c) <= 'z') || c == '_'; }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
bool IsLineBreak(char c) { return c == '\n' || c == '\r'; }

bool LooksLikeDate(std::string_view text) {
  constexpr std::string_view kShape = "0000-00-00";
  if (text.size() < kShape.size() ||
      (text.size() > kShape.size() && IsDigit(text[kShape.size()]))) {
    return false;
  }
  for (std::size_t i = 0; i < kShape.size(); ++i) {
    if (kShape[i] == '-' ? text[i] != '-' : !IsDigit(text[i])) {
      return false;
    }
  }
  return true;
}

struct Sign {
  std::string_view text;
  TokenKind kind;
};

// Longest first: `<=` before `<`.
constexpr Sign kSigns[] = {
    {"{", TokenKind::kOpenBrace},
    {"}", TokenKind::kCloseBrace},
    {"(", TokenKind::kOpenParenthesis},
    {")", TokenKind::kCloseParenthesis},
    {"&&", TokenKind::kAnd},
    {"||", TokenKind::kOr},
    {"!=", TokenKind::kNotEqual},
    {"!", TokenKind::kNot},
    {"<=", TokenKind::kLessEqual},
    {"<", TokenKind::kLess},
    {">=", TokenKind::kGreaterEqual},
    {">", TokenKind::kGreater},
    {"=", TokenKind::kEqual},
};

} // namespace

void Lexer::SkipBlanks() {
  for (; at_ < text_.size(); ++at_) {
    const char c = text_[at_];
    if (IsLineBreak(c)) {
      starts_line_ = true;
    } else if (c == '#') {
      at_ = std::min(text_.find('\n', at_), text_.size()) - 1;
    } else if (!IsBlank(c)) {
      return;
    }
  }
}

Token Lexer::Cut(TokenKind kind, std::size_t length) {
  const Token token{kind, at_, at_ + length, starts_line_};
  at_ += length;
  starts_line_ = false;
  return token;
}

Token Lexer::CutString() {
  for (std::size_t i = at_ + 1; i < text_.size() && !IsLineBreak(text_[i]); ++i) {
    if (text_[i] == '"') {
      return Cut(TokenKind::kString, i + 1 - at_);
    }
    if (text_[i] == '\\' && i + 1 < text_.size() && !IsLineBreak(text_[i + 1])) {
      ++i;
    }
  }
  return Cut(TokenKind::kOpenString,
             std::min(text_.find_first_of("\r\n", at_), text_.size()) - at_);
}

Token Lexer::CutNumber() {
  if (LooksLikeDate(text_.substr(at_, 11))) {
    return Cut(TokenKind::kDate, 10);
  }
  std::size_t end = at_;
  while (end < text_.size() && IsDigit(text_[end])) {
    ++end;
  }
  return Cut(TokenKind::kInteger, end - at_);
}

Token Lexer::CutSign() {
  for (const Sign &sign : kSigns) {
    if (text_.substr(at_, sign.text.size()) == sign.text) {
      return Cut(sign.kind, sign.text.size());
    }
  }
  return Cut(TokenKind::kUnknown, 1);
}

Token Lexer::Next() {
  SkipBlanks();
  if (at_ == text_.size()) {
    return Cut(TokenKind::kEnd, 0);
  }
  const char c = text_[at_];
  if (c == '"') {
    return CutString();
  }
  if (IsDigit(c)) {
    return CutNumber();
  }
  if (!BeginsWord(c)) {
    return CutSign();
  }
  std::size_t end = at_;
  while (end < text_.size() && (BeginsWord(text_[end]) || IsDigit(text_[end]))) {
    ++end;
  }
  return Cut(TokenKind::kWord, end - at_);
}

std::optional<std::string> StringValue(std::string_view quoted) {
  const std::string_view raw = quoted.substr(1, quoted.size() - 2);
  std::string value;
  value.reserve(raw.size());
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == '\\') {
      ++i;
      if (raw[i] != '"' && raw[i] != '\\') {
        return std::nullopt;
      }
    }
    value += raw[i];
  }
  return text::IsUtf8(value) ? std::optional(std::move(value)) : std::nullopt;
}

std::string QuoteString(std::string_view value) {
  std::string quoted = "\"";
  for (const char c : value) {
    if (c == '"' || c == '\\') {
      quoted += '\\';
    }
    quoted += c;
  }
  return quoted += '"';
}

bool IsWord(std::string_view word, std::string_view lower_case) {
  return std::ranges::equal(word, lower_case, {}, LowerCase);
}

} // namespace vexo::smart
