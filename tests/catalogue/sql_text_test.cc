// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/sql_text.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(BindSql, BindsQuotedPlaceholdersAndSplicesBareOnes) {
  const SqlValue values[] = {"photo_tbl", std::string_view("it's\0\"", 6), -3, 18446744073709551615ULL};
  const BoundSql sql =
      bind_sql(R"(update %s set p = "%s", q='x%%y', r = "" where s like'%d%%' and t=="<%llu>";)", values);
  EXPECT_EQ(sql.text, "update photo_tbl set p = ?, q='x%y', r = '' where s like? and t==?;");
  EXPECT_EQ(sql.values, (std::vector<std::string>{"it's", "-3%", "<18446744073709551615>"}));
  EXPECT_FALSE(sql.broken);
  EXPECT_TRUE(bind_sql("select %s where a='%s';", values).broken) << "its own literal's quote";
  EXPECT_EQ(compose_sql("select %s where a like'%s%%';", values), "select photo_tbl where a like'it's%';");
}

TEST(QuoteForSql, CutsATitleWithDoubleQuotesAlone) {
  const std::string x60(60, 'x');
  std::string quoted = '"' + x60, plain = "it's" + x60;
  QuoteForSql(quoted);
  QuoteForSql(plain);
  EXPECT_EQ(quoted, '\'' + x60.substr(0, 46));
  EXPECT_EQ(plain, "it's" + x60);
}

}  // namespace
}  // namespace corvexal
