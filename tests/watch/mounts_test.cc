// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/mounts.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(Mounts, AreThoseThatHoldTheFolderAndThoseBelowIt) {
  constexpr char kTable[] =
      "20 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
      "21 20 8:2 / /mnt/disk rw - ext4 /dev/sda2 rw\n"
      "22 20 8:3 / /mnt/disk-2 rw - ext4 /dev/sda3 rw\n"
      "23 21 8:4 /below /mnt/disk/share/usb\\0401\\134 rw - vfat /dev/sdb1 rw\n"
      "24 20 8:5 / /mnt/disk rw - ext4 /dev/sda5 rw\n"
      "25 20 8:6 / /mnt/disk/share2 rw - ext4 /dev/sda5 rw";
  const struct {
    const char* folder;
    std::vector<std::string> points;
    const char* numbers;
  } rows[] = {
      {"/mnt/disk/share", {"/mnt/disk", "/mnt/disk/share/usb 1\\"}, "24 23"},
      {"/mnt/disk", {"/mnt/disk", "/mnt/disk/share/usb 1\\", "/mnt/disk/share2"}, "24 23 25"},
      {"/mnt/disk-2/a", {"/mnt/disk-2"}, "22"},
      {"/mnt/other", {""}, "20"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(mounts_of(row.folder, kTable), (FolderMounts{row.points, row.numbers})) << row.folder;
  EXPECT_EQ(mounts_of("/a", "").points, std::vector<std::string>{""});
}

}  // namespace
}  // namespace corvexal
