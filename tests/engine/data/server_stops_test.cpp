// A PostgreSQL server that stops in the middle of a fetch, as when the
// database is shut down while a preview counts its pages: the cursor ends
// with a data error in words, soon, instead of hanging or crashing. The
// server is a private one (tests/support/postgres.sh), stopped by the test.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "engine/data/odbc_data_provider.h"
#include "odbc_fixture.h"

namespace mervane::engine::data {
namespace {

namespace fs = std::filesystem;

TEST(ServerStops, AFetchCutOffEndsInADataErrorSoon) {
  const char* fixture = std::getenv("MERVANE_DATA_FIXTURE");
  if (!fixture) GTEST_SKIP() << "MERVANE_DATA_FIXTURE is not set";
  const fs::path dir = fs::path(fixture) / "stopping";
  const std::string script = MERVANE_POSTGRES_SCRIPT;
  ASSERT_EQ(std::system((script + " start '" + dir.string() + "' '" + fixture + "/company.db' >/dev/null").c_str()), 0);
  auto env = mervane::testing::readPostgresEnv((dir / "postgres.env").string());
  // A table of 200,000 rows, so that the cursor is far from its end.
  ASSERT_EQ(std::system(("psql -X -q -h '" + (dir / "cluster").string() + "' -p " + env["PGPORT"] +
                         " -U postgres company -c 'CREATE TABLE \"Many\" AS SELECT generate_series(1, 200000) AS "
                         "\"N\"' -c 'GRANT SELECT ON \"Many\" TO PUBLIC' >/dev/null")
                            .c_str()),
            0);

  ReportDocument doc;
  doc.definition.data.tables.push_back(fixture::sqlTable(u"Many", fixture::postgresCompany(env, ";UID=mervane_trust;Fetch=100")));
  const model::FieldRef n = fixture::field(u"Many", u"N");

  auto provider = createOdbcDataProvider({5});
  auto data = provider->open(doc, doc.definition, u"");
  auto cursor = data->rows({n}, {});
  std::vector<formula::Value> row;
  std::size_t read = 0;
  while (read < 250 && cursor->next(row)) ++read;
  ASSERT_EQ(read, 250u);

  std::system((script + " stop '" + dir.string() + "' >/dev/null 2>&1").c_str());
  const auto stopped = std::chrono::steady_clock::now();
  try {
    while (cursor->next(row)) ++read;
    ADD_FAILURE() << "the rows ended without an error after " << read;
  } catch (const DataError& e) {
    EXPECT_FALSE(e.message().empty());
  }
  EXPECT_LT(read, 200000u);
  EXPECT_LT(std::chrono::steady_clock::now() - stopped, std::chrono::seconds(15));
  std::error_code ec;
  fs::remove_all(dir, ec);
}

}  // namespace
}  // namespace mervane::engine::data
