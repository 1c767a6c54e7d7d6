#include "platform/bookmark/BookmarkData.h"

#include <QtEndian>

#include <climits>
#include <utility>

namespace halvenor {

namespace {

constexpr char magic[] = {'h', 'b'};
constexpr uint8_t version = 1;
constexpr qsizetype lengthAt = 3;
constexpr uint8_t hasBirth = 0x80;

class Writer {
  public:
    Writer() { bytes_.reserve(320); }

    template <class T>
    void fixed(T value) {
        const T stored = qToLittleEndian(value);
        bytes_.append(reinterpret_cast<const char*>(&stored), sizeof stored);
    }
    void varint(uint64_t value) {
        for (; value >= 0x80; value >>= 7) {
            fixed(static_cast<uint8_t>(value | 0x80));
        }
        fixed(static_cast<uint8_t>(value));
    }
    void text(const QByteArray& text) {
        varint(static_cast<uint64_t>(text.size()));
        bytes_.append(text);
    }
    void identity(const ItemIdentity& identity) {
        const bool fits = identity.handle.size() <= ItemIdentity::longestHandle;
        const QByteArray handle = fits ? identity.handle : QByteArray();
        fixed(static_cast<uint8_t>((identity.born ? hasBirth : 0) | handle.size()));
        varint(identity.inode);
        if (identity.born) {
            fixed(*identity.born);
        }
        bytes_.append(handle);
    }
    QByteArray finished() {
        qToLittleEndian(static_cast<uint16_t>(bytes_.size()), bytes_.data() + lengthAt);
        return std::move(bytes_);
    }

  private:
    QByteArray bytes_;
};

/// Reads from the front. After the first value that is not there all others are empty, and it has
/// failed.
class Reader {
  public:
    explicit Reader(const QByteArray& bytes) : at_(bytes.constData()), left_(bytes.size()) {}

    bool hasFailed() const { return hasFailed_; }
    bool isAtEnd() const { return left_ == 0 && !hasFailed_; }
    void fail() { hasFailed_ = true; }

    template <class T>
    T fixed() {
        const char* const from = taken(sizeof(T));
        return from ? qFromLittleEndian<T>(from) : T{};
    }
    uint64_t varint() {
        uint64_t value = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            const auto byte = fixed<uint8_t>();
            value |= static_cast<uint64_t>(byte & 0x7f) << shift;
            if (byte < 0x80) {
                return value;
            }
        }
        fail();
        return 0;
    }
    QByteArray view(uint64_t length) {
        const char* const from = taken(length);
        return from ? QByteArray::fromRawData(from, static_cast<qsizetype>(length)) : QByteArray();
    }
    ItemIdentity identity() {
        const auto parts = fixed<uint8_t>();
        ItemIdentity identity;
        identity.inode = varint();
        if (parts & hasBirth) {
            identity.born = fixed<int64_t>();
        }
        identity.handle = view(parts & ~hasBirth);
        return identity;
    }

  private:
    const char* taken(uint64_t length) {
        if (hasFailed_ || length > static_cast<uint64_t>(left_)) {
            hasFailed_ = true;
            return nullptr;
        }
        left_ -= static_cast<qsizetype>(length);
        return std::exchange(at_, at_ + length);
    }

    const char* at_;
    qsizetype left_;
    bool hasFailed_ = false;
};

void readHeader(Reader& reader, qsizetype length) {
    const bool isOurs = reader.fixed<char>() == magic[0] && reader.fixed<char>() == magic[1] &&
                        reader.fixed<uint8_t>() == version;
    if (!isOurs || reader.fixed<uint16_t>() != length) {
        reader.fail();
    }
}

BookmarkFront readFront(Reader& reader) {
    BookmarkFront front;
    const auto kind = reader.fixed<uint8_t>();
    front.kind = static_cast<FileStatus::Kind>(kind);
    front.item = reader.identity();
    front.path = reader.view(reader.varint());
    if (kind > static_cast<uint8_t>(FileStatus::Kind::other) || !front.path.startsWith('/') ||
        front.path.size() >= PATH_MAX || front.path.contains('\0')) {
        reader.fail();
    }
    return front;
}

bool isTop(const QByteArray& path, qsizetype length) {
    return length <= 1 || (length <= path.size() && path.at(length - 1) != '/' &&
                           (length == path.size() || path.at(length) == '/'));
}

}  // namespace

QByteArray encodedBookmark(const BookmarkFront& front, const BookmarkBack& back) {
    Writer writer;
    writer.fixed(magic[0]);
    writer.fixed(magic[1]);
    writer.fixed(version);
    writer.fixed(uint16_t{0});  // the length, when it is known
    writer.fixed(static_cast<uint8_t>(front.kind));
    writer.identity(front.item);
    writer.text(front.path);
    writer.fixed(back.fileSystem);
    writer.varint(static_cast<uint64_t>(back.size));
    writer.fixed(back.modified);
    writer.varint(static_cast<uint64_t>(back.topLength));
    writer.fixed(static_cast<uint8_t>(back.ancestors.size()));
    for (const ItemIdentity& ancestor : back.ancestors) {
        writer.identity(ancestor);
    }
    return writer.finished();
}

std::optional<BookmarkFront> decodedFront(const QByteArray& bookmark) {
    Reader reader(bookmark);
    readHeader(reader, bookmark.size());
    BookmarkFront front = readFront(reader);
    return reader.hasFailed() ? std::nullopt : std::optional(std::move(front));
}

std::optional<BookmarkBack> decodedBack(const QByteArray& bookmark) {
    Reader reader(bookmark);
    readHeader(reader, bookmark.size());
    const BookmarkFront front = readFront(reader);
    BookmarkBack back;
    back.fileSystem = reader.fixed<uint64_t>();
    back.size = static_cast<int64_t>(reader.varint());
    back.modified = reader.fixed<int64_t>();
    const uint64_t topLength = reader.varint();
    const auto count = reader.fixed<uint8_t>();
    if (topLength > static_cast<uint64_t>(front.path.size()) ||
        count > BookmarkBack::mostAncestors) {
        reader.fail();
    }
    back.topLength = reader.hasFailed() ? 0 : static_cast<qsizetype>(topLength);
    for (uint8_t i = 0; i < count && !reader.hasFailed(); ++i) {
        back.ancestors.push_back(reader.identity());
    }
    const bool isWhole = reader.isAtEnd() && isTop(front.path, back.topLength) &&
                         lengthOfAncestor(front.path, back.ancestors.size()) > 0;
    return isWhole ? std::optional(std::move(back)) : std::nullopt;
}

qsizetype lengthOfAncestor(const QByteArray& path, size_t levels) {
    qsizetype length = path.size();
    for (; levels > 0 && length > 1; --levels) {
        const qsizetype slash = path.lastIndexOf('/', length - 1);
        length = slash == 0 ? 1 : slash;
    }
    return levels == 0 ? length : 0;
}

}  // namespace halvenor
