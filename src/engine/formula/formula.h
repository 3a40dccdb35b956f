// The formula language of formula fields and record filters.
//
//   {Orders.Amount} * 1.2
//   if IsNull({Customers.Region}) then "-" else UpperCase({Customers.Region})
//   {Orders.Date} >= Date(2024, 1, 1) and not ({Orders.Status} = "void")
//   "Page " & ToText(PageNumber, "0") & " of " & ToText(TotalPageCount, "0")
//
// Lexical rules. Keywords and names of functions and special values ignore
// letter case. Numbers are written 12 or 12.5. Texts are written "..." or
// '...', a doubled quote standing for itself. {Table.Column} is a database
// field: inside the braces every character stands for itself except "}}",
// a literal '}', and "..", a literal '.'; the first single '.' separates the
// table from the column ({Sales..2024.Net}} amount} is column "Net} amount"
// of table "Sales.2024"). {@Name} is another formula of the report,
// {?Name} a parameter of the report and {#Name} a running total, all three
// escaped the same way. Blanks, tabs and line breaks separate tokens.
//
// Grammar, loosest first:
//   expression  = "if" expression "then" expression ["else" expression]
//               | or
//   or          = and {"or" and}
//   and         = not {"and" not}
//   not         = "not" not | comparison
//   comparison  = concat [("=" | "<>" | "<" | "<=" | ">" | ">=") concat
//                         | "in" parameter]
//   concat      = sum {"&" sum}
//   sum         = product {("+" | "-") product}
//   product     = unary {("*" | "/") unary}
//   unary       = "-" unary | primary
//   primary     = number | text | "true" | "false" | "null" | field
//               | formula | parameter | running total | special | colour
//               | ("Minimum" | "Maximum") "(" parameter ")"
//               | name "(" [expression {"," expression}] ")"
//               | "(" expression ")" | "if" ...
// Special values: PageNumber, TotalPageCount, RecordNumber, PrintDate,
// PrintTime, ReportTitle, and CurrentFieldValue: in an object's conditional
// formatting, the value the object shows (null elsewhere).
//
// Colours are numbers 0xRRGGBB: Color(red, green, blue), each 0 to 255, or
// one of the named colours crBlack, crWhite, crRed, crGreen, crBlue,
// crYellow, crMaroon, crNavy, crTeal, crOlive, crPurple, crFuchsia, crAqua,
// crLime, crSilver and crGray (the sixteen basic colours of the web), e.g.
//   if {Orders.Amount} < 0 then crRed else crBlack
//
// Parameters. {?Name} is the value given for the parameter when the report
// runs (its default until then). A range parameter (from-to) has two
// values: Minimum({?Name}) and Maximum({?Name}) are its ends, and {?Name}
// alone is the text "from - to" (for headings). `x in {?Name}` is true when
// x lies within the range, both ends included, an end left empty being no
// limit (a range of dates takes in the whole of its last day, times of day
// included); for a parameter that is not a range it is x = {?Name}. "in" takes
// nulls as the comparisons do.
//
// Types and nulls. + adds numbers, joins texts, and moves a date by days;
// date - date is a number of days. Comparisons need two values of one kind;
// texts compare by their UTF-16 code units, false is less than true. & joins
// the texts of any two values and treats null as an empty text. Any other
// operator with a null operand gives null, and so do functions given a null
// argument, except IsNull and IfNull. "and" and "or" follow three-valued
// logic: false and null is false, true or null is true, other mixes with
// null are null; the right side is not evaluated when the left decides. An
// "if" whose condition is null takes the else branch; a missing else gives
// null. A record filter selects a record only when it gives true.
//
// Errors carry the position of the mistake: line and column count from 1,
// columns in UTF-16 code units. Runtime errors (division by zero, a value of
// the wrong kind, a text too long) point at the operator or function; when
// the mistake lies in another formula the message starts with its name
// ("In {@Tax}: Division by zero, at column 9").
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "engine/formula/value.h"

namespace mervane::engine::formula {

struct Position {
  int line = 1;
  int column = 1;
};

// A mistake in a formula, found while reading or evaluating it. message()
// says what is wrong and where ("Expected ')' after the arguments of Left,
// at column 14").
class FormulaError : public std::exception {
 public:
  FormulaError(Position at, const Text& problem);
  Position position() const { return at_; }
  // The problem without its position.
  const Text& problem() const { return problem_; }
  const Text& message() const { return message_; }
  const char* what() const noexcept override { return utf8_.c_str(); }

 private:
  Position at_;
  Text problem_;
  Text message_;
  std::string utf8_;
};

enum class SpecialValue { PageNumber, TotalPageCount, RecordNumber, PrintDate, PrintTime, ReportTitle, CurrentFieldValue };

struct Node;
class Formula;

// A parameter's value as formulas see it.
struct ParameterValue {
  Value value;  // the value; a range's lower end
  bool range = false;
  Value to;     // a range's upper end
  // A range of dates: its upper end takes in the whole of its day, so that
  // a date and time later that day still lies within it.
  bool wholeDays = false;
};

// The text a parameter's value shows: a range as "from - to" (an end left
// empty shows as nothing); `show` writes one value.
Text parameterText(const ParameterValue& value, Text (*show)(const Value&) = nullptr);

// What a formula can see while it is evaluated: the current record's fields,
// the page being laid out, and the report's other formulas.
class EvaluationContext {
 public:
  virtual ~EvaluationContext() = default;
  // The field's value in the current record; nothing when the report has no
  // such field.
  virtual std::optional<Value> field(const Text& table, const Text& column) = 0;
  // Nothing when the value is not known where the formula is evaluated.
  virtual std::optional<Value> special(SpecialValue which) = 0;
  // The report's formula of that name, or null when there is none.
  virtual const Formula* formula(const Text& name) = 0;
  // The report's parameter of that name (letter case ignored); nothing when
  // there is none.
  virtual std::optional<ParameterValue> parameter(const Text& name) {
    (void)name;
    return std::nullopt;
  }
  // The running total's value at the current record; nothing when the
  // report has no running total of that name.
  virtual std::optional<Value> runningTotal(const Text&) { return std::nullopt; }
};

// A parsed formula: immutable, cheap to evaluate many times, safe to share
// between threads.
class Formula {
 public:
  // Throws FormulaError when the text is not a formula.
  static std::shared_ptr<const Formula> parse(TextView source);

  explicit Formula(std::unique_ptr<Node> root);
  ~Formula();
  const Node& root() const { return *root_; }

  // Throws FormulaError on a runtime error.
  Value evaluate(EvaluationContext& context) const;
  // For record filters: true only when the formula gives true.
  bool selects(EvaluationContext& context) const;

 private:
  std::unique_ptr<Node> root_;
};

// For editors checking as the user types: the first mistake, if any.
std::optional<FormulaError> check(TextView source);

// {Table.Column} and {@Name} with their escapes, as the parser reads them.
Text fieldReference(TextView table, TextView column);
Text formulaReference(TextView name);
Text parameterReference(TextView name);
Text runningTotalReference(TextView name);

}  // namespace mervane::engine::formula
