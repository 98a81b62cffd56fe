#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/database.h"

namespace corvexal {

// The distinct folders of a class of media, asked which of them lie at or below a path: those that SQL's
// "FOLDER like 'PATH%'" selects, wildcards in the path and the folded case of ASCII letters included.
class FolderSet {
 public:
  void add(std::string_view folder);

  // To be called once after the last folder.
  void sort();

  // True when any folder matches. A binary search for the text before each wildcard; a "_" is tried with each
  // character that the folders hold there, and from a "%" on the folders that are left are walked through.
  [[nodiscard]] bool any_below(std::string_view path) const;

 private:
  std::vector<std::string> folders_;  // as "like" reads them, sorted
};

// Recomputes have_video, have_music and have_photo of every folder row: 1 when any row of the class lies in
// the folder or below it. Returns 1, or 0 at the first failure, which is printed; folders before it keep
// their new flags.
int Assign_pathtbl_media(Database& db);

}  // namespace corvexal
