// SPDX-License-Identifier: GPL-3.0-or-later
// The module with TagLib.

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
#include <exception>

#include "metadata/tag_digest/digest_stream.h"
#include "metadata/tag_digest/legacy_mark.h"
#include "metadata/tag_library.h"

namespace corvexal {
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
  const auto append = [&utf8](char32_t c) {
    const int more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
    utf8 += static_cast<char>(kLead[more] | c >> 6 * more);
    for (int i = more - 1; i >= 0; --i) utf8 += static_cast<char>(0x80 | (c >> 6 * i & 0x3F));
  };
  for (const wchar_t* units = text.toCWString(); units[0] != 0; ++units) {  // a zero ends them
    const auto unit = static_cast<char32_t>(units[0]), next = static_cast<char32_t>(units[1]);
    if ((unit & ~0x3FFUL) == 0xD800 && (next & ~0x3FFUL) == 0xDC00) {
      append(0x10000 + ((unit & 0x3FF) << 10 | (next & 0x3FF)));
      ++units;
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

// Collects the fields of one tag after another.
class FieldCollector {
 public:
  explicit FieldCollector(TagFields& fields) : fields_(fields) {}

  // A file with one tag.
  template <class File>
  void add_file(const File& file) {
    add(file.tag());
    add_stream(file.audioProperties());
  }
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
    if (text.find_first_not_of(' ') != std::string::npos) fields_.texts.try_emplace(key, std::move(text));
  }
  void add_stream(const TagLib::AudioProperties* properties) {
    if (properties == nullptr) return;
    fields_.song_length = std::max(properties->lengthInMilliseconds(), 0);
    fields_.bitrate = std::max(properties->bitrate(), 0);
    fields_.samplerate = std::max(properties->sampleRate(), 0);
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

  TagFields& fields_;
};

// The library's fields leave it out. It is a truth value, though some writers make it a text.
TagLib::String compilation_of(const TagLib::ASF::Tag& tag) {
  const TagLib::ASF::AttributeList attributes = tag.attribute("WM/IsCompilation");
  if (attributes.isEmpty()) return {};
  const TagLib::ASF::Attribute& first = attributes.front();
  return first.type() == TagLib::ASF::Attribute::UnicodeType ? first.toString()
                                                             : TagLib::String::number(first.toBool() ? 1 : 0);
}

void read_digest(const TagDigest& digest, FieldCollector fields) {
  DigestStream stream(digest);
  TagLib::ID3v2::FrameFactory* const frames = TagLib::ID3v2::FrameFactory::instance();
  switch (digest.format) {
    case AudioFormat::kFlac: {
      TagLib::FLAC::File file(&stream, frames);
      fields.add(file.xiphComment());
      fields.add(file.ID3v2Tag());
      fields.add_stream(file.audioProperties());
      break;
    }
    case AudioFormat::kVorbis:
      return fields.add_file(TagLib::Ogg::Vorbis::File(&stream));
    case AudioFormat::kOpus:
      return fields.add_file(TagLib::Ogg::Opus::File(&stream));
    case AudioFormat::kMp4:
      return fields.add_file(TagLib::MP4::File(&stream));
    case AudioFormat::kAsf: {
      const TagLib::ASF::File file(&stream);
      fields.add_file(file);
      if (file.tag() != nullptr) fields.add("COMPILATION", compilation_of(*file.tag()));
      break;
    }
    case AudioFormat::kApe: {
      TagLib::APE::File file(&stream);
      fields.add(file.APETag());
      fields.add(file.ID3v1Tag());
      fields.add_stream(file.audioProperties());
      break;
    }
    case AudioFormat::kWav: {
      TagLib::RIFF::WAV::File file(&stream);
      fields.add(file.ID3v2Tag());
      fields.add(file.InfoTag());
      fields.add_stream(file.audioProperties());
      break;
    }
    case AudioFormat::kAiff: {
      fields.add_file(TagLib::RIFF::AIFF::File(&stream));
      for (const auto& [field, text] : digest.texts) fields.add(field, {text, TagLib::String::UTF8});
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
}

// What the work returns; null when memory has run out, or a size is more than it could ever hold.
template <class Work>
auto guarded(Work work) noexcept -> decltype(work()) {
  try {
    return work();
  } catch (const std::exception&) {
    return nullptr;
  }
}

const TagFields* read(const TagDigest& digest) noexcept {
  return guarded([&] {
    static TagFields fields;
    fields = {};
    prepare_library();
    read_digest(digest, FieldCollector(fields));
    return &fields;
  });
}

const char* genre(int number) noexcept {
  return guarded([number] {
    static std::string name;
    name = TagLib::ID3v1::genre(number).to8Bit();
    return name.c_str();
  });
}

}  // namespace
}  // namespace corvexal

extern "C" __attribute__((visibility("default")))
const corvexal::TagLibrary corvexal_tag_library = {corvexal::read, corvexal::genre};
