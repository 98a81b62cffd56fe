#pragma once

#include "catalogue/session.h"
#include "report/disk_walk.h"

namespace corvexal::report {

// Tells songs whose tags no row can hold from songs that nobody has added yet. For that the file is read as
// the updater reads it; of very many songs only the first thousand are, and the others count as not added.
class RefusedTags {
 public:
  RefusedTags();

  // True when the artist, the album or the genre holds a double quote.
  [[nodiscard]] bool refuse(const DiskFile& file);

 private:
  Session session_;
  int left_ = 1000;
};

}  // namespace corvexal::report
