// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/share.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(Share, LooksAtWhatAScanLooksAt) {
  const Share share("/mnt/.disk/share//");
  EXPECT_EQ(share.folder(), "/mnt/.disk/share");
  const struct {
    std::string below;
    bool is_folder;
    bool is_seen;
  } rows[] = {
      {"/a.mp3", false, true},
      {"/A/B.JPEG", false, true},
      {"/list.m3u", false, true},
      {"/a.txt", false, false},
      {"/mp3", false, false},
      {"/folder.mp3/a", false, false},
      {"/.a.mp3", false, false},
      {"/.systemfile/a.mp3", false, false},
      {"/a/.b/c/d.mp3", false, false},
      {"/a", true, true},
      {"/.systemfile", true, false},
      {"/.systemfile/.upnpav-db", true, false},
      {"/a.txt", true, true},
      {"/" + std::string(494, 'x'), true, true},
      {"/" + std::string(495, 'x'), true, false},
      {"", true, true},
  };
  for (const auto& row : rows)
    EXPECT_NE(share.passes_over(share.folder() + row.below, row.is_folder), row.is_seen) << row.below;
}

}  // namespace
}  // namespace corvexal
