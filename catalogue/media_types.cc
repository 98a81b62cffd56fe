// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/media_types.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"

namespace corvexal {
namespace {

struct MediaType {
  std::string_view extension;
  std::string_view mime_type;
  MediaKind kind;
};

constexpr MediaType kMediaTypes[] = {
    {".bmp", "image/bmp", MediaKind::kPhoto},
    {".gif", "image/gif", MediaKind::kPhoto},
    {".jpg", "image/jpeg", MediaKind::kPhoto},
    {".jpeg", "image/jpeg", MediaKind::kPhoto},
    {".jpe", "image/jpeg", MediaKind::kPhoto},
    {".tif", "image/tiff", MediaKind::kPhoto},
    {".tiff", "image/tiff", MediaKind::kPhoto},
    {".png", "image/png", MediaKind::kPhoto},
    {".aif", "audio/aiff", MediaKind::kMusic},
    {".aiff", "audio/aiff", MediaKind::kMusic},
    {".wav", "audio/x-wav", MediaKind::kMusic},
    {".wma", "audio/x-ms-wma", MediaKind::kMusic},
    {".mp3", "audio/mpeg", MediaKind::kMusic},
    {".mp2", "audio/mpeg", MediaKind::kMusic},
    {".pcm", "audio/L16", MediaKind::kMusic},
    {".lpcm", "audio/L16", MediaKind::kMusic},
    {".mp1", "audio/mpeg", MediaKind::kMusic},
    {".mpa", "audio/mpeg", MediaKind::kMusic},
    // Clients of the catalogue know all of these by one MIME type.
    {".flac", "audio/mpeg", MediaKind::kMusic},
    {".aac", "audio/mpeg", MediaKind::kMusic},
    {".m4a", "audio/mpeg", MediaKind::kMusic},
    {".ape", "audio/mpeg", MediaKind::kMusic},
    {".avi", "video/avi", MediaKind::kVideo},
    {".mpeg", "video/mpeg", MediaKind::kVideo},
    {".mpg", "video/mpeg", MediaKind::kVideo},
    {".mpeg2", "video/mpeg2", MediaKind::kVideo},
    {".mp4", "video/mp4", MediaKind::kVideo},
    {".wmv", "video/x-ms-wmv", MediaKind::kVideo},
    {".dat", "video/mpeg", MediaKind::kVideo},
    {".vob", "video/mpeg", MediaKind::kVideo},
    {".ts", "video/mpeg", MediaKind::kVideo},
    {".mkv", "video/mpeg", MediaKind::kVideo},
    {".m2ts", "video/mpeg", MediaKind::kVideo},
    {".vc1", "video/mpeg", MediaKind::kVideo},
    {".divx", "video/mpeg", MediaKind::kVideo},
    {".flv", "video/mpeg", MediaKind::kVideo},
    {".dv", "video/mpeg", MediaKind::kVideo},
    {".m3u", "", MediaKind::kPlaylist},
    {".pls", "", MediaKind::kPlaylist},
    {".srt", "application/octet-stream", MediaKind::kSubtitle},
    {".sub", "", MediaKind::kSubtitle},
    {".ifo", "", MediaKind::kSubtitle},
    {".iso", "", MediaKind::kSubtitle},
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

std::string_view media_mime_type(std::string_view extension) {
  const MediaType* type = find_type(kMediaTypes, extension);
  return type == nullptr ? std::string_view() : type->mime_type;
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
