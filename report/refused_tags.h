// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "catalogue/session.h"
#include "report/disk_walk.h"

namespace corvexal::report {

// Tells songs whose tags no row can hold from songs that nobody has added yet. For that the file is read as
// the updater reads it; of very many songs only the first thousand are, and the others count as not added.
class RefusedTags {
 public:
  // With `standard_tags` tags are read as their standards say, and no text keeps a row out.
  explicit RefusedTags(bool standard_tags);

  // True when the artist, the album or the genre holds a double quote.
  [[nodiscard]] bool refuse(const DiskFile& file);

 private:
  Session session_;
  int left_;
};

}  // namespace corvexal::report
