// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gdbm.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>

#include "base/byte_reader.h"
#include "base/descriptor.h"

// Owners for what gdbm hands out, and walks that end whatever the file holds. Failures never end the process:
// gdbm gets no fatal-error function, which makes it return them.

namespace corvexal {

struct CloseGdbm {
  void operator()(GDBM_FILE db) const noexcept { gdbm_close(db); }
};
using GdbmFile = std::unique_ptr<std::remove_pointer_t<GDBM_FILE>, CloseGdbm>;

// Opens a gdbm file, as a GDBM_READER or GDBM_WRITER an existing one, as GDBM_NEWDB a new one, without gdbm's
// file lock and without mapping it: whoever else can cut the file would end the process. `path` is what
// gdbm's recovery puts its file in place of. On failure nothing, errno is set (EINVAL for what is no gdbm
// file of this host) and gdbm_errno is gdbm's own reason.
[[nodiscard]] GdbmFile open_gdbm(Descriptor file, const std::string& path, int mode);

// The same for an existing file that is reached as base/place.h says, and refused as said there.
[[nodiscard]] GdbmFile open_gdbm(const std::string& path, int mode);

// What to tell a person after a failure: gdbm's reason and the system's (errno).
[[nodiscard]] std::string gdbm_failure();

// A key or a value that gdbm allocated; owned here.
class Datum {
 public:
  Datum() = default;
  explicit Datum(datum from)
      : data_(from.dptr), size_(from.dsize < 0 ? 0 : static_cast<std::size_t>(from.dsize)) {}

  explicit operator bool() const { return data_ != nullptr; }
  [[nodiscard]] Bytes bytes() const;
  [[nodiscard]] datum borrowed() const { return {data_.get(), static_cast<int>(size_)}; }

 private:
  struct Free {                                                      // what gdbm hands out comes from malloc
    void operator()(char* data) const noexcept { std::free(data); }  // NOLINT(*-no-malloc,*-owning-memory)
  };
  std::unique_ptr<char, Free> data_;
  std::size_t size_ = 0;
};

// A view of `bytes` for a call; gdbm changes neither keys nor values that it is given.
[[nodiscard]] datum as_datum(Bytes bytes);

// Steps through the keys of a file in gdbm's order. A damaged file may send gdbm round in circles, so the
// walk gives up after as many keys as the file has room for. Nothing may be stored or deleted while it lasts.
class KeyWalk {
 public:
  explicit KeyWalk(GDBM_FILE db);

  // Goes to the first, then to the next key. False after the last one, or when the file is damaged; not to be
  // asked again then.
  [[nodiscard]] bool next();

  // The current key; valid until the next step.
  [[nodiscard]] const Datum& key() const { return key_; }

  // Once next() has returned false: the walk met damage and may have missed keys.
  [[nodiscard]] bool damaged() const { return damaged_; }

 private:
  GDBM_FILE db_;
  Datum key_;
  std::uint64_t steps_left_;
  bool started_ = false;
  bool damaged_ = false;
};

// True when gdbm had finished with the file: it ends where its header says, its tables of free space hold
// together, every key and value can be read, and there are as many as the buckets count.
[[nodiscard]] bool is_sound(GDBM_FILE db);

// The part of it that costs no look at the records.
[[nodiscard]] bool looks_sound(GDBM_FILE db);

// Makes a damaged file that is not open one that gdbm opens for a rebuild, and that is good for nothing else:
// its header lists no free space and names an end far beyond the file's. gdbm writes the header last, so
// after a kill a bucket may list free space beyond the end that the header names, or the header's own list be
// torn; gdbm would give up that bucket with every record in it, or the file.
void forget_free_space(const Descriptor& file);

}  // namespace corvexal
