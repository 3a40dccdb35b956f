// The formula evaluator: walks the syntax tree for the current record,
// applying the type and null rules of formula.h.
#include <cmath>
#include <vector>

#include "engine/formula/syntax.h"
#include "engine/formula/value_order.h"

namespace mervane::engine::formula {
namespace {

// Formulas may use formulas that use formulas; a longer chain than this is
// taken for a mistake.
constexpr std::size_t kMaxFormulaChain = 32;
// Levels of evaluation across all formulas of a chain, so that the stack
// stays small on every thread.
constexpr int kMaxEvaluationDepth = 4 * kMaxDepth;

Text kindsOf(const Value& left, const Value& right) {
  return ascii(describe(left.kind())) + u" and " + ascii(describe(right.kind()));
}

double finite(double number, const Node& at) {
  if (!std::isfinite(number)) fail(at, u"The result is too large for a number");
  return number;
}

Value dateOrFail(double days, const Node& at) {
  if (!inCalendar(days)) fail(at, u"The date falls outside the years 100 to 9999");
  return DateTime{days};
}

// -1, 0 or 1; the operands must be of one kind.
int compare(const Value& left, const Value& right, const Node& at) {
  if (left.kind() != right.kind()) fail(at, u"Cannot compare " + kindsOf(left, right));
  return compareSameKind(left, right);
}

Value arithmetic(Operator op, const Value& left, const Value& right, const Node& at) {
  ValueKind l = left.kind(), r = right.kind();
  if (l == ValueKind::Number && r == ValueKind::Number) {
    double a = left.number(), b = right.number();
    switch (op) {
      case Operator::Add: return finite(a + b, at);
      case Operator::Subtract: return finite(a - b, at);
      case Operator::Multiply: return finite(a * b, at);
      default:
        if (b == 0) fail(at, u"Division by zero");
        return finite(a / b, at);
    }
  }
  if (op == Operator::Add && l == ValueKind::Text && r == ValueKind::Text) {
    if (left.text().size() + right.text().size() > kMaxTextLength) fail(at, u"The text would be too long");
    return left.text() + right.text();
  }
  if (op == Operator::Add && l == ValueKind::Date && r == ValueKind::Number) {
    return dateOrFail(left.date().days + right.number(), at);
  }
  if (op == Operator::Add && l == ValueKind::Number && r == ValueKind::Date) {
    return dateOrFail(left.number() + right.date().days, at);
  }
  if (op == Operator::Subtract && l == ValueKind::Date && r == ValueKind::Number) {
    return dateOrFail(left.date().days - right.number(), at);
  }
  if (op == Operator::Subtract && l == ValueKind::Date && r == ValueKind::Date) {
    return left.date().days - right.date().days;
  }
  fail(at, Text(u"Cannot use ") + spelling(op) + u" with " + kindsOf(left, right));
}

class Evaluator {
 public:
  ParameterValue parameter(const Node& node) {
    std::optional<ParameterValue> value = context_.parameter(node.name);
    if (!value) fail(node, u"The report has no parameter " + parameterReference(node.name));
    return *value;
  }

  // x in {?Range}: within both ends, an empty end being no limit.
  Value within(const Node& node) {
    Value x = evaluate(*node.children[0]);
    ParameterValue range = parameter(*node.children[1]);
    if (x.isNull()) return Value();
    if (!range.range) {
      if (range.value.isNull()) return Value();
      return compare(x, range.value, node) == 0;
    }
    if (!range.value.isNull() && compare(x, range.value, node) < 0) return false;
    if (range.to.isNull()) return true;
    if (range.wholeDays && range.to.kind() == ValueKind::Date)
      return compare(x, Value(DateTime{std::floor(range.to.date().days) + 1}), node) < 0;
    return compare(x, range.to, node) <= 0;
  }

  explicit Evaluator(EvaluationContext& context) : context_(context) {}

  Value evaluate(const Node& node) {
    if (++depth_ > kMaxEvaluationDepth) fail(node, u"Formulas use one another too deeply");
    Value value = evaluateNode(node);
    --depth_;
    return value;
  }

 private:
  Value evaluateNode(const Node& node) {
    switch (node.kind) {
      case Node::Kind::Literal: return node.literal;
      case Node::Kind::Field: {
        std::optional<Value> value = context_.field(node.table, node.name);
        if (!value) fail(node, u"The report has no field " + fieldReference(node.table, node.name));
        return *value;
      }
      case Node::Kind::Special: {
        std::optional<Value> value = context_.special(node.special);
        if (!value) fail(node, u"This value is not known here");
        return *value;
      }
      case Node::Kind::FormulaRef: return formula(node);
      case Node::Kind::Parameter: {
        ParameterValue value = parameter(node);
        switch (node.part) {
          case ParameterPart::Minimum: return value.value;
          case ParameterPart::Maximum: return value.range ? value.to : value.value;
          case ParameterPart::Whole: break;
        }
        return value.range ? Value(parameterText(value)) : value.value;
      }
      case Node::Kind::In: return within(node);
      case Node::Kind::RunningTotalRef: {
        std::optional<Value> value = context_.runningTotal(node.name);
        if (!value) fail(node, u"The report has no running total " + runningTotalReference(node.name));
        return *value;
      }
      case Node::Kind::Unary: return unary(node);
      case Node::Kind::Binary: return binary(node);
      case Node::Kind::Call: return call(node);
      case Node::Kind::If: {
        Value condition = evaluate(*node.children[0]);
        if (!condition.isNull() && condition.kind() != ValueKind::Boolean) {
          fail(*node.children[0], u"The condition of 'if' must be true or false, not " +
                                      ascii(describe(condition.kind())));
        }
        if (!condition.isNull() && condition.boolean()) return evaluate(*node.children[1]);
        return node.children.size() > 2 ? evaluate(*node.children[2]) : Value();
      }
    }
    return Value();
  }

