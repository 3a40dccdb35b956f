// The formula parser: recursive descent over the scanner's tokens, one
// function per grammar rule of formula.h, building the syntax tree.
#include <algorithm>

#include "engine/formula/scanner.h"
#include "engine/formula/syntax.h"

namespace mervane::engine::formula {
namespace {

struct SpecialName {
  const char16_t* name;
  SpecialValue value;
};
const SpecialName kSpecials[] = {
    {u"PageNumber", SpecialValue::PageNumber}, {u"TotalPageCount", SpecialValue::TotalPageCount},
    {u"RecordNumber", SpecialValue::RecordNumber}, {u"PrintDate", SpecialValue::PrintDate},
    {u"PrintTime", SpecialValue::PrintTime}, {u"ReportTitle", SpecialValue::ReportTitle},
    {u"CurrentFieldValue", SpecialValue::CurrentFieldValue},
};

struct ColourName {
  const char16_t* name;
  double value;  // 0xRRGGBB
};
const ColourName kColours[] = {
    {u"crBlack", 0x000000},  {u"crWhite", 0xFFFFFF}, {u"crRed", 0xFF0000},    {u"crGreen", 0x008000},
    {u"crBlue", 0x0000FF},   {u"crYellow", 0xFFFF00}, {u"crMaroon", 0x800000}, {u"crNavy", 0x000080},
    {u"crTeal", 0x008080},   {u"crOlive", 0x808000}, {u"crPurple", 0x800080}, {u"crFuchsia", 0xFF00FF},
    {u"crAqua", 0x00FFFF},   {u"crLime", 0x00FF00},  {u"crSilver", 0xC0C0C0}, {u"crGray", 0x808080},
};

using NodePtr = std::unique_ptr<Node>;

class Parser {
 public:
  explicit Parser(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

  NodePtr formula() {
    if (peek().kind == TokenKind::End) throw FormulaError(peek().at, u"The formula is empty");
    NodePtr root = expression();
    if (peek().kind != TokenKind::End) {
      throw FormulaError(peek().at, u"Expected an operator or the end of the formula, found " + describe(peek()));
    }
    return root;
  }

 private:
  // Counts open rules so that deeply nested input ends in an error, not in
  // an exhausted stack.
  class Nesting {
   public:
    Nesting(Parser& parser) : parser_(parser) {
      if (++parser_.nesting_ > kMaxDepth) throw FormulaError(parser_.peek().at, u"The formula is nested too deeply");
    }
    ~Nesting() { --parser_.nesting_; }

   private:
    Parser& parser_;
  };

  const Token& peek() const { return tokens_[current_]; }
  const Token& next() {
    const Token& token = tokens_[current_];
    if (token.kind != TokenKind::End) ++current_;
    return token;
  }
  bool match(TokenKind kind) {
    if (peek().kind != kind) return false;
    next();
    return true;
  }
  void expect(TokenKind kind, const Text& what) {
    if (!match(kind)) throw FormulaError(peek().at, u"Expected " + what + u", found " + describe(peek()));
  }

  NodePtr node(Node::Kind kind, Position at) {
    auto made = std::make_unique<Node>();
    made->kind = kind;
    made->at = at;
    return made;
  }
  NodePtr adopt(NodePtr parent, NodePtr child) {
    parent->depth = std::max(parent->depth, child->depth + 1);
    if (parent->depth > kMaxDepth) throw FormulaError(parent->at, u"The formula is nested too deeply");
    parent->children.push_back(std::move(child));
    return parent;
  }
  NodePtr binary(Operator op, Position at, NodePtr left, NodePtr right) {
    NodePtr made = node(Node::Kind::Binary, at);
    made->op = op;
    return adopt(adopt(std::move(made), std::move(left)), std::move(right));
  }

  NodePtr expression() {
    Nesting nesting(*this);
    if (peek().kind == TokenKind::If) return ifExpression();
    return orExpression();
  }

  NodePtr ifExpression() {
    NodePtr made = node(Node::Kind::If, next().at);
    made = adopt(std::move(made), expression());
    expect(TokenKind::Then, u"'then' after the condition of 'if'");
    made = adopt(std::move(made), expression());
    if (match(TokenKind::Else)) made = adopt(std::move(made), expression());
    return made;
  }

  NodePtr orExpression() {
    NodePtr left = andExpression();
    while (peek().kind == TokenKind::Or) {
      Position at = next().at;
      left = binary(Operator::Or, at, std::move(left), andExpression());
    }
    return left;
  }

  NodePtr andExpression() {
    NodePtr left = notExpression();
    while (peek().kind == TokenKind::And) {
      Position at = next().at;
      left = binary(Operator::And, at, std::move(left), notExpression());
    }
    return left;
  }

  NodePtr notExpression() {
    if (peek().kind != TokenKind::Not) return comparison();
    Nesting nesting(*this);
    NodePtr made = node(Node::Kind::Unary, next().at);
    made->op = Operator::Not;
    return adopt(std::move(made), notExpression());
  }

  NodePtr comparison() {
    NodePtr left = concatenation();
    if (peek().kind == TokenKind::In) {
      NodePtr made = node(Node::Kind::In, next().at);
      if (peek().kind != TokenKind::ParameterRef)
        throw FormulaError(peek().at, u"Expected a parameter {?Name} after 'in', found " + describe(peek()));
      made = adopt(std::move(made), std::move(left));
      return adopt(std::move(made), parameter(ParameterPart::Whole));
    }
    auto op = comparisonOperator(peek().kind);
    if (!op) return left;
    Position at = next().at;
    left = binary(*op, at, std::move(left), concatenation());
    if (comparisonOperator(peek().kind)) {
      throw FormulaError(peek().at, u"Comparisons cannot follow one another; join them with 'and'");
    }
    return left;
  }

  static std::optional<Operator> comparisonOperator(TokenKind kind) {
    switch (kind) {
      case TokenKind::Equal: return Operator::Equal;
      case TokenKind::NotEqual: return Operator::NotEqual;
      case TokenKind::Less: return Operator::Less;
      case TokenKind::LessEqual: return Operator::LessEqual;
      case TokenKind::Greater: return Operator::Greater;
      case TokenKind::GreaterEqual: return Operator::GreaterEqual;
      default: return std::nullopt;
    }
  }

  NodePtr concatenation() {
    NodePtr left = sum();
    while (peek().kind == TokenKind::Ampersand) {
      Position at = next().at;
      left = binary(Operator::Concat, at, std::move(left), sum());
    }
    return left;
  }

  NodePtr sum() {
    NodePtr left = product();
    while (peek().kind == TokenKind::Plus || peek().kind == TokenKind::Minus) {
      Operator op = peek().kind == TokenKind::Plus ? Operator::Add : Operator::Subtract;
      Position at = next().at;
      left = binary(op, at, std::move(left), product());
    }
    return left;
  }

  NodePtr product() {
    NodePtr left = unary();
    while (peek().kind == TokenKind::Star || peek().kind == TokenKind::Slash) {
      Operator op = peek().kind == TokenKind::Star ? Operator::Multiply : Operator::Divide;
      Position at = next().at;
      left = binary(op, at, std::move(left), unary());
    }
    return left;
  }

  NodePtr unary() {
    if (peek().kind != TokenKind::Minus) return primary();
    Nesting nesting(*this);
    NodePtr made = node(Node::Kind::Unary, next().at);
    made->op = Operator::Negate;
    return adopt(std::move(made), unary());
  }

  NodePtr primary() {
    const Token& token = peek();
    switch (token.kind) {
      case TokenKind::Number: return literal(next().number);
      case TokenKind::String: return literal(next().text);
      case TokenKind::True: next(); return literal(true);
      case TokenKind::False: next(); return literal(false);
      case TokenKind::Null: next(); return literal(Value());
      case TokenKind::If: return expression();
      case TokenKind::Field: {
        NodePtr made = node(Node::Kind::Field, token.at);
        made->table = token.table;
        made->name = next().text;
        return made;
      }
      case TokenKind::FormulaRef: {
        NodePtr made = node(Node::Kind::FormulaRef, token.at);
        made->name = next().text;
        return made;
      }
      case TokenKind::ParameterRef: return parameter(ParameterPart::Whole);
      case TokenKind::RunningTotalRef: {
        NodePtr made = node(Node::Kind::RunningTotalRef, token.at);
        made->name = next().text;
        return made;
      }
      case TokenKind::Name: return name();
      case TokenKind::LeftParen: {
        Position at = next().at;
        NodePtr inner = expression();
        if (peek().kind != TokenKind::RightParen) {
          throw FormulaError(peek().at, u"Expected ')' to close the '(' at column " + decimal(at.column) +
                                            u", found " + describe(peek()));
        }
        next();
        return inner;
      }
      default:
        throw FormulaError(token.at, u"Expected a value, found " + describe(token));
    }
  }

  NodePtr literal(Value value) {
    NodePtr made = node(Node::Kind::Literal, tokens_[current_ - 1].at);
    made->literal = std::move(value);
    return made;
  }

  NodePtr parameter(ParameterPart part) {
    NodePtr made = node(Node::Kind::Parameter, peek().at);
    made->name = next().text;
    made->part = part;
    return made;
  }

  // Minimum({?Name}) or Maximum({?Name}): an end of a range parameter.
  std::optional<ParameterPart> rangeEnd(const Token& token) const {
    if (current_ + 2 >= tokens_.size() || peek().kind != TokenKind::LeftParen ||
        tokens_[current_ + 1].kind != TokenKind::ParameterRef || tokens_[current_ + 2].kind != TokenKind::RightParen)
      return std::nullopt;
    if (equalsNoCase(token.text, u"Minimum")) return ParameterPart::Minimum;
    if (equalsNoCase(token.text, u"Maximum")) return ParameterPart::Maximum;
    return std::nullopt;
  }

  NodePtr name() {
    const Token& token = next();
    if (std::optional<ParameterPart> end = rangeEnd(token)) {
      next();  // (
      NodePtr made = parameter(*end);
      made->at = token.at;
      next();  // )
      return made;
    }
    const Function* function = findFunction(token.text);
    if (peek().kind == TokenKind::LeftParen) {
      if (!function) throw FormulaError(token.at, u"There is no function called " + token.text);
      return call(token, *function);
    }
    for (const SpecialName& special : kSpecials) {
      if (equalsNoCase(token.text, special.name)) {
        NodePtr made = node(Node::Kind::Special, token.at);
        made->special = special.value;
        return made;
      }
    }
    for (const ColourName& colour : kColours) {
      if (equalsNoCase(token.text, colour.name)) {
        NodePtr made = node(Node::Kind::Literal, token.at);
        made->literal = Value(colour.value);
        return made;
      }
    }
    if (function) {
      throw FormulaError(peek().at, u"Expected '(' and the arguments of " + Text(function->name) + u", found " +
                                        describe(peek()));
    }
    throw FormulaError(token.at, u"Unknown name " + token.text +
                                     u"; fields are written {Table.Column} and formulas {@Name}");
  }

  NodePtr call(const Token& nameToken, const Function& function) {
    NodePtr made = node(Node::Kind::Call, nameToken.at);
    made->function = &function;
    made->name = function.name;
    next();  // (
    if (peek().kind != TokenKind::RightParen) {
      do {
        made = adopt(std::move(made), expression());
      } while (match(TokenKind::Comma));
    }
    if (peek().kind != TokenKind::RightParen) {
      throw FormulaError(peek().at, u"Expected ')' after the arguments of " + made->name + u", found " +
                                        describe(peek()));
    }
    next();
    int count = static_cast<int>(made->children.size());
    if (count < function.minArguments || count > function.maxArguments) {
      Text wanted = decimal(function.minArguments);
      if (function.maxArguments != function.minArguments) {
        wanted += (function.maxArguments == function.minArguments + 1 ? u" or " : u" to ") +
                  decimal(function.maxArguments);
      }
      throw FormulaError(nameToken.at, made->name + u" takes " + wanted +
                                           (function.maxArguments == 1 ? u" argument" : u" arguments") +
                                           u", not " + decimal(count));
    }
    return made;
  }

  std::vector<Token> tokens_;
  std::size_t current_ = 0;
  int nesting_ = 0;
};

}  // namespace

FormulaError::FormulaError(Position at, const Text& problem) : at_(at), problem_(problem), message_(problem) {
  message_ += at.line > 1 ? u", at line " + decimal(at.line) + u", column " : Text(u", at column ");
  message_ += decimal(at.column);
  utf8_ = toUtf8(message_);
}

std::shared_ptr<const Formula> Formula::parse(TextView source) {
  return std::make_shared<const Formula>(Parser(scan(source)).formula());
}

Formula::Formula(std::unique_ptr<Node> root) : root_(std::move(root)) {}
Formula::~Formula() = default;

std::optional<FormulaError> check(TextView source) {
  try {
    Formula::parse(source);
    return std::nullopt;
  } catch (const FormulaError& error) {
    return error;
  }
}

static Text escaped(TextView name, bool dots) {
  Text out;
  for (char16_t c : name) {
    out += c;
    if (c == u'}' || (dots && c == u'.')) out += c;
  }
  return out;
}

Text fieldReference(TextView table, TextView column) {
  return u"{" + escaped(table, true) + u"." + escaped(column, true) + u"}";
}

Text formulaReference(TextView name) { return u"{@" + escaped(name, false) + u"}"; }
Text runningTotalReference(TextView name) { return u"{#" + escaped(name, false) + u"}"; }

Text parameterReference(TextView name) { return u"{?" + escaped(name, false) + u"}"; }

Text parameterText(const ParameterValue& value, Text (*show)(const Value&)) {
  auto one = [&](const Value& v) { return show ? show(v) : toText(v); };
  if (!value.range) return one(value.value);
  return one(value.value) + u" - " + one(value.to);
}

}  // namespace mervane::engine::formula
