// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/path_index.h"

#include "base/text.h"
#include "songdb/record.h"

namespace corvexal {
namespace {

std::string lower(std::string_view text) {
  std::string lowered(text);
  StringToLower(lowered);
  return lowered;
}

}  // namespace

std::string PathIndex::root_of(std::string_view path) {
  const std::size_t end = path.find('/', 1);
  return end == std::string_view::npos ? std::string() : lower(path.substr(0, end + 1));
}

void PathIndex::put(Bytes key, Bytes record) {
  remove(key);
  const Text path = shortened_path(record);
  if (!path || !covers(*path)) return;
  const Key own_key(key.begin(), key.end());
  by_path_.emplace(lower(*path), own_key);
  by_key_[own_key] = {lower(*path), record_id(record)};
}

void PathIndex::remove(Bytes key) {
  const auto entry = by_key_.extract(Key(key.begin(), key.end()));
  if (entry) by_path_.erase({entry.mapped().path, entry.key()});
}

PathIndex::Answer PathIndex::records_below(std::string_view path) const {
  const std::string wanted = lower(path);
  auto at = by_path_.lower_bound({wanted, Key()});
  const auto matches = [&] { return at != by_path_.end() && at->first.starts_with(wanted); };
  if (!matches()) return {};
  const std::uint32_t id = by_key_.at(at->second).id;
  ++at;
  return {matches() ? Found::several : Found::one, id};
}

}  // namespace corvexal
