#include "platform/media/ItemSink.h"

#include <algorithm>
#include <utility>

namespace halvenor {

namespace {

struct FrameName {
    std::string_view identifier;
    std::optional<CommonKey> commonKey;
};

// TYER is what v2.4 calls TDRC; writers put it into v2.4 tags all the same.
constexpr FrameName frameNames[] = {
    {"TIT2", CommonKey::title},
    {"TPE1", CommonKey::artist},
    {"TALB", CommonKey::albumName},
    {"TCON", CommonKey::type},
    {"TDRC", CommonKey::creationDate},
    {"TYER", CommonKey::creationDate},
    {"APIC", CommonKey::artwork},
    {"TPE2", std::nullopt},
    {"TRCK", std::nullopt},
};

}  // namespace

std::optional<ItemName> nameOfFrame(std::string_view identifier) {
    const auto* found =
        std::find_if(std::begin(frameNames), std::end(frameNames),
                     [identifier](const FrameName& name) { return name.identifier == identifier; });
    if (found == std::end(frameNames)) {
        return std::nullopt;
    }
    // The table's letters live as long as the program.
    const auto key = QByteArray::fromRawData(found->identifier.data(),
                                             static_cast<qsizetype>(found->identifier.size()));
    return ItemName{found->commonKey, key};
}

MetadataItem& ItemSink::add(MetadataFormat format, ItemName name) {
    MetadataItem& item = items_.emplace_back();
    item.format = format;
    item.commonKey = name.commonKey;
    item.key = std::move(name.key);
    return item;
}

void ItemSink::addText(MetadataFormat format, ItemName name, const QStringList& texts) {
    MetadataItem& item = add(format, std::move(name));
    QString joined;
    for (const QString& text : texts) {
        if (!text.isEmpty()) {
            joined += joined.isEmpty() ? text : QStringLiteral(", ") + text;
        }
    }
    if (!joined.isEmpty()) {
        item.stringValue = joined;
    }
}

void ItemSink::addData(MetadataFormat format, ItemName name, const TagLib::ByteVector& bytes) {
    MetadataItem& item = add(format, std::move(name));
    if (!bytes.isEmpty()) {
        const auto& kept = std::get<TagLib::ByteVector>(storage_->emplace_back(bytes));
        item.dataValue = QByteArrayView(kept.data(), static_cast<qsizetype>(kept.size()));
    }
}

void ItemSink::addData(MetadataFormat format, ItemName name, QByteArray bytes) {
    MetadataItem& item = add(format, std::move(name));
    if (!bytes.isEmpty()) {
        item.dataValue = std::get<QByteArray>(storage_->emplace_back(std::move(bytes)));
    }
}

void ItemSink::addUnreadable(MetadataFormat format, ItemName name) {
    add(format, std::move(name)).isUnreadable = true;
}

void ItemSink::moveInto(MediaAsset& asset) {
    for (auto item = items_.rbegin(); item != items_.rend(); ++item) {
        auto& formats = asset.availableMetadataFormats;
        if (std::find(formats.begin(), formats.end(), item->format) == formats.end()) {
            formats.push_back(item->format);
        }
    }
    asset.metadata = std::move(items_);
    asset.storage = std::exchange(storage_, nullptr);
}

}  // namespace halvenor