  Value formula(const Node& node) {
    for (const Text& active : chain_) {
      if (equalsNoCase(active, node.name)) fail(node, u"The formula " + formulaReference(node.name) + u" uses itself");
    }
    if (chain_.size() >= kMaxFormulaChain) fail(node, u"Formulas use one another too deeply");
    const Formula* other = context_.formula(node.name);
    if (!other) fail(node, u"The report has no formula " + formulaReference(node.name));
    chain_.push_back(node.name);
    try {
      Value value = evaluate(other->root());
      chain_.pop_back();
      return value;
    } catch (const FormulaError& error) {
      if (error.problem().starts_with(u"In {@")) throw;
      throw FormulaError(error.position(), u"In " + formulaReference(node.name) + u": " + error.problem());
    }
  }

  Value unary(const Node& node) {
    Value operand = evaluate(*node.children[0]);
    if (operand.isNull()) return operand;
    if (node.op == Operator::Negate) {
      if (operand.kind() != ValueKind::Number) fail(node, u"Cannot negate " + ascii(describe(operand.kind())));
      return -operand.number();
    }
    return !boolean(operand, node);
  }

  bool boolean(const Value& value, const Node& at) {
    if (value.kind() != ValueKind::Boolean) {
      fail(at, Text(spelling(at.op)) + u" needs true or false, not " + ascii(describe(value.kind())));
    }
    return value.boolean();
  }

  // and/or with three-valued logic; the right side only when it matters.
  Value logical(const Node& node) {
    bool decider = node.op == Operator::Or;  // the value that decides alone
    Value left = evaluate(*node.children[0]);
    if (!left.isNull() && boolean(left, node) == decider) return decider;
    Value right = evaluate(*node.children[1]);
    if (!right.isNull() && boolean(right, node) == decider) return decider;
    if (left.isNull() || right.isNull()) return Value();
    return !decider;
  }

  Value binary(const Node& node) {
    if (node.op == Operator::And || node.op == Operator::Or) return logical(node);
    Value left = evaluate(*node.children[0]);
    Value right = evaluate(*node.children[1]);
    if (node.op == Operator::Concat) {
      Text a = toText(left), b = toText(right);
      if (a.size() + b.size() > kMaxTextLength) fail(node, u"The text would be too long");
      return a + b;
    }
    if (left.isNull() || right.isNull()) return Value();
    switch (node.op) {
      case Operator::Equal: return compare(left, right, node) == 0;
      case Operator::NotEqual: return compare(left, right, node) != 0;
      case Operator::Less: return compare(left, right, node) < 0;
      case Operator::LessEqual: return compare(left, right, node) <= 0;
      case Operator::Greater: return compare(left, right, node) > 0;
      case Operator::GreaterEqual: return compare(left, right, node) >= 0;
      default: return arithmetic(node.op, left, right, node);
    }
  }

  Value call(const Node& node) {
    std::vector<Value> arguments;
    arguments.reserve(node.children.size());
    for (const auto& child : node.children) {
      arguments.push_back(evaluate(*child));
      if (node.function->nullGivesNull && arguments.back().isNull()) return Value();
    }
    return node.function->call(arguments, node);
  }

  EvaluationContext& context_;
  std::vector<Text> chain_;
  int depth_ = 0;
};

}  // namespace

const char16_t* spelling(Operator op) {
  switch (op) {
    case Operator::Negate: return u"-";
    case Operator::Not: return u"not";
    case Operator::Add: return u"+";
    case Operator::Subtract: return u"-";
    case Operator::Multiply: return u"*";
    case Operator::Divide: return u"/";
    case Operator::Concat: return u"&";
    case Operator::Equal: return u"=";
    case Operator::NotEqual: return u"<>";
    case Operator::Less: return u"<";
    case Operator::LessEqual: return u"<=";
    case Operator::Greater: return u">";
    case Operator::GreaterEqual: return u">=";
    case Operator::And: return u"and";
    case Operator::Or: return u"or";
  }
  return u"?";
}

void fail(const Node& at, const Text& problem) { throw FormulaError(at.at, problem); }

Value evaluate(const Node& node, EvaluationContext& context) { return Evaluator(context).evaluate(node); }

Value Formula::evaluate(EvaluationContext& context) const { return Evaluator(context).evaluate(*root_); }

bool Formula::selects(EvaluationContext& context) const {
  Value value = evaluate(context);
  return value.kind() == ValueKind::Boolean && value.boolean();
}

}  // namespace mervane::engine::formula
