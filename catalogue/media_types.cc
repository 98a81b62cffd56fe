// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/media_types.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"

namespace corvexal {
namespace {

struct MediaType {
  std::string_view extension;
  MediaKind kind;
};

constexpr MediaType kMediaTypes[] = {
    {".bmp", MediaKind::kPhoto},    {".gif", MediaKind::kPhoto},    {".jpg", MediaKind::kPhoto},
    {".jpeg", MediaKind::kPhoto},   {".jpe", MediaKind::kPhoto},    {".tif", MediaKind::kPhoto},
    {".tiff", MediaKind::kPhoto},   {".png", MediaKind::kPhoto},    {".aif", MediaKind::kMusic},
    {".aiff", MediaKind::kMusic},   {".wav", MediaKind::kMusic},    {".wma", MediaKind::kMusic},
    {".mp3", MediaKind::kMusic},    {".mp2", MediaKind::kMusic},    {".pcm", MediaKind::kMusic},
    {".lpcm", MediaKind::kMusic},   {".mp1", MediaKind::kMusic},    {".mpa", MediaKind::kMusic},
    {".flac", MediaKind::kMusic},   {".aac", MediaKind::kMusic},    {".m4a", MediaKind::kMusic},
    {".ape", MediaKind::kMusic},    {".avi", MediaKind::kVideo},    {".mpeg", MediaKind::kVideo},
    {".mpg", MediaKind::kVideo},    {".mpeg2", MediaKind::kVideo},  {".mp4", MediaKind::kVideo},
    {".wmv", MediaKind::kVideo},    {".dat", MediaKind::kVideo},    {".vob", MediaKind::kVideo},
    {".ts", MediaKind::kVideo},     {".mkv", MediaKind::kVideo},    {".m2ts", MediaKind::kVideo},
    {".vc1", MediaKind::kVideo},    {".divx", MediaKind::kVideo},   {".flv", MediaKind::kVideo},
    {".dv", MediaKind::kVideo},     {".m3u", MediaKind::kPlaylist}, {".pls", MediaKind::kPlaylist},
    {".srt", MediaKind::kSubtitle}, {".sub", MediaKind::kSubtitle}, {".ifo", MediaKind::kSubtitle},
    {".iso", MediaKind::kSubtitle},
};
static_assert(std::size(kMediaTypes) == 43);

struct RemovalType {
  std::string_view extension;
  MediaClass media_class;
};

constexpr RemovalType kRemovalTypes[] = {
    {".mp3", MediaClass::kMusic},  {".wav", MediaClass::kMusic}, {".lpcm", MediaClass::kMusic},
    {".pcm", MediaClass::kMusic},  {".wma", MediaClass::kMusic}, {".mp2", MediaClass::kMusic},
    {".mp1", MediaClass::kMusic},  {".mpa", MediaClass::kMusic}, {".aif", MediaClass::kMusic},
    {".aiff", MediaClass::kMusic}, {".m3u", MediaClass::kMusic}, {".pls", MediaClass::kMusic},
    {".ogg", MediaClass::kMusic},  {".aac", MediaClass::kMusic}, {".mpg", MediaClass::kVideo},
    {".mpeg", MediaClass::kVideo}, {".dat", MediaClass::kVideo}, {".mpeg2", MediaClass::kVideo},
    {".mp4", MediaClass::kVideo},  {".avi", MediaClass::kVideo}, {".vob", MediaClass::kVideo},
    {".wmv", MediaClass::kVideo},  {".mov", MediaClass::kVideo}, {".jpg", MediaClass::kPhoto},
    {".jpeg", MediaClass::kPhoto}, {".tif", MediaClass::kPhoto}, {".tiff", MediaClass::kPhoto},
    {".png", MediaClass::kPhoto},  {".gif", MediaClass::kPhoto}, {".bmp", MediaClass::kPhoto},
};

template <class Table>
const auto* find_type(const Table& table, std::string_view extension) {
  const auto* const end = std::end(table);
  const auto* const found = std::find_if(std::begin(table), end, [extension](const auto& type) {
    return equal_ignoring_case(type.extension, extension);
  });
  return found == end ? nullptr : found;
}

}  // namespace

std::optional<std::string_view> media_extension(std::string_view path) {
  constexpr std::size_t kTooLong = 6;
  const std::size_t dot = path.rfind('.');
  if (dot == std::string_view::npos || path.size() - dot - 1 >= kTooLong) return std::nullopt;
  return path.substr(dot);
}

MediaKind media_kind(std::string_view extension) {
  const MediaType* type = find_type(kMediaTypes, extension);
  return type == nullptr ? MediaKind::kOther : type->kind;
}

const char* media_table(MediaKind kind) {
  switch (kind) {
    case MediaKind::kPhoto:
      return "photo_tbl";
    case MediaKind::kVideo:
    case MediaKind::kSubtitle:
      return "video_tbl";
    case MediaKind::kMusic:
    case MediaKind::kPlaylist:
      return "music_tbl";
    case MediaKind::kOther:
      break;
  }
  return nullptr;
}

std::optional<MediaClass> media_class_for_removal(std::string_view extension) {
  const RemovalType* type = find_type(kRemovalTypes, extension);
  return type == nullptr ? std::nullopt : std::optional(type->media_class);
}

}  // namespace corvexal
