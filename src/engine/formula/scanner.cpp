// The formula scanner. One pass over the text; positions count lines and
// UTF-16 code units from 1.
#include "engine/formula/scanner.h"

#include <charconv>
#include <cmath>

namespace mervane::engine::formula {
namespace {

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
// Names are letters of any script, digits and '_'; everything beyond ASCII
// counts as a letter.
bool isNameStart(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c >= 0x80; }
bool isNameChar(char16_t c) { return isNameStart(c) || isDigit(c); }

struct Keyword {
  const char16_t* text;
  TokenKind kind;
};
const Keyword kKeywords[] = {
    {u"and", TokenKind::And},   {u"or", TokenKind::Or},     {u"not", TokenKind::Not},
    {u"if", TokenKind::If},     {u"then", TokenKind::Then}, {u"else", TokenKind::Else},
    {u"true", TokenKind::True}, {u"false", TokenKind::False}, {u"null", TokenKind::Null},
    {u"in", TokenKind::In},
};

class Scanner {
 public:
  explicit Scanner(TextView source) : source_(source) {}

  std::vector<Token> run() {
    std::vector<Token> tokens;
    for (;;) {
      skipBlanks();
      Token token;
      token.at = here_;
      if (offset_ >= source_.size()) {
        tokens.push_back(token);
        return tokens;
      }
      char16_t c = source_[offset_];
      if (isDigit(c) || (c == u'.' && offset_ + 1 < source_.size() && isDigit(source_[offset_ + 1]))) {
        number(token);
      } else if (isNameStart(c)) {
        name(token);
      } else if (c == u'"' || c == u'\'') {
        string(token, c);
      } else if (c == u'{') {
        reference(token);
      } else {
        symbol(token, c);
      }
      tokens.push_back(std::move(token));
    }
  }

 private:
  char16_t peek(std::size_t ahead = 0) const {
    return offset_ + ahead < source_.size() ? source_[offset_ + ahead] : u'\0';
  }
  bool atEnd() const { return offset_ >= source_.size(); }

  void advance() {
    if (source_[offset_] == u'\n') {
      ++here_.line;
      here_.column = 1;
    } else {
      ++here_.column;
    }
    ++offset_;
  }

  void skipBlanks() {
    while (!atEnd() && (peek() == u' ' || peek() == u'\t' || peek() == u'\r' || peek() == u'\n')) advance();
  }

  void number(Token& token) {
    std::string digits;
    while (!atEnd() && isDigit(peek())) {
      digits += static_cast<char>(peek());
      advance();
    }
    if (peek() == u'.' && isDigit(peek(1))) {
      digits += '.';
      advance();
      while (!atEnd() && isDigit(peek())) {
        digits += static_cast<char>(peek());
        advance();
      }
    }
    if (digits.front() == '.') digits.insert(digits.begin(), '0');
    auto result = std::from_chars(digits.data(), digits.data() + digits.size(), token.number);
    if (result.ec != std::errc() || !std::isfinite(token.number)) throw FormulaError(token.at, u"The number is too large");
    token.kind = TokenKind::Number;
  }

  void name(Token& token) {
    std::size_t start = offset_;
    while (!atEnd() && isNameChar(peek())) advance();
    token.text = Text(source_.substr(start, offset_ - start));
    token.kind = TokenKind::Name;
    for (const Keyword& keyword : kKeywords) {
      if (equalsNoCase(token.text, keyword.text)) token.kind = keyword.kind;
    }
  }

  void string(Token& token, char16_t quote) {
    advance();
    for (;;) {
      if (atEnd()) throw FormulaError(token.at, u"This text has no closing quote");
      if (peek() == quote) {
        advance();
        if (peek() != quote) break;
      }
      token.text += peek();
      advance();
    }
    token.kind = TokenKind::String;
  }

