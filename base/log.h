// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <cstdio>

namespace corvexal {

// Settings of err_log, never changed after start-up by the program itself.
extern int log_level;                 // highest level that is written
extern std::uint32_t log_categories;  // mask of the categories that are written
extern int log_destination;           // 0 standard error, 1 syslog, 2 log_file
extern std::FILE* log_file;           // borrowed; open while log_destination is 2

// Writes a message to standard error. Control characters that its texts bring, from file names and tags, show
// as "\\x" and two digits: they form no lines of their own and tell the terminal nothing.
void error_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Appends one entry to the media server's log file: a line with the time (ctime), then ":" and the message,
// of any length, and a line end. The file is opened and closed for each entry; any failure drops the entry
// silently.
void log_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The levelled logger of the tag and stream parsers, safe to use from several threads. A message, cut to 1023
// bytes, is written when its level is at most log_level and its category is in log_categories. Level 0 is
// fatal: always written, followed by "Aborting", and the process exits with status 1. Category bit 0x800
// keeps a fatal message from being repeated on standard error.
void err_log(int level, std::uint32_t category, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace corvexal
