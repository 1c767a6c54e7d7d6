#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

using StartTest = AppStateFixture;

TEST_F(StartTest, beginsEmptyWithoutSettings) {
    EXPECT_TRUE(state().rootFolders->empty());
    EXPECT_FALSE(*state().selectedFolder);
    EXPECT_FALSE(*state().playbackErrorMessage);
    EXPECT_TRUE(*state().followOSTheme);
    EXPECT_FALSE(*state().showMarkedFoldersOnly);
    EXPECT_EQ(*state().repeatMode, RepeatMode::off);
}

struct ThemeCase {
    const char* name;
    std::optional<QString> storedTheme;
    std::optional<bool> storedFollow;
    SystemAppearance system;
    AppTheme expected;
    QString storedAfterwards;
};

class ThemeAtStart : public AppStateFixture, public testing::WithParamInterface<ThemeCase> {};

TEST_P(ThemeAtStart, isStoredOrTheSystems) {
    const ThemeCase& given = GetParam();
    state().settings().remove("SelectedTheme");
    state().settings().remove("FollowOSTheme");
    if (given.storedTheme) {
        state().settings().setString("SelectedTheme", *given.storedTheme);
    }
    if (given.storedFollow) {
        state().settings().setBoolean("FollowOSTheme", *given.storedFollow);
    }
    appearance_ = given.system;
    startState();
    EXPECT_EQ(*state().selectedTheme, given.expected);
    EXPECT_EQ(storedSettings().string("SelectedTheme").value_or(QStringLiteral("none")),
              given.storedAfterwards);
}

const QString halvenorDark = QStringLiteral("Halvenor Dark");
const QString systemDark = QStringLiteral("System Dark");
const QString systemLight = QStringLiteral("System Light");

INSTANTIATE_TEST_SUITE_P(
    Themes, ThemeAtStart,
    testing::Values(
        ThemeCase{
            "followsByDefault", {}, {}, SystemAppearance::dark, AppTheme::systemDark, systemDark},
        ThemeCase{"systemOverridesStored", halvenorDark, true, SystemAppearance::dark,
                  AppTheme::systemDark, systemDark},
        ThemeCase{"storedHoldsWhenNotFollowing", systemLight, false, SystemAppearance::dark,
                  AppTheme::systemLight, systemLight},
        ThemeCase{"unknownWordStaysUntilAChange", QStringLiteral("Solar"), false,
                  SystemAppearance::dark, AppTheme::halvenorDark, QStringLiteral("Solar")}),
    [](const auto& one) { return one.param.name; });

TEST_F(StartTest, themeFollowsTheSystemOnlyWhileAsked) {
    state().followOSTheme = false;
    state().selectedTheme = AppTheme::halvenorDark;
    state().applySystemColorScheme(SystemAppearance::dark);
    EXPECT_EQ(*state().selectedTheme, AppTheme::halvenorDark);

    appearance_ = SystemAppearance::dark;
    state().followOSTheme = true;
    EXPECT_EQ(*state().selectedTheme, AppTheme::systemDark);
    state().applySystemColorScheme(SystemAppearance::light);
    EXPECT_EQ(*state().selectedTheme, AppTheme::systemLight);
}

TEST_F(StartTest, positionIsRememberedWithATrackOnly) {
    makeFolder("m", {"1.wav"});
    state().settings().setNumber("PlayerLastPosition", 42);
    engine().currentTime = 7;
    spinFor(std::chrono::milliseconds(20));
    EXPECT_EQ(state().settings().number("PlayerLastPosition"), 42);

    addLocation("m");
    openAndRead("m");
    state().play(state().playbackQueue->first());
    ASSERT_TRUE(spinUntil([&] {
        return state().settings().path("PlayerLastTrackPath") == folder("m/1.wav").path();
    }));
    engine().pause();
    engine().currentTime = 9;
    // The first value after a quiet second passes at once, the latest of those that follow later.
    EXPECT_TRUE(spinUntil([&] { return state().settings().number("PlayerLastPosition") == 9; }));
}

}  // namespace
}  // namespace halvenor::test
