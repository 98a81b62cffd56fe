// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/refused_tags.h"

#include "catalogue/media_rows.h"

namespace corvexal::report {

RefusedTags::RefusedTags(bool standard_tags) : left_(standard_tags ? 0 : 1000) {
  session_.names.CodePageType();
}

bool RefusedTags::refuse(const DiskFile& file) {
  if (file.kind != MediaKind::kMusic || left_ == 0) return false;
  --left_;
  MediaFile asked;
  asked.path = file.path();
  asked.folder = file.folder;
  asked.name = file.name;
  set_extension(asked, file.name.substr(file.name.rfind('.')));
  const auto row = read_media_row(session_, std::move(asked));
  if (!row) return false;
  const MusicFacts& tags = row->music;
  return (tags.artist + tags.album + tags.genre).find('"') != std::string::npos;
}

}  // namespace corvexal::report
