#pragma once

#include <QCache>
#include <QImage>
#include <QPixmap>
#include <QSet>
#include <QSize>
#include <QThreadPool>

#include <memory>

#include "base/ApplicationOwned.h"
#include "base/Published.h"
#include "model/Artwork.h"

namespace halvenor {

/// How a cover is to be shown.
struct CoverShape {
    QSize size;                   ///< device-independent pixels
    double devicePixelRatio = 1;  ///<
    double cornerRadius = 0;      ///< device-independent pixels
    /// Fill the whole size, cut in the middle (the whole cover, and stretched to it, otherwise).
    bool isCropped = true;

    bool operator==(const CoverShape&) const = default;
};

/// Decodes a cover for a shape. Null if the bytes are no image. Pure; any thread.
QImage decodeCover(const QByteArray& bytes, const CoverShape& shape);

/// Decoded covers, made on a thread of their own so that no paint waits for one. Main thread.
/// It ends with the application object, which pixmaps must not outlive.
class CoverCache {
  public:
    static CoverCache& shared();

    /// The cover if it is ready. Otherwise null, and it will be: `changed` tells. An artwork that
    /// is absent or no image stays null.
    QPixmap find(const Artwork& artwork, const CoverShape& shape);

    /// Notified when some cover has become ready.
    Published<bool> changed{false};

  private:
    struct Key {
        const void* identity;
        CoverShape shape;

        bool operator==(const Key&) const = default;
        friend size_t qHash(const Key& key, size_t seed) {
            return qHashMulti(seed, key.identity, key.shape.size.width(), key.shape.size.height(),
                              key.shape.devicePixelRatio, key.shape.cornerRadius);
        }
    };
    // The artwork is held so that its identity can't pass to another one.
    struct Entry {
        Artwork artwork;
        QPixmap pixmap;
    };

    friend CoverCache& applicationOwned<CoverCache>();
    CoverCache();
    void store(const Key& key, const Artwork& artwork, const QImage& image);

    QCache<Key, Entry> entries_;
    QSet<Key> pending_;
    QThreadPool worker_;
};

}  // namespace halvenor
