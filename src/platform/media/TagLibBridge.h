#pragma once

#include <QString>
#include <QStringList>

#include <taglib/tfile.h>
#include <taglib/tiostream.h>
#include <taglib/tstringlist.h>

#include "platform/decode/ByteSource.h"

namespace halvenor {

/// Lets TagLib read from a ByteSource. Read-only: whatever would write does nothing. A declared
/// size never makes it allocate more than the source still holds.
class TagStream final : public TagLib::IOStream {
  public:
    /// @param bytes outlives this
    explicit TagStream(ByteSource& bytes) : bytes_(bytes) {}

    TagLib::FileName name() const override { return ""; }
    TagLib::ByteVector readBlock(unsigned long length) override;
    void writeBlock(const TagLib::ByteVector&) override {}
    void insert(const TagLib::ByteVector&, unsigned long, unsigned long) override {}
    void removeBlock(unsigned long, unsigned long) override {}
    bool readOnly() const override { return true; }
    bool isOpen() const override { return true; }
    void seek(long offset, Position from) override;
    long tell() const override { return position_; }
    long length() override { return static_cast<long>(bytes_.size()); }
    void truncate(long) override {}

  private:
    ByteSource& bytes_;
    long position_ = 0;
};

/// What TagLib's tags want to be read from: a file without a notion of its content. TagLib's own
/// classes for kinds of files search whole files for tags that are not there; we know the places.
class BareFile final : public TagLib::File {
  public:
    explicit BareFile(TagStream& stream) : File(&stream) {}

    TagLib::Tag* tag() const override { return nullptr; }
    TagLib::AudioProperties* audioProperties() const override { return nullptr; }
    bool save() override { return false; }
};

/// @name TagLib's text as Qt's. TagLib holds UTF-16 units in wide characters.
/// @{
QString toQString(const TagLib::String& text);
QStringList toQStringList(const TagLib::StringList& texts);
/// @}

/// Text of a tag that states no encoding: UTF-8 where it is valid as such, Latin-1 otherwise.
/// Ends at the first NUL; spaces at the end are filling.
QString textOfUnknownEncoding(QByteArrayView bytes);

}  // namespace halvenor
