// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/standard_tags.h"

#include <aifffile.h>
#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <asftag.h>
#include <flacfile.h>
#include <id3v1genres.h>
#include <id3v1tag.h>
#include <id3v2framefactory.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <mp4file.h>
#include <mpegfile.h>
#include <opusfile.h>
#include <tdebuglistener.h>
#include <textidentificationframe.h>
#include <tpropertymap.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <xiphcomment.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <map>
#include <vector>

#include "base/saturate.h"
#include "base/text.h"
#include "metadata/legacy_texts.h"
#include "metadata/mp3_stream.h"
#include "metadata/tag_digest/digest_stream.h"
#include "metadata/tag_digest/legacy_mark.h"
#include "metadata/tag_digest/tag_digest.h"

namespace corvexal {

const bool kReadsStandardTags = true;

namespace {

// ID3v1 knows no encodings: every text goes through in disguise.
class Id3v1Texts final : public TagLib::ID3v1::StringHandler {
 public:
  TagLib::String parse(const TagLib::ByteVector& data) const override {
    std::string text = utf8_or_disguised({data.data(), data.size()}, false);
    text.resize(text.find_last_not_of(' ') + 1);
    return {text, TagLib::String::UTF8};
  }
};

class NoMessages final : public TagLib::DebugListener {
 public:
  void printMessage(const TagLib::String&) override {}
};

void prepare_library() {
  static const Id3v1Texts id3v1_texts;
  static NoMessages no_messages;
  TagLib::ID3v1::Tag::setStringHandler(&id3v1_texts);
  TagLib::setDebugListener(&no_messages);
}

// A text of the library, which holds UTF-16 code units, in UTF-8.
std::string utf8_of(const TagLib::String& text) {
  std::string utf8;
  const auto append = [&utf8](unsigned long c) {
    const int more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
    utf8 += static_cast<char>(kLead[more] | c >> 6 * more);
    for (int i = more - 1; i >= 0; --i) utf8 += static_cast<char>(0x80 | (c >> 6 * i & 0x3F));
  };
  const std::wstring_view units(text.toCWString(), text.size());
  for (std::size_t i = 0; i < units.size() && units[i] != 0; ++i) {
    const auto unit = static_cast<unsigned long>(units[i]);
    const auto next = i + 1 < units.size() ? static_cast<unsigned long>(units[i + 1]) : 0;
    if ((unit & ~0x3FFUL) == 0xD800 && (next & ~0x3FFUL) == 0xDC00) {
      append(0x10000 + ((unit & 0x3FF) << 10 | (next & 0x3FF)));
      ++i;
    } else {
      append((unit & ~0x7FFUL) == 0xD800 || unit > 0xFFFF ? 0xFFFD : unit);
    }
  }
  return utf8;
}

struct Id3Field {
  const char* frame;
  const char* field;
};
constexpr Id3Field kId3Fields[] = {
    {"TIT2", "TITLE"},    {"TPE1", "ARTIST"},      {"TALB", "ALBUM"},      {"TCON", "GENRE"},
    {"TCOM", "COMPOSER"}, {"TRCK", "TRACKNUMBER"}, {"TPOS", "DISCNUMBER"}, {"TDRC", "DATE"},
    {"TBPM", "BPM"},      {"TCMP", "COMPILATION"}, {"GRP1", "GROUPING"},   {"TIT1", "WORK"},
};

// What the library says of a file: the first value of each field, of the first tag that has one.
class Fields {
 public:
  template <class Tag>
  void add(Tag* tag) {
    if (tag == nullptr || tag->isEmpty()) return;
    for (const auto& [key, values] : tag->properties())
      if (!values.isEmpty()) add(utf8_of(key), values.front());
  }
  // Straight from the frames: that halves what reading the tag costs.
  void add(TagLib::ID3v2::Tag* tag) {
    if (tag == nullptr) return;
    for (const TagLib::ID3v2::Frame* frame : tag->frameList()) add(*frame);
  }
  void add(const std::string& key, const TagLib::String& value) {
    std::string text = utf8_of(value);
    if (text.find_first_not_of(' ') != std::string::npos) values_.try_emplace(key, std::move(text));
  }

