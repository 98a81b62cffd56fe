#include "app/command_line.h"

#include <gtest/gtest.h>

#include <vector>

namespace corvexal {
namespace {

using Words = std::vector<const char*>;

TEST(CommandLine, AsksForTheUsageLine) {
  const Words rows[] = {{"Corvexal"},
                        {"Corvexal", "-C"},
                        {"Corvexal", "-C", "-M"},
                        {"Corvexal", "-X", "/x"},
                        {"Corvexal", "-c", "/x"},
                        {"Corvexal", "-CC", "/x"},
                        {"Corvexal", "", "/x"},
                        {"Corvexal", "-C", "-Z", "/x"},
                        {"Corvexal", "-C", "-m", "/x"},
                        {"Corvexal", "-C", "-", "/x"},
                        {"Corvexal", "-R", "/x"},
                        {"Corvexal", "-R", "-M", "/x"}};
  for (std::size_t i = 0; i < std::size(rows); ++i) EXPECT_FALSE(parse_command_line(rows[i])) << "row " << i;
}

TEST(CommandLine, SaysOperationTargetAndPaths) {
  const struct {
    Words words;
    Operation operation;
    char target;
    const char *path, *new_path;
  } rows[] = {{{"Corvexal", "-C", "/x"}, Operation::kCreate, 'b', "/x", ""},
              {{"Corvexal", "-D", "-M", "/x", "/y"}, Operation::kDelete, 'M', "/x", "/y"},
              {{"Corvexal", "-DD", "-I", "-x"}, Operation::kDeleteTree, 'I', "-x", ""},
              {{"Corvexal", "-R", "/x", "-M"}, Operation::kRename, 'b', "/x", "-M"},
              {{"Corvexal", "-S", ""}, Operation::kSync, 'b', "", ""}};
  for (const auto& row : rows) {
    const std::optional<Command> command = parse_command_line(row.words);
    ASSERT_TRUE(command) << row.path;
    EXPECT_EQ(command->operation, row.operation) << row.path;
    EXPECT_EQ(command->daap_only, row.target == 'I') << row.path;
    EXPECT_EQ(command->catalogue_only, row.target == 'M') << row.path;
    EXPECT_EQ(command->update_both, row.target == 'b') << row.path;
    EXPECT_EQ(command->path, row.path);
    EXPECT_EQ(command->new_path, row.new_path) << row.path;
  }
}

}  // namespace
}  // namespace corvexal
