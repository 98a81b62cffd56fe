// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <tiostream.h>

#include <cstdint>

#include "metadata/tag_digest/tag_digest.h"

namespace corvexal {

// A digest as TagLib reads it. The stream gives out 4 MiB in all and then ends, so that no search through it
// is long. It refers to the digest and cannot be written to.
class DigestStream final : public TagLib::IOStream {
 public:
  explicit DigestStream(const TagDigest& digest) : digest_(digest) {}

  TagLib::FileName name() const override { return ""; }
  TagLib::ByteVector readBlock(unsigned long length) override;
  void seek(long offset, Position from = Beginning) override;
  long tell() const override { return at_; }
  long length() override;
  bool readOnly() const override { return true; }
  bool isOpen() const override { return true; }

  void writeBlock(const TagLib::ByteVector&) override {}
  void insert(const TagLib::ByteVector&, unsigned long, unsigned long) override {}
  void removeBlock(unsigned long, unsigned long) override {}
  void truncate(long) override {}

 private:
  const TagDigest& digest_;
  long at_ = 0;
  unsigned long left_to_give_ = 4UL << 20;  // bytes
};

}  // namespace corvexal
