#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

/// What the Discogs web service answers, from JSON to values. Unknown keys are passed over; null
/// stands for an absent value. Of a key that is there twice, the last value counts. Bytes come from
/// the network: whatever they are, an answer costs no more than some copies of itself. Any thread.
namespace halvenor {

/// What a search asks for and looks at.
inline constexpr qsizetype mostSearchResults = 25;
/// Of one release: far more than any has that people made.
inline constexpr qsizetype mostReleaseImages = 250;

struct SearchResult {
    QString title;  ///< artist and title in one
    std::optional<QString> coverImage;
    std::optional<QString> resourceUrl;  ///< of the release

    bool operator==(const SearchResult&) const = default;
};

struct ReleaseImage {
    QString type;  ///< "primary", "secondary"
    std::optional<QString> uri;
    std::optional<QString> resourceUrl;
    std::optional<QString> uri150;

    bool operator==(const ReleaseImage&) const = default;
};

/// The first mostSearchResults of a search's answer.
/// @throws Error (format) when the answer, or any result of it, is not of the form; one result
/// without a title loses them all
QList<SearchResult> parseSearchAnswer(const QByteArray& json);

/// The first mostReleaseImages of a release; none where it does not speak of images.
/// @throws Error (format) when the answer, or any image of it, is not of the form
QList<ReleaseImage> parseReleaseAnswer(const QByteArray& json);

}  // namespace halvenor
