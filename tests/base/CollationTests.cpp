#include <algorithm>
#include <gmock/gmock.h>
#include <thread>
#include <vector>

#include "base/Collation.h"

namespace halvenor {
namespace {

TEST(Collation, PutsNamesInTheOrderOfAReader) {
    const std::vector<QString> ordered = {
        QStringLiteral("(live)"),   QStringLiteral("2Pac"),       QStringLiteral("10cc"),
        QStringLiteral("Äpfel"),    QStringLiteral("Track 1"),    QStringLiteral("track 2"),
        QStringLiteral("Track 10"), QStringLiteral("track 010x"), QStringLiteral("zebra"),
    };
    for (size_t a = 0; a < ordered.size(); ++a) {
        for (size_t b = 0; b < ordered.size(); ++b) {
            const int expected = a == b ? 0 : (a < b ? -1 : 1);
            EXPECT_EQ(localizedStandardCompare(ordered[a], ordered[b]), expected)
                << ordered[a].toStdString() << " and " << ordered[b].toStdString();
            const int byKey =
                localizedStandardKey(ordered[a]).compare(localizedStandardKey(ordered[b]));
            EXPECT_EQ((byKey > 0) - (byKey < 0), expected);
        }
    }
    EXPECT_EQ(localizedStandardCompare(QStringLiteral("ABBA"), QStringLiteral("abba")), 0);
}

TEST(Collation, KeysOutliveTheirThread) {
    std::vector<QCollatorSortKey> keys;
    std::thread([&] {
        keys.push_back(localizedStandardKey(QStringLiteral("b 2")));
        keys.push_back(localizedStandardKey(QStringLiteral("B 10")));
    }).join();
    EXPECT_LT(keys[0].compare(keys[1]), 0);
    EXPECT_GT(keys[0].compare(localizedStandardKey(QStringLiteral("a"))), 0);
}

TEST(Collation, FindsPartsCaseAside) {
    const auto contains = [](const char* text, const char* part) {
        return localizedCaseInsensitiveContains(QString::fromUtf8(text), QString::fromUtf8(part));
    };
    EXPECT_TRUE(contains("Best of ÄRZTE", "ärz"));
    EXPECT_TRUE(contains("anything", ""));
    EXPECT_TRUE(contains("Cafe\xcc\x81", "caf\xc3\xa9")) << "decomposed and composed";
    EXPECT_FALSE(contains("Café", "cafe"));
    EXPECT_FALSE(contains("a", "ab"));
}

}  // namespace
}  // namespace halvenor
