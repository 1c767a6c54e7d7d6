#include <gmock/gmock.h>
#include <thread>
#include <vector>

#include "model/Artwork.h"

namespace halvenor {
namespace {

Artwork interned(ArtworkPool& pool, const QByteArray& bytes) {
    return pool.intern(bytes.constData(), static_cast<size_t>(bytes.size()));
}

TEST(Artwork, IsComparedByContent) {
    const Artwork absent;
    const Artwork empty{QByteArray()};
    const Artwork cover(QByteArray("cover"));
    EXPECT_FALSE(absent.isPresent());
    EXPECT_TRUE(empty.isPresent());
    EXPECT_NE(absent, empty);
    EXPECT_TRUE(absent.bytes().isEmpty());
    EXPECT_EQ(cover, Artwork(QByteArray("cover")));
    EXPECT_EQ(qHash(cover), qHash(Artwork(QByteArray("cover"))));
    EXPECT_NE(cover, Artwork(QByteArray("other")));
}

TEST(ArtworkPool, HoldsEqualCoversOnce) {
    ArtworkPool pool;
    // Alike wherever a quick look might fall: beginning, middle, end and size.
    QByteArray first(100'000, 'x');
    QByteArray second = first;
    second[30'000] = 'y';
    const Artwork a = interned(pool, first);
    const Artwork b = interned(pool, second);
    EXPECT_EQ(interned(pool, first).identity(), a.identity());
    EXPECT_EQ(interned(pool, second).identity(), b.identity());
    EXPECT_NE(a, b);
    EXPECT_EQ(b.bytes(), second);
    for (const QByteArray& small : {QByteArray(), QByteArray("x"), QByteArray(1024, 'x')}) {
        const Artwork held = interned(pool, small);
        EXPECT_EQ(held.bytes(), small);
        EXPECT_EQ(interned(pool, small).identity(), held.identity());
    }
}

TEST(ArtworkPool, KeepsNothingAlive) {
    ArtworkPool pool;
    const QByteArray bytes = "cover of a track that goes away";
    std::vector<Artwork> live;
    for (int number = 0; number < 5000; ++number) {
        const Artwork brief = interned(pool, bytes + QByteArray::number(number));
        if (number % 1000 == 0) {
            live.push_back(brief);
        }
    }
    EXPECT_EQ(interned(pool, bytes + "2000").identity(), live[2].identity());
    const Artwork again = interned(pool, bytes + "1");
    EXPECT_EQ(again.bytes(), bytes + "1");
}

TEST(ArtworkPool, ServesSeveralThreads) {
    ArtworkPool pool;
    std::vector<std::vector<Artwork>> found(4);
    std::vector<std::thread> threads;
    for (auto& mine : found) {
        threads.emplace_back([&pool, &mine] {
            for (int number = 0; number < 500; ++number) {
                mine.push_back(interned(pool, QByteArray(2000, static_cast<char>(number % 50))));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const auto& mine : found) {
        for (size_t i = 0; i < mine.size(); ++i) {
            EXPECT_EQ(mine[i].identity(), found[0][i % 50].identity());
        }
    }
}

}  // namespace
}  // namespace halvenor
