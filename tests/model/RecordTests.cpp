#include <gmock/gmock.h>
#include <vector>

#include "model/FolderItem.h"
#include "model/FolderScrollRequest.h"
#include "model/ID3WriterError.h"
#include "model/RepeatMode.h"

namespace halvenor {
namespace {

Track trackAt(const char* path) {
    TrackFields fields;
    fields.url = FileUrl(path);
    return Track(fields);
}

TEST(FolderItem, IsNamedByItsPathAndComparedAsAWhole) {
    const FolderItem folder(FileUrl("/m/\xe9t\xe9/"), true);
    EXPECT_EQ(folder.id(), "/m/\xe9t\xe9");
    EXPECT_EQ(folder.name(), "\xe9t\xe9");
    EXPECT_EQ(folder.displayName(), QStringLiteral("\uFFFDt\uFFFD"));

    const FolderItem child(FileUrl("/m/a"), true);
    const auto url = FileUrl("/m");
    const std::vector<FolderItem> all = {
        FolderItem(url, true),
        FolderItem(url, false),
        FolderItem(FileUrl("/n"), true),
        FolderItem(url, true, FolderList{}),
        FolderItem(url, true, FolderList{child}),
        FolderItem(url, true, FolderList{FolderItem(FileUrl("/m/a"), true, FolderList{})}),
        FolderItem(url, true, std::nullopt, {trackAt("/m/1")}),
        FolderItem(url, true, std::nullopt, {trackAt("/m/1"), trackAt("/m/1")}),
    };
    for (size_t a = 0; a < all.size(); ++a) {
        for (size_t b = 0; b < all.size(); ++b) {
            EXPECT_EQ(all[a] == all[b], a == b) << a << ' ' << b;
            EXPECT_EQ(qHash(all[a]) == qHash(all[b]), a == b) << a << ' ' << b;
        }
    }
    EXPECT_EQ(FolderItem(url, true, FolderList{child}), all[4]);
}

TEST(FolderScrollRequest, EachIsAValueOfItsOwn) {
    const FolderScrollRequest request("/m");
    EXPECT_EQ(request, FolderScrollRequest(request));
    EXPECT_NE(request, FolderScrollRequest("/m"));
}

TEST(RepeatMode, HasWordsIconsAndTooltips) {
    struct Case {
        RepeatMode mode;
        const char* word;
        const char* icon;
        const char* help;
    };
    const std::vector<Case> cases = {
        {RepeatMode::off, "off", "repeat", "Repeat Off"},
        {RepeatMode::nextFolder, "nextFolder", "arrow.right.to.line", "Continue with Next Folder"},
        {RepeatMode::all, "all", "repeat", "Repeat Folder"},
    };
    ASSERT_EQ(cases.size(), allRepeatModes.size());
    for (size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        EXPECT_EQ(allRepeatModes[i], c.mode);
        EXPECT_EQ(rawValue(c.mode).toStdString(), c.word);
        EXPECT_EQ(repeatModeFromRawValue(QString::fromLatin1(c.word)), c.mode);
        EXPECT_EQ(iconName(c.mode).toStdString(), c.icon);
        EXPECT_EQ(helpText(c.mode).toStdString(), c.help);
    }
    for (const char* word : {"one", "", "Off", "off "}) {
        EXPECT_EQ(repeatModeFromRawValue(QString::fromLatin1(word)), std::nullopt) << word;
    }
}

TEST(ID3WriterError, CarriesItsMessageInTheValueAlone) {
    const auto error = ID3WriterError::ioError(QStringLiteral("secret detail"));
    EXPECT_EQ(error.kind(), ID3WriterError::Case::ioError);
    EXPECT_EQ(error.message(), QStringLiteral("secret detail"));
    EXPECT_EQ(std::string(error.what()), ID3WriterError::notAnMP3().what());
}

}  // namespace
}  // namespace halvenor
