#include "discogs/CoverCandidates.h"

#include <QSet>

#include <algorithm>

namespace halvenor {

namespace {

// Accents and the points of Hebrew and Arabic. Combining classes below 10 are no accents: the
// vowel signs of the Indic scripts, the voicing marks of Kana.
bool isDiacritic(char32_t c) {
    return QChar::category(c) == QChar::Mark_NonSpacing && QChar::combiningClass(c) >= 10;
}

// A mark belongs to the letter before it.
bool isPartOfWord(char32_t c) {
    return QChar::isLetterOrNumber(c) || QChar::isMark(c);
}

bool containsAll(const QSet<QString>& words, const QStringList& wanted) {
    return std::all_of(wanted.begin(), wanted.end(),
                       [&](const QString& word) { return words.contains(word); });
}

}  // namespace

QStringList normalizedTokens(const QString& text) {
    QStringList tokens;
    QString token;
    const auto endToken = [&] {
        if (!token.isEmpty()) {
            tokens.append(std::exchange(token, QString()));
        }
    };
    // By way of upper case, where "ß" is two letters, and decomposed, where an accent is a mark.
    const QString folded = text.toUpper().normalized(QString::NormalizationForm_D).toCaseFolded();
    for (const char32_t c : folded.toUcs4()) {
        if (isDiacritic(c)) {
            continue;
        }
        const bool isMarkAlone = token.isEmpty() && QChar::isMark(c);
        if (isPartOfWord(c) && !isMarkAlone) {
            token += QChar::fromUcs4(c);
        } else {
            endToken();
        }
    }
    endToken();
    return tokens;
}

QList<CoverCandidate> coverCandidates(const QList<SearchResult>& results, const QString& artist,
                                      const QString& album) {
    const QStringList artistTokens = normalizedTokens(artist);
    const QStringList albumTokens = normalizedTokens(album);
    QList<CoverCandidate> candidates;
    if (artistTokens.isEmpty() || albumTokens.isEmpty()) {
        return candidates;
    }
    for (const SearchResult& result : results) {
        const QStringList titleTokens = normalizedTokens(result.title);
        const QSet<QString> words(titleTokens.begin(), titleTokens.end());
        if (containsAll(words, artistTokens) && containsAll(words, albumTokens)) {
            candidates.append({webUrl(result.coverImage), webUrl(result.resourceUrl)});
        }
    }
    return candidates;
}

// The first address that is there decides, whether it is of any use or not.
QList<QUrl> imageUrls(const QList<ReleaseImage>& images) {
    QList<QUrl> urls;
    qsizetype primaries = 0;
    for (const ReleaseImage& image : images) {
        const auto url = webUrl(image.uri           ? image.uri
                                : image.resourceUrl ? image.resourceUrl
                                                    : image.uri150);
        if (!url) {
            continue;
        }
        if (image.type == QLatin1String("primary")) {
            urls.insert(primaries++, *url);
        } else {
            urls.append(*url);
        }
    }
    return urls;
}

std::optional<QUrl> webUrl(const std::optional<QString>& text) {
    if (!text) {
        return std::nullopt;
    }
    QUrl url(text->trimmed());  // Its scheme is lower-case, however it was written.
    const bool isWeb =
        url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !isWeb || url.host().isEmpty()) {
        return std::nullopt;
    }
    url.setUserInfo(QString());
    return url;
}

}  // namespace halvenor
