#include "platform/media/TagLibBridge.h"

#include <QStringDecoder>

#include <algorithm>

namespace halvenor {

TagLib::ByteVector TagStream::readBlock(unsigned long length) {
    const int64_t rest = std::max<int64_t>(0, bytes_.size() - position_);
    // TagLib's vectors count in 32 bits.
    const auto wanted = static_cast<unsigned>(
        std::min({static_cast<uint64_t>(length), static_cast<uint64_t>(rest), uint64_t{1} << 31}));
    if (wanted == 0) {
        return {};
    }
    TagLib::ByteVector block(wanted, 0);
    const std::span into(reinterpret_cast<uint8_t*>(block.data()), wanted);
    const int64_t got = bytes_.read(position_, into);
    block.resize(static_cast<unsigned>(got));
    position_ += got;
    return block;
}

void TagStream::seek(long offset, Position from) {
    const long origin = from == Beginning ? 0 : from == Current ? position_ : length();
    long place = 0;
    if (!__builtin_add_overflow(origin, offset, &place)) {
        position_ = std::max(place, 0L);
    }
}

QString toQString(const TagLib::String& text) {
    QString result(static_cast<qsizetype>(text.size()), Qt::Uninitialized);
    std::transform(text.begin(), text.end(), result.begin(),
                   [](wchar_t unit) { return QChar(static_cast<char16_t>(unit)); });
    return result;
}

QStringList toQStringList(const TagLib::StringList& texts) {
    QStringList result;
    result.reserve(static_cast<qsizetype>(texts.size()));
    for (const TagLib::String& text : texts) {
        result.append(toQString(text));
    }
    return result;
}

QString textOfUnknownEncoding(QByteArrayView bytes) {
    const qsizetype end = bytes.indexOf('\0');
    if (end >= 0) {
        bytes = bytes.first(end);
    }
    while (bytes.endsWith(' ')) {
        bytes.chop(1);
    }
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

}  // namespace halvenor
