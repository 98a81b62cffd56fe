// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <string>

#include "report/figures.h"
#include "report/mend.h"
#include "report/problems.h"

namespace corvexal::report {

// Everything that a page shows.
struct Report {
  Figures figures;
  ProblemList problems;
  Places places;
};

// Each writes the report to a stream; whether that went well is for the caller to ask the stream.

// For a terminal: the largest of each list, at most twenty problems of each kind.
void write_text(const Report& report, std::FILE* out);

// One JSON object (RFC 8259, UTF-8): the figures and all problems. docs/report.md lists its members.
void write_json(const Report& report, std::FILE* out);

// One self-contained HTML page that loads nothing. Its only script sorts the table of folders; a policy in
// the page lets no other run.
void write_html(const Report& report, std::FILE* out);

}  // namespace corvexal::report
