// libFuzzer harness for the formula language: any text is read, evaluated
// against a record of every kind of value, and translated to SQL. Mistakes
// in the text must end in a FormulaError; anything else (another exception,
// a crash, a sanitizer report) is a fault.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "engine/formula/formula.h"
#include "engine/formula/sql_filter.h"

namespace formula = mervane::engine::formula;
using mervane::Text;

namespace {

// Fields take their value from the length of their column's name, so that
// inputs can reach nulls, numbers, texts, booleans and dates.
class AnyRecord : public formula::EvaluationContext {
 public:
  std::optional<formula::Value> field(const Text& table, const Text& column) override {
    if (table == u"X") return std::nullopt;
    switch (column.size() % 6) {
      case 0: return formula::Value();
      case 1: return formula::Value(static_cast<double>(column.size()) - 3.5);
      case 2: return formula::Value(column);
      case 3: return formula::Value(column.size() % 4 == 3);
      case 4: return formula::Value(formula::DateTime{45322.25});
      default: return formula::Value(0);
    }
  }
  std::optional<formula::Value> special(formula::SpecialValue which) override {
    if (which == formula::SpecialValue::RecordNumber) return std::nullopt;
    return formula::Value(7);
  }
  const formula::Formula* formula(const Text& name) override {
    if (name == u"self") return self.get();
    return name.size() == 1 ? other.get() : nullptr;
  }

  std::shared_ptr<const formula::Formula> self;
  std::shared_ptr<const formula::Formula> other = formula::Formula::parse(u"{T.ab} & {@q}");
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Text source = mervane::fromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  std::shared_ptr<const formula::Formula> parsed;
  try {
    parsed = formula::Formula::parse(source);
  } catch (const formula::FormulaError&) {
    return 0;
  }
  AnyRecord record;
  record.self = parsed;
  try {
    parsed->evaluate(record);
  } catch (const formula::FormulaError&) {
  }
  formula::toSqlFilter(*parsed, formula::SqlNaming{u"\""});
  formula::toSqlFilter(*parsed, formula::SqlNaming{u""});
  return 0;
}
