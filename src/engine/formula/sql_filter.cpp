// Record filters to SQL: one pass over the syntax tree, building each part
// with its own parameters so that a part left out takes its values along.
#include "engine/formula/sql_filter.h"

#include <cmath>

#include "engine/formula/syntax.h"

namespace mervane::engine::formula {
namespace {

struct Piece {
  Text sql;
  std::vector<Value> parameters;
  bool exact = true;
};

// Constants need nothing from a context but the parameters' values; this
// one answers only those, when it has them.
class ConstantContext : public EvaluationContext {
 public:
  explicit ConstantContext(EvaluationContext* parameters) : parameters_(parameters) {}
  std::optional<Value> field(const Text&, const Text&) override { return std::nullopt; }
  std::optional<Value> special(SpecialValue) override { return std::nullopt; }
  const Formula* formula(const Text&) override { return nullptr; }
  std::optional<ParameterValue> parameter(const Text& name) override {
    return parameters_ ? parameters_->parameter(name) : std::nullopt;
  }
  bool knowsParameters() const { return parameters_ != nullptr; }

 private:
  EvaluationContext* parameters_;
};

class Translator {
 public:
  Translator(const SqlNaming& naming, EvaluationContext* parameters) : naming_(naming), constants_(parameters) {}

  bool isConstant(const Node& node) const {
    if (node.kind == Node::Kind::Field || node.kind == Node::Kind::FormulaRef || node.kind == Node::Kind::Special ||
        node.kind == Node::Kind::RunningTotalRef) {
      return false;
    }
    if (node.kind == Node::Kind::Parameter && !constants_.knowsParameters()) return false;
    for (const auto& child : node.children) {
      if (!isConstant(*child)) return false;
    }
    return true;
  }

  // A condition the database can test. With `exactOnly`, only one that
  // selects exactly what the formula selects.
  std::optional<Piece> condition(const Node& node, bool exactOnly) {
    if (isConstant(node)) {
      std::optional<Value> value = fold(node);
      if (!value || value->kind() != ValueKind::Boolean) return std::nullopt;
      return Piece{value->boolean() ? u"1 = 1" : u"1 = 0", {}, true};
    }
    switch (node.kind) {
      case Node::Kind::Unary:
        if (node.op == Operator::Not) {
          std::optional<Piece> inner = condition(*node.children[0], true);
          if (inner) inner->sql = u"(NOT " + inner->sql + u")";
          return inner;
        }
        return std::nullopt;
      case Node::Kind::Binary:
        if (node.op == Operator::And || node.op == Operator::Or) return logical(node, exactOnly);
        return comparison(node, exactOnly);
      case Node::Kind::Call: return call(node, exactOnly);
      case Node::Kind::In: return within(node, exactOnly);
      default: return std::nullopt;
    }
  }

 private:
  // field in {?Name}: the range's ends as bound values.
  std::optional<Piece> within(const Node& node, bool exactOnly) {
    const Node& tested = *node.children[0];
    if (tested.kind != Node::Kind::Field || !constants_.knowsParameters()) return std::nullopt;
    std::optional<Text> field = column(tested);
    std::optional<ParameterValue> range = constants_.parameter(node.children[1]->name);
    if (!field || !range) return std::nullopt;
    std::vector<std::pair<const char16_t*, Value>> ends;
    if (!range->range) {
      if (range->value.isNull()) return Piece{u"1 = 0", {}, true};
      ends.emplace_back(u" = ?", range->value);
    } else {
      if (!range->value.isNull()) ends.emplace_back(u" >= ?", range->value);
      if (range->wholeDays && range->to.kind() == ValueKind::Date)
        ends.emplace_back(u" < ?", Value(DateTime{std::floor(range->to.date().days) + 1}));
      else if (!range->to.isNull())
        ends.emplace_back(u" <= ?", range->to);
    }
    bool textLike = false;
    for (const auto& end : ends) textLike = textLike || end.second.kind() == ValueKind::Text;
    // Texts compare by the database's collation: a range of texts may select more.
    if (textLike && (exactOnly || ends.size() > 1 || range->range)) return std::nullopt;
    if (ends.empty()) return Piece{u"(" + *field + u" IS NOT NULL)", {}, true};
    Piece piece{u"(", {}, !textLike};
    for (std::size_t i = 0; i < ends.size(); ++i) {
      if (i > 0) piece.sql += u" AND ";
      piece.sql += *field + ends[i].first;
      piece.parameters.push_back(ends[i].second);
    }
    piece.sql += u")";
    return piece;
  }

