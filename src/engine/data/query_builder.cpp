// The report's SELECT, written from a QuerySpec (see query_builder.h).
#include "engine/data/query_builder.h"

#include <algorithm>

namespace mervane::engine::data {
namespace {

bool plainName(TextView name) {
  if (name.empty()) return false;
  for (std::size_t i = 0; i < name.size(); ++i) {
    char16_t c = name[i];
    bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
    if (!letter && !(i > 0 && c >= u'0' && c <= u'9')) return false;
  }
  return true;
}

Text column(const model::FieldRef& field, TextView quote) {
  return quoteIdentifier(field.table, quote) + u"." + quoteIdentifier(field.column, quote);
}

std::size_t tableIndex(const QuerySpec& spec, const Text& alias) {
  for (std::size_t i = 0; i < spec.tables.size(); ++i)
    if (spec.tables[i].alias == alias) return i;
  return spec.tables.size();
}

const char16_t* aggregate(model::SummaryOperation op) {
  switch (op) {
    case model::SummaryOperation::Count: return u"COUNT(";
    case model::SummaryOperation::DistinctCount: return u"COUNT(DISTINCT ";
    case model::SummaryOperation::Minimum: return u"MIN(";
    case model::SummaryOperation::Maximum: return u"MAX(";
    case model::SummaryOperation::Sum:
    case model::SummaryOperation::Average: break;
  }
  return u"SUM(";
}

// The joins, each table to those before it.
Text fromClause(const QuerySpec& spec) {
  const Text& q = spec.quote;
  auto tableText = [&](std::size_t i) {
    return quoteLocation(spec.tables[i].location, q) + u" AS " + quoteIdentifier(spec.tables[i].alias, q);
  };
  Text sql = u" FROM " + tableText(0);
  std::vector<bool> joined(spec.tables.size(), false);
  joined[0] = true;
  for (std::size_t t = 1; t < spec.tables.size(); ++t) {
    Text conditions;
    model::JoinType join = model::JoinType::Inner;
    bool first = true;
    for (std::size_t l = 0; l < spec.links.size(); ++l) {
      const model::TableLink& link = spec.links[l];
      std::size_t from = tableIndex(spec, link.from.table), to = tableIndex(spec, link.to.table);
      if (from == spec.tables.size() || to == spec.tables.size())
        throw DataError(u"A link joins a table the report does not have ('" +
                        (from == spec.tables.size() ? link.from.table : link.to.table) + u"').");
      bool forward = to == t && joined[from];
      bool backward = from == t && joined[to];
      if (!forward && !backward) continue;
      if (first) {
        join = link.join;
        // The link names the new table first: its outer side turns round.
        if (backward && join == model::JoinType::LeftOuter) join = model::JoinType::RightOuter;
        else if (backward && join == model::JoinType::RightOuter) join = model::JoinType::LeftOuter;
        first = false;
      } else {
        conditions += u" AND ";
      }
      conditions += column(link.from, q) + u" = " + column(link.to, q);
    }
    if (first) {
      sql += u" CROSS JOIN " + tableText(t);
    } else {
      const char16_t* keyword = join == model::JoinType::LeftOuter    ? u" LEFT OUTER JOIN "
                                : join == model::JoinType::RightOuter ? u" RIGHT OUTER JOIN "
                                : join == model::JoinType::FullOuter  ? u" FULL OUTER JOIN "
                                                                      : u" INNER JOIN ";
      sql += keyword + tableText(t) + u" ON " + conditions;
    }
    joined[t] = true;
  }
  return sql;
}

}  // namespace

Text quoteIdentifier(TextView name, TextView quote) {
  if (name.empty()) throw DataError(u"A table or column has an empty name.");
  if (name.find(u'\0') != TextView::npos) throw DataError(u"A table or column name holds a NUL character.");
  if (isBlank(quote)) {
    if (!plainName(name))
      throw DataError(u"The name '" + Text(name) + u"' needs quotes, and this database's driver has none.");
    return Text(name);
  }
  char16_t mark = trim(quote)[0];
  Text out(1, mark);
  for (char16_t c : name) {
    out += c;
    if (c == mark) out += c;
  }
  out += mark;
  return out;
}

Text quoteLocation(TextView location, TextView quote) {
  Text out;
  std::size_t start = 0;
  for (;;) {
    std::size_t dot = location.find(u'.', start);
    TextView part = location.substr(start, dot == TextView::npos ? TextView::npos : dot - start);
    if (!out.empty()) out += u".";
    out += quoteIdentifier(part, quote);
    if (dot == TextView::npos) break;
    start = dot + 1;
  }
  return out;
}

Query buildQuery(const QuerySpec& spec) {
  if (spec.tables.empty()) throw DataError(u"The report reads no table.");
  const Text& q = spec.quote;
  Query query;
  Text select;
  if (!spec.aggregates.empty()) {
    for (const SummaryRequest& r : spec.aggregates) {
      if (!select.empty()) select += u", ";
      select += aggregate(r.operation) + column(r.field, q) + u")";
      if (r.operation == model::SummaryOperation::Average) select += u", COUNT(" + column(r.field, q) + u")";
    }
  } else {
    for (const model::FieldRef& f : spec.columns) {
      if (!select.empty()) select += u", ";
      select += column(f, q);
    }
    if (select.empty()) select = u"1";
  }
  query.sql = u"SELECT " + select + fromClause(spec);

  Text where;
  if (!spec.filter.empty()) {
    where = u"(" + spec.filter + u")";
    query.parameters = spec.filterParameters;
  }
  for (const FieldMatch& m : spec.matches) {
    if (!where.empty()) where += u" AND ";
    if (m.value.isNull()) {
      where += u"1 = 0";  // a null matches no record
    } else {
      where += column(m.field, q) + u" = ?";
      query.parameters.push_back(m.value);
    }
  }
  if (!where.empty()) query.sql += u" WHERE " + where;

  if (spec.aggregates.empty() && !spec.order.empty()) {
    Text order;
    for (const OrderKey& k : spec.order) {
      if (!order.empty()) order += u", ";
      order += column(k.field, q) + (k.direction == model::SortDirection::Descending ? u" DESC" : u" ASC");
    }
    query.sql += u" ORDER BY " + order;
  }
  return query;
}

}  // namespace mervane::engine::data
