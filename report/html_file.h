// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "report/page.h"

namespace corvexal::report {

// Writes the HTML page to a file, "-" for standard output. A file is made beside its final place, and
// renamed: whoever looks finds the old page or the new one. What stands there and is no regular file,
// a link above all, is neither followed nor replaced. False after a line on standard error.
[[nodiscard]] bool write_html_file(const Report& report, const std::string& path);

}  // namespace corvexal::report
