// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "report/page.h"

namespace corvexal::report {

// Looks at both stores below the mount path and at the files below the share, and fills an empty report. Both
// stores and the disk are only read. Returns false when the song store or a part of the disk could not be
// read, which standard error names; the rest is in the report. Throws Unreadable when the catalogue or the
// share cannot be read, so that there is nothing to report. `standard_tags`: how the device's runs read tags.
[[nodiscard]] bool examine(const std::string& mount_path, const std::string& share, Report& report,
                           bool standard_tags = false);

}  // namespace corvexal::report
