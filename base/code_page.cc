// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/code_page.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "base/file.h"
#include "base/locations.h"

namespace corvexal {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kLineLength = 23;

struct Word {
  std::string_view word;
  CodePage code_page;
};
constexpr Word kWords[] = {{"cp950", CodePage::kBig5},
                           {"cp936", CodePage::kGb},
                           {"cp932", CodePage::kJapanese},
                           {"cp949", CodePage::kKorean},
                           {"", CodePage::kOther}};

}  // namespace

CodePage read_code_page() {
  File file(kCodePageFile);
  if (!file) return CodePage::kNoFile;
  std::array<std::uint8_t, kLineLength> bytes{};
  const std::size_t count = file.read_at(0, bytes);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), count);
  const std::string_view line = text.substr(0, text.find_first_of("\n\0"sv));
  return std::find_if(std::begin(kWords), std::end(kWords),
                      [&](const Word& row) { return line.find(row.word) != std::string_view::npos; })
      ->code_page;  // the last one's word is in every line
}

}  // namespace corvexal
