// The formula scanner: source text to tokens, each with its position.
#pragma once

#include <vector>

#include "engine/formula/formula.h"

namespace mervane::engine::formula {

enum class TokenKind {
  Number, String, Field, FormulaRef, ParameterRef, RunningTotalRef, Name,
  And, Or, Not, In, If, Then, Else, True, False, Null,
  Plus, Minus, Star, Slash, Ampersand,
  Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual,
  LeftParen, RightParen, Comma, End,
};

struct Token {
  TokenKind kind = TokenKind::End;
  Position at;
  Text text;     // String: its value; Name: as written; Field: the column; FormulaRef, RunningTotalRef: the name
  Text table;    // Field: the table
  double number = 0;
};

// The whole text as tokens, ending with an End token. Throws FormulaError.
std::vector<Token> scan(TextView source);

// How a token is called in messages: "')'", "the end of the formula", ...
Text describe(const Token& token);

}  // namespace mervane::engine::formula