  // {Table.Column}, {@Name}, {?Name} or {#Name}; see formula.h for the escapes.
  void reference(Token& token) {
    advance();
    const bool isParameter = peek() == u'?';
    const bool isTotal = peek() == u'#';
    bool isFormula = peek() == u'@' || isParameter || isTotal;
    if (isFormula) advance();
    Text part;
    bool separated = false;
    for (;;) {
      if (atEnd()) throw FormulaError(token.at, u"This reference has no closing '}'");
      char16_t c = peek();
      if (c == u'}' && peek(1) == u'}') {
        part += u'}';
        advance();
      } else if (c == u'}') {
        advance();
        break;
      } else if (c == u'.' && !isFormula && peek(1) == u'.') {
        part += u'.';
        advance();
      } else if (c == u'.' && !isFormula && !separated) {
        token.table = std::move(part);
        part.clear();
        separated = true;
      } else {
        part += c;
      }
      advance();
    }
    token.text = std::move(part);
    if (isParameter) {
      if (token.text.empty()) throw FormulaError(token.at, u"Expected a parameter name after '{?'");
      token.kind = TokenKind::ParameterRef;
      return;
    }
    if (isTotal) {
      if (token.text.empty()) throw FormulaError(token.at, u"Expected a running total's name after '{#'");
      token.kind = TokenKind::RunningTotalRef;
      return;
    }
    if (isFormula) {
      if (token.text.empty()) throw FormulaError(token.at, u"Expected a formula name after '{@'");
      token.kind = TokenKind::FormulaRef;
      return;
    }
    if (!separated) throw FormulaError(token.at, u"Expected a field as {Table.Column}");
    if (token.table.empty() || token.text.empty()) {
      throw FormulaError(token.at, u"A field needs both a table and a column, as {Table.Column}");
    }
    token.kind = TokenKind::Field;
  }

  void symbol(Token& token, char16_t c) {
    advance();
    switch (c) {
      case u'+': token.kind = TokenKind::Plus; return;
      case u'-': token.kind = TokenKind::Minus; return;
      case u'*': token.kind = TokenKind::Star; return;
      case u'/': token.kind = TokenKind::Slash; return;
      case u'&': token.kind = TokenKind::Ampersand; return;
      case u'=': token.kind = TokenKind::Equal; return;
      case u'(': token.kind = TokenKind::LeftParen; return;
      case u')': token.kind = TokenKind::RightParen; return;
      case u',': token.kind = TokenKind::Comma; return;
      case u'<':
        token.kind = TokenKind::Less;
        if (peek() == u'>') token.kind = TokenKind::NotEqual;
        if (peek() == u'=') token.kind = TokenKind::LessEqual;
        if (token.kind != TokenKind::Less) advance();
        return;
      case u'>':
        token.kind = TokenKind::Greater;
        if (peek() == u'=') {
          token.kind = TokenKind::GreaterEqual;
          advance();
        }
        return;
      default: break;
    }
    Text problem = u"Unexpected character '";
    problem += c;
    problem += u"'";
    throw FormulaError(token.at, problem);
  }

  TextView source_;
  std::size_t offset_ = 0;
  Position here_;
};

}  // namespace

std::vector<Token> scan(TextView source) { return Scanner(source).run(); }

Text describe(const Token& token) {
  switch (token.kind) {
    case TokenKind::End: return u"the end of the formula";
    case TokenKind::Number: return u"a number";
    case TokenKind::String: return u"a text";
    case TokenKind::Field: return u"a field";
    case TokenKind::FormulaRef: return u"a formula";
    case TokenKind::ParameterRef: return u"a parameter";
    case TokenKind::In: return u"'in'";
    case TokenKind::RunningTotalRef: return u"a running total";
    case TokenKind::Name: return u"'" + token.text + u"'";
    case TokenKind::And: return u"'and'";
    case TokenKind::Or: return u"'or'";
    case TokenKind::Not: return u"'not'";
    case TokenKind::If: return u"'if'";
    case TokenKind::Then: return u"'then'";
    case TokenKind::Else: return u"'else'";
    case TokenKind::True: return u"'true'";
    case TokenKind::False: return u"'false'";
    case TokenKind::Null: return u"'null'";
    case TokenKind::Plus: return u"'+'";
    case TokenKind::Minus: return u"'-'";
    case TokenKind::Star: return u"'*'";
    case TokenKind::Slash: return u"'/'";
    case TokenKind::Ampersand: return u"'&'";
    case TokenKind::Equal: return u"'='";
    case TokenKind::NotEqual: return u"'<>'";
    case TokenKind::Less: return u"'<'";
    case TokenKind::LessEqual: return u"'<='";
    case TokenKind::Greater: return u"'>'";
    case TokenKind::GreaterEqual: return u"'>='";
    case TokenKind::LeftParen: return u"'('";
    case TokenKind::RightParen: return u"')'";
    case TokenKind::Comma: return u"','";
  }
  return u"a token";
}

}  // namespace mervane::engine::formula
