#pragma once

#include <QByteArrayView>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "base/FileUrl.h"

/// An audio file as its container describes it: metadata items under the names that each kind of
/// tag gives them, and the audio tracks. What the items mean to the library is decided above.
///
/// Everything is a plain value, read at once on the thread that opens the asset (a worker: it
/// touches the disk), and may go to another thread afterwards. What can't be read is empty or zero
/// here, so that half a file still tells what it can.
namespace halvenor {

/// What an item is about, where all kinds of tags have a word for it.
enum class CommonKey { title, artist, albumName, type, subject, creationDate, artwork };

/// The kinds of tags that are read.
enum class MetadataFormat { id3v2, ape, id3v1, vorbisComments, mp4, riffInfo, aiffText };

/// The name of an item in its own kind of tag: the identifier of an ID3v2 frame ("TPE2", always
/// the four letters of v2.4), or a four-character code of MP4 as a number. Kinds without such
/// names use the ID3v2 identifier of the same meaning (album artist "TPE2", track "TRCK").
using MetadataKey = std::variant<std::monostate, QByteArray, uint32_t>;

/// One entry of a tag.
struct MetadataItem {
    MetadataFormat format = MetadataFormat::id3v2;
    std::optional<CommonKey> commonKey;
    MetadataKey key;
    /// Absent when the item is no text, and when its text is empty. Several values in one item are
    /// joined by ", ".
    std::optional<QString> stringValue;
    /// Absent or never empty. Points into the asset.
    std::optional<QByteArrayView> dataValue;
    /// The value is there and can't be read (encrypted, say): not the same as an empty one.
    bool isUnreadable = false;
};

/// What one description of an audio track's format tells.
struct AudioFormatDescription {
    double sampleRate = 0;  ///< hertz; 0 when it is not told
};

struct AudioTrack {
    std::vector<AudioFormatDescription> formatDescriptions;
    /// Mean bits per second of the audio alone; 0 when unknown.
    double estimatedDataRate = 0;
};

/// See the head of this file. Only entries that the library has a use for become items.
class MediaAsset {
  public:
    /// Reads the tags and stream headers of a file, whose kind is told by its content and never by
    /// its name. Never fails: a file that can't be read, or holds no audio, has nothing to tell.
    static MediaAsset open(const FileUrl& url);

    double duration = 0;   ///< seconds, of what a decoder will give; 0 when unknown
    int64_t fileSize = 0;  ///< bytes; 0 when unknown

    /// The items of all kinds of tags in the file, the weakest kind first, each in the order of the
    /// file: where the last word counts, ID3v2 overrides APEv2, and that ID3v1.
    std::vector<MetadataItem> metadata;
    /// The kinds of tags in the file, strongest first.
    std::vector<MetadataFormat> availableMetadataFormats;
    /// In the order of the file.
    std::vector<AudioTrack> audioTracks;

    /// Calls `visit(item)` for the items of one kind, in the order of the file.
    template <class Visitor>
    void forEachItem(MetadataFormat format, Visitor visit) const {
        for (const MetadataItem& item : metadata) {
            if (item.format == format) {
                visit(item);
            }
        }
    }

    /// Owns the bytes that the items point to.
    std::shared_ptr<const void> storage;
};

}  // namespace halvenor
