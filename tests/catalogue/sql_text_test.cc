#include "catalogue/sql_text.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(BindSql, BindsQuotedPlaceholdersAndSplicesBareOnes) {
  const SqlValue values[] = {"photo_tbl", "/a%b_c/", -3, 18446744073709551615ULL};
  const BoundSql sql =
      bind_sql(R"(update %s set p = "%s", q='x%%y', r = "" where s like'%d%%' and t=="<%llu>";)", values);
  EXPECT_EQ(sql.text, "update photo_tbl set p = ?, q='x%y', r = '' where s like? and t==?;");
  EXPECT_EQ(sql.values, (std::vector<std::string>{"/a%b_c/", "-3%", "<18446744073709551615>"}));
  EXPECT_FALSE(sql.broken);
  EXPECT_EQ(compose_sql("select %s where a like'%s%%' and b=\"%u\";", values),
            "select photo_tbl where a like'/a%b_c/%' and b=\"-3\";");
}

TEST(BindSql, IsBrokenByTheQuoteOfTheValuesOwnLiteralOnly) {
  const struct {
    const char* format;
    const char* value;
    bool broken;
  } rows[] = {{"select \"%s\"", "it's", false},  {"select '%s'", "it's", true},
              {"select \"%s\"", "x\"\"y", true}, {"select '%s'", "x\"y", false},
              {"select \"%s%%\"", "\"", true},   {"select \"%s\"", "", false}};
  for (const auto& row : rows) {
    const SqlValue values[] = {row.value};
    EXPECT_EQ(bind_sql(row.format, values).broken, row.broken) << row.format << ' ' << row.value;
  }
}

TEST(BindSql, EndsATextAtItsFirstNul) {
  const SqlValue values[] = {std::string_view("ab\0\"c", 5)};
  const BoundSql sql = bind_sql("select \"%s\"", values);
  EXPECT_EQ(sql.values.front(), "ab");
  EXPECT_FALSE(sql.broken);
}

TEST(QuoteForSql, TurnsDoubleQuotesIntoSingleOnes) {
  const std::string x46(46, 'x');
  const struct {
    std::string before, after;
  } rows[] = {{"the \"best\" of", "the 'best' of"},
              {"it's", "it's"},
              {std::string(60, 'x'), std::string(60, 'x')},  // nothing to replace, nothing to cut
              {"\"" + x46 + "yz", "'" + x46},
              {x46 + "\"", x46 + "'"}};
  for (const auto& row : rows) {
    std::string text = row.before;
    QuoteForSql(text);
    EXPECT_EQ(text, row.after);
  }
}

}  // namespace
}  // namespace corvexal
