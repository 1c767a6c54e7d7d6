#pragma once

#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

#include "discogs/DiscogsAnswers.h"

/// Which of the results of a search are the album that was asked for, and where their images are.
/// Any thread.
namespace halvenor {

/// The words of a text, so that texts compare without case, accents and punctuation: "Sjöberg" is
/// "sjoberg", "Don't" is "don" and "t". Every language's user gets the same words.
QStringList normalizedTokens(const QString& text);

/// Where a result's cover may be.
struct CoverCandidate {
    std::optional<QUrl> cover;    ///< an image
    std::optional<QUrl> release;  ///< a release, which lists images

    bool operator==(const CoverCandidate&) const = default;
};

/// The results, in order, whose titles have every word of the artist and of the album. None when
/// either has no words.
QList<CoverCandidate> coverCandidates(const QList<SearchResult>& results, const QString& artist,
                                      const QString& album);

/// Where a release's images are, in the order in which to try them: those of type "primary" first.
QList<QUrl> imageUrls(const QList<ReleaseImage>& images);

/// The address that a text is, if it is one of the web, http or https. White space around it is
/// let go, and so is a user's name in it.
std::optional<QUrl> webUrl(const std::optional<QString>& text);

}  // namespace halvenor