  // The text under the first of the keys that has one.
  [[nodiscard]] Text text(std::initializer_list<const char*> keys) const {
    for (const char* key : keys)
      if (const auto value = values_.find(key); value != values_.end()) return value->second;
    return std::nullopt;
  }
  [[nodiscard]] int number(std::initializer_list<const char*> keys) const {
    return std::max(decimal_value(text(keys).value_or("")), 0);
  }

 private:
  void add(const TagLib::ID3v2::Frame& frame) {
    const TagLib::ByteVector id = frame.frameID();
    if (id == "COMM") return add("COMMENT", frame.toString());
    const auto* const text = dynamic_cast<const TagLib::ID3v2::TextIdentificationFrame*>(&frame);
    if (text == nullptr) return;
    const TagLib::StringList values = text->fieldList();
    for (const Id3Field& row : kId3Fields)
      if (id == row.frame && !values.isEmpty()) add(row.field, values.front());
  }

  std::map<std::string, std::string, std::less<>> values_;
};

void read_stream(const TagLib::AudioProperties* properties, SongInfo& song) {
  if (properties == nullptr) return;
  song.song_length = std::max(properties->lengthInMilliseconds(), 0);
  song.bitrate = std::max(properties->bitrate(), 0);
  song.samplerate = std::max(properties->sampleRate(), 0);
}

// The library's fields leave it out. It is a truth value, though some writers make it a text.
TagLib::String compilation_of(const TagLib::ASF::Tag& tag) {
  const TagLib::ASF::AttributeList attributes = tag.attribute("WM/IsCompilation");
  if (attributes.isEmpty()) return {};
  const TagLib::ASF::Attribute& first = attributes.front();
  return first.type() == TagLib::ASF::Attribute::UnicodeType ? first.toString()
                                                             : TagLib::String::number(first.toBool() ? 1 : 0);
}

// Reads the digest with the library's reader of its format.
Fields read_digest(const TagDigest& digest, SongInfo& song) {
  DigestStream stream(digest);
  TagLib::ID3v2::FrameFactory* const frames = TagLib::ID3v2::FrameFactory::instance();
  Fields fields;
  switch (digest.format) {
    case AudioFormat::kFlac: {
      TagLib::FLAC::File file(&stream, frames);
      fields.add(file.xiphComment());
      fields.add(file.ID3v2Tag());
      read_stream(file.audioProperties(), song);
      break;
    }
    case AudioFormat::kVorbis: {
      TagLib::Ogg::Vorbis::File file(&stream);
      fields.add(file.tag());
      read_stream(file.audioProperties(), song);
      break;
    }
    case AudioFormat::kOpus: {
      TagLib::Ogg::Opus::File file(&stream);
      fields.add(file.tag());
      read_stream(file.audioProperties(), song);
      break;
    }
    case AudioFormat::kMp4: {
      TagLib::MP4::File file(&stream);
      fields.add(file.tag());
      read_stream(file.audioProperties(), song);
      break;
    }
    case AudioFormat::kAsf: {
      TagLib::ASF::File file(&stream);
      fields.add(file.tag());
      if (file.tag() != nullptr) fields.add("COMPILATION", compilation_of(*file.tag()));
      read_stream(file.audioProperties(), song);
      break;
    }
    case AudioFormat::kApe: {
      TagLib::APE::File file(&stream);
      fields.add(file.APETag());
      fields.add(file.ID3v1Tag());
      read_stream(file.audioProperties(), song);
      break;
    }
    case AudioFormat::kWav: {
      TagLib::RIFF::WAV::File file(&stream);
      fields.add(file.ID3v2Tag());
      fields.add(file.InfoTag());
      read_stream(file.audioProperties(), song);
      break;
    }
    case AudioFormat::kAiff: {
      TagLib::RIFF::AIFF::File file(&stream);
      fields.add(file.tag());
      for (const auto& [field, text] : digest.texts) fields.add(field, {text, TagLib::String::UTF8});
      read_stream(file.audioProperties(), song);
      break;
    }
    case AudioFormat::kMpeg:
    case AudioFormat::kUnknown: {
      TagLib::MPEG::File file(&stream, frames, false);
      fields.add(file.ID3v2Tag());
      fields.add(file.APETag());
      fields.add(file.ID3v1Tag());
      break;
    }
  }
  return fields;
}

bool is_number(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// "13" is a genre by its number, and so is "(13)", whatever follows; ID3v2 has two by letters.
Text genre_name_of(std::string genre) {
  if (genre == "RX" || genre == "(RX)") return "Remix";
  if (genre == "CR" || genre == "(CR)") return "Cover";
  const std::size_t close = genre.find(')');
  if (genre.starts_with('(') && close != std::string::npos && is_number(genre.substr(1, close - 1)))
    genre = genre.substr(1, close - 1);
  if (!is_number(genre)) return genre;
  const std::string name = TagLib::ID3v1::genre(decimal_value(genre)).to8Bit();
  return name.empty() ? std::nullopt : Text(name);
}

// "3/12": the number and the number of all, of which the latter may have a field of its own.
void read_pair(const Fields& fields, const char* key, std::initializer_list<const char*> keys_of_all,
               int& number, int& all) {
  const std::string text = fields.text({key}).value_or("");
  const std::size_t slash = text.find('/');
  number = std::max(decimal_value(text), 0);
  all = slash == std::string::npos ? fields.number(keys_of_all)
                                   : std::max(decimal_value(text.substr(slash + 1)), 0);
}

void read_fields(const Fields& fields, SongInfo& song) {
  song.title = fields.text({"TITLE"});
  song.artist = fields.text({"ARTIST"});
  song.album = fields.text({"ALBUM"});
  song.genre = fields.text({"GENRE"});
  song.comment = fields.text({"COMMENT", "DESCRIPTION"});
  song.composer = fields.text({"COMPOSER"});
  song.grouping = fields.text({"GROUPING", "WORK"});
  song.year = fields.number({"DATE", "YEAR"});
  song.bpm = fields.number({"BPM"});
  read_pair(fields, "TRACKNUMBER", {"TRACKTOTAL", "TOTALTRACKS"}, song.track, song.total_tracks);
  read_pair(fields, "DISCNUMBER", {"DISCTOTAL", "TOTALDISCS"}, song.disc, song.total_discs);
  const std::string compilation = fields.text({"COMPILATION"}).value_or("");
  song.compilation = decimal_value(compilation) != 0 || equal_ignoring_case(compilation, "true") ? 1 : 0;
}

// Texts in disguise become UTF-8, by one decision for all of them. Names in ASCII tell of the language that
// the others are in.
void decode_texts(TagDecoder& decoder, SongInfo& song) {
  std::vector<Text*> texts;
  std::vector<std::string> bytes;
  const auto add = [&](Text& text, bool ascii_too) {
    if (!text) return;
    std::optional<std::string> raw = undisguised(*text);
    if (!raw && ascii_too && is_ascii(*text)) raw = *text;
    if (!raw) return;
    texts.push_back(&text);
    bytes.push_back(*std::move(raw));
  };
  for (Text* name : {&song.title, &song.artist, &song.album, &song.composer}) add(*name, true);
  for (Text* text : {&song.genre, &song.grouping, &song.comment}) add(*text, false);
  const std::string album = song.artist.value_or("") + '\n' + song.album.value_or("");
  const std::vector<Text> decoded = decode_legacy_texts(decoder, bytes, album);
  for (std::size_t i = 0; i < texts.size(); ++i) *texts[i] = decoded[i];
}

}  // namespace

int read_standard_tags(TagDecoder& decoder, const std::string& path, SongInfo& song) {
  FileWindow file(path);
  if (!file) return -1;
  prepare_library();
  const AudioContent content = probe_audio(file, song.type.value_or(""));
  const TagDigest digest = digest_of(file, content);
  read_fields(read_digest(digest, song), song);
  decode_texts(decoder, song);
  if (song.genre) song.genre = genre_name_of(*song.genre);
  if (content.format == AudioFormat::kMpeg) scan_mp3_stream(file, path, song);
  song.file_size = saturated(file.file_size());
  return 0;
}

}  // namespace corvexal
