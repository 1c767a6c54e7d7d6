#pragma once

#include <QByteArray>
#include <QStringList>

#include <list>
#include <memory>
#include <optional>
#include <string_view>
#include <taglib/tbytevector.h>
#include <variant>
#include <vector>

#include "platform/media/MediaAsset.h"

namespace halvenor {

/// How an entry is known above: by a common key, a native key, or both.
struct ItemName {
    std::optional<CommonKey> commonKey;
    MetadataKey key;
};

/// The name of an entry by its ID3v2 identifier; absent for one that nobody asks for.
std::optional<ItemName> nameOfFrame(std::string_view identifier);

/// Takes the items of a file as the readers of its tags find them, and owns their bytes. Readers
/// run from the weakest kind of tag to the strongest.
class ItemSink {
  public:
    /// One item with the non-empty ones of `texts` as its string.
    void addText(MetadataFormat format, ItemName name, const QStringList& texts);
    /// One item of bytes. TagLib's vectors are shared, so nothing is copied.
    void addData(MetadataFormat format, ItemName name, const TagLib::ByteVector& bytes);
    void addData(MetadataFormat format, ItemName name, QByteArray bytes);
    /// An item that is there, with a value that can't be read.
    void addUnreadable(MetadataFormat format, ItemName name);

    /// Moves everything into `asset`.
    void moveInto(MediaAsset& asset);

  private:
    using Bytes = std::variant<TagLib::ByteVector, QByteArray>;

    MetadataItem& add(MetadataFormat format, ItemName name);

    std::vector<MetadataItem> items_;
    std::shared_ptr<std::list<Bytes>> storage_ = std::make_shared<std::list<Bytes>>();
};

}  // namespace halvenor
