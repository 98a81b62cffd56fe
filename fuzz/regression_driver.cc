// Hands every file of the folders given as arguments to a fuzz target. Exits 1 when a folder holds none.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(file), {}};
  // A block of exactly the input's size, so that a sanitizer sees a read behind it.
  const std::vector<std::uint8_t> bytes(content.begin(), content.end());
  std::fprintf(stderr, "%s (%zu bytes)\n", path.c_str(), bytes.size());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

bool replay_folder(const char* folder) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.is_regular_file()) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  for (const auto& path : paths) replay(path);
  return !paths.empty();
}

}  // namespace

int main(int count, char** arguments) {
  bool complete = count > 1;
  for (int i = 1; i < count; ++i) complete = replay_folder(arguments[i]) && complete;
  return complete ? 0 : 1;
}