  std::optional<Piece> logical(const Node& node, bool exactOnly) {
    std::optional<Piece> left = condition(*node.children[0], exactOnly);
    std::optional<Piece> right = condition(*node.children[1], exactOnly);
    if (node.op == Operator::And && !exactOnly && (left.has_value() != right.has_value())) {
      Piece& kept = left ? *left : *right;
      kept.exact = false;
      return kept;
    }
    if (!left || !right) return std::nullopt;
    Piece joined{u"(" + left->sql + (node.op == Operator::And ? u" AND " : u" OR ") + right->sql + u")",
                 std::move(left->parameters), left->exact && right->exact};
    joined.parameters.insert(joined.parameters.end(), right->parameters.begin(), right->parameters.end());
    return joined;
  }

  std::optional<Piece> comparison(const Node& node, bool exactOnly) {
    if (node.op < Operator::Equal || node.op > Operator::GreaterEqual) return std::nullopt;
    const Node& left = *node.children[0];
    const Node& right = *node.children[1];
    std::optional<Piece> a = operand(left), b = operand(right);
    if (!a || !b) return std::nullopt;
    // Exact when a field meets a constant that is not a text.
    const Piece& constant = isConstant(left) ? *a : *b;
    bool textLike = (left.kind == Node::Kind::Field && right.kind == Node::Kind::Field) ||
                    (constant.parameters.size() == 1 && constant.parameters[0].kind() == ValueKind::Text);
    if (textLike && (exactOnly || node.op != Operator::Equal)) return std::nullopt;
    Piece piece{a->sql + u" " + spelling(node.op) + u" " + b->sql, std::move(a->parameters), !textLike};
    piece.parameters.insert(piece.parameters.end(), b->parameters.begin(), b->parameters.end());
    return piece;
  }

  // A field's quoted name, or a constant as a parameter.
  std::optional<Piece> operand(const Node& node) {
    if (node.kind == Node::Kind::Field) {
      std::optional<Text> name = column(node);
      if (!name) return std::nullopt;
      return Piece{*name, {}, true};
    }
    if (!isConstant(node)) return std::nullopt;
    std::optional<Value> value = fold(node);
    if (!value) return std::nullopt;
    return Piece{u"?", {std::move(*value)}, true};
  }

  std::optional<Piece> call(const Node& node, bool exactOnly) {
    const Text name = node.function->name;
    if (name == u"IsNull" && node.children[0]->kind == Node::Kind::Field) {
      std::optional<Text> field = column(*node.children[0]);
      if (!field) return std::nullopt;
      return Piece{u"(" + *field + u" IS NULL)", {}, true};
    }
    if (name == u"StartsWith" && !exactOnly && node.children[0]->kind == Node::Kind::Field &&
        isConstant(*node.children[1])) {
      std::optional<Text> field = column(*node.children[0]);
      std::optional<Value> prefix = fold(*node.children[1]);
      if (!field || !prefix || prefix->kind() != ValueKind::Text) return std::nullopt;
      Text pattern;
      for (char16_t c : prefix->text()) {
        if (c == u'!' || c == u'%' || c == u'_' || c == u'[') pattern += u'!';
        pattern += c;
      }
      pattern += u'%';
      return Piece{*field + u" LIKE ? ESCAPE '!'", {Value(std::move(pattern))}, false};
    }
    return std::nullopt;
  }

  std::optional<Text> column(const Node& field) {
    std::optional<Text> table = identifier(field.table), name = identifier(field.name);
    if (!table || !name) return std::nullopt;
    return *table + u"." + *name;
  }

  std::optional<Text> identifier(const Text& name) {
    if (name.empty() || name.find(u'\0') != Text::npos) return std::nullopt;
    bool quoting = !isBlank(naming_.quote);
    if (!quoting) {
      for (std::size_t i = 0; i < name.size(); ++i) {
        char16_t c = name[i];
        bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
        if (!letter && !(i > 0 && c >= u'0' && c <= u'9')) return std::nullopt;
      }
      return name;
    }
    char16_t quote = trim(naming_.quote)[0];
    Text quoted(1, quote);
    for (char16_t c : name) {
      quoted += c;
      if (c == quote) quoted += c;
    }
    quoted += quote;
    return quoted;
  }

  std::optional<Value> fold(const Node& node) {
    try {
      return evaluate(node, constants_);
    } catch (...) {
      return std::nullopt;
    }
  }

  const SqlNaming& naming_;
  ConstantContext constants_;
};

}  // namespace

SqlFilter toSqlFilter(const Formula& filter, const SqlNaming& naming, EvaluationContext* parameters) {
  SqlFilter result;
  try {
    std::optional<Piece> piece = Translator(naming, parameters).condition(filter.root(), false);
    if (piece) {
      result.where = std::move(piece->sql);
      result.parameters = std::move(piece->parameters);
      result.exact = piece->exact;
    }
  } catch (const std::exception&) {
    result = SqlFilter();
  }
  return result;
}

}  // namespace mervane::engine::formula
