// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_tags.h"

#include <id3tag.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "metadata/detected_charset.h"
#include "metadata/genres.h"
#include "metadata/id3_guard.h"
#include "metadata/id3_texts.h"
#include "metadata/reader_log.h"

namespace corvexal {
namespace {

constexpr std::size_t kSampleSize = 100;  // bytes
constexpr int kSampleFrames = 5;

struct CloseTagFile {
  void operator()(id3_file* file) const noexcept { id3_file_close(file); }
};
using TagFile = std::unique_ptr<id3_file, CloseTagFile>;

// Calls `visit(frame)` for each frame in turn until it returns false.
template <class Visit>
void each_frame(const id3_tag& tag, Visit visit) {
  for (unsigned index = 0; const id3_frame* frame = id3_tag_findframe(&tag, "", index); ++index)
    if (!visit(*frame)) return;
}

void note_compilation(const id3_frame& frame, SongInfo& song) {
  if (std::string_view(frame.id) != "YTCP") return;
  song.compilation = 1;
  err_log(kVerbose, kReaders, "Compilation: %d\n", song.compilation);
}

bool is_sampled(std::string_view id) {
  constexpr std::string_view kSampled[] = {"TIT2", "TPE1", "TALB", "TCOM"};
  return std::find(std::begin(kSampled), std::end(kSampled), id) != std::end(kSampled);
}

// The tag's first texts, for the detector: bytes of an encoding that is not known.
std::string sample_texts(const id3_tag& tag, SongInfo& song) {
  std::string sample;
  int frames = 0;
  each_frame(tag, [&](const id3_frame& frame) {
    note_compilation(frame, song);
    const id3_ucs4_t* const text = id3_text_of(frame);
    if (text == nullptr || !is_sampled(frame.id)) return true;
    const std::string bytes = ucs4_to_raw_bytes(text, kSampleSize);
    if (sample.size() + bytes.size() > kSampleSize) return false;
    sample += bytes;
    return ++frames < kSampleFrames;
  });
  return sample;
}

const char* shown(const Text& text) {
  return text ? text->c_str() : "(null)";
}

void store_title(Text value, SongInfo& song) {
  if (!value) {
    std::printf("Title NULL:fname[%s]\n", shown(song.fname));
    return;
  }
  song.title = std::move(value);
  err_log(kVerbose, kReaders, " Title: %s\n", shown(song.title));
}

void store_genre(Text value, SongInfo& song) {
  err_log(kVerbose, kReaders, " Genre: %s\n", shown(value));
  if (value) value = std::string(genre_of_text(*value));
  song.genre = std::move(value);
}

void store(std::string_view id, Text value, SongInfo& song) {
  if (id == "TIT2") return store_title(std::move(value), song);
  if (id == "TCON") return store_genre(std::move(value), song);
  if (id == "TPE1") {
    song.artist = std::move(value);
    err_log(kVerbose, kReaders, " Artist: %s\n", shown(song.artist));
  } else if (id == "TALB") {
    song.album = std::move(value);
    err_log(kVerbose, kReaders, " Album: %s\n", shown(song.album));
  } else if (id == "TBPM") {
    song.bpm = decimal_value(value.value_or(""));
    err_log(kVerbose, kReaders, "BPM: %d\n", song.bpm);
  }
}

void store_texts(Converters& converters, const id3_tag& tag, const char* charset, SongInfo& song) {
  each_frame(tag, [&](const id3_frame& frame) {
    note_compilation(frame, song);
    if (const id3_ucs4_t* const text = id3_text_of(frame))
      store(frame.id, id3_text_to_utf8(converters, text, charset), song);
    return true;
  });
}

// The library reads the very file that was looked at, and no child of the run inherits it; opened by its path
// it might be another one, and the detector would get it.
TagFile tag_file_of(const File& bytes) {
  const int descriptor = bytes.duplicate();
  if (descriptor < 0) return nullptr;
  TagFile file(id3_file_fdopen(descriptor, ID3_FILE_MODE_READONLY));
  if (!file) close(descriptor);
  return file;
}

int cannot_open(const std::string& path) {
  err_log(kFileFailure, kReaders, "Cannot open %s\n", path.c_str());
  return -1;
}

int no_tag(const std::string& path) {
  err_log(kFileFailure, kReaders, "Cannot get ID3 tag for %s\n", path.c_str());
  return -1;
}

}  // namespace

int scan_get_mp3tags(TagDecoder& decoder, const std::string& path, SongInfo& song) {
  if (!song.type || !equal_ignoring_case(*song.type, "mp3")) return 0;
  File bytes(path);
  if (!bytes) return cannot_open(path);
  if (!id3_tags_are_bounded(bytes)) {
    no_tag(path);
    return 0;
  }
  TagFile file = tag_file_of(bytes);
  if (!file) return cannot_open(path);
  const id3_tag* const tag = id3_file_tag(file.get());
  if (tag == nullptr) {
    const int error = errno;
    file.reset();
    errno = error;
    return no_tag(path);
  }
  const std::string answer = decoder.detector.detect(sample_texts(*tag, song));
  store_texts(decoder.converters, *tag, charset_of_answer(answer).c_str(), song);
  err_log(kVerbose, kReaders, "Got id3 tag successfully\n");
  return 0;
}

}  // namespace corvexal
