// The syntax tree of a formula and the built-in function table, shared by
// the parser, the evaluator and the SQL translation.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "engine/formula/formula.h"

namespace mervane::engine::formula {

enum class Operator {
  Negate, Not,
  Add, Subtract, Multiply, Divide, Concat,
  Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual,
  And, Or,
};

// The operator as written, for messages and SQL.
const char16_t* spelling(Operator op);

struct Function;

// What of a parameter a Parameter node reads. An In node's children are the
// value tested and the Parameter node (Whole) of the range.
enum class ParameterPart { Whole, Minimum, Maximum };

struct Node {
  enum class Kind { Literal, Field, FormulaRef, Special, Unary, Binary, Call, If, Parameter, In, RunningTotalRef };
  Kind kind;
  Position at;                 // where the node's token starts
  Value literal;               // Literal
  Text table;                  // Field
  Text name;                   // Field (column), FormulaRef, Call, Parameter, RunningTotalRef
  ParameterPart part = ParameterPart::Whole;  // Parameter
  SpecialValue special{};      // Special
  Operator op{};               // Unary, Binary
  const Function* function{};  // Call
  std::vector<std::unique_ptr<Node>> children;  // operands, arguments, or condition/then/else
  int depth = 1;               // levels of the tree below and including this node
};

// Deepest tree the parser builds; evaluation recurses once per level.
constexpr int kMaxDepth = 250;
// Longest text a formula may make, in UTF-16 code units (32 MB).
constexpr std::size_t kMaxTextLength = std::size_t{1} << 24;

struct Function {
  const char16_t* name;
  int minArguments;
  int maxArguments;
  bool nullGivesNull;  // any null argument makes the result null without a call
  Value (*call)(std::span<const Value> arguments, const Node& at);
};

// The function of that name, ignoring case; null when there is none.
const Function* findFunction(TextView name);

// Evaluates a part of a formula. Throws FormulaError.
Value evaluate(const Node& node, EvaluationContext& context);

// Throws FormulaError at the node's position.
[[noreturn]] void fail(const Node& at, const Text& problem);

}  // namespace mervane::engine::formula
