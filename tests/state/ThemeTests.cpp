#include "AppStateFixture.h"

namespace halvenor::test {
namespace {

using ThemeTest = AppStateFixture;

TEST_F(ThemeTest, isStoredOrTheSystems) {
    struct Case {
        const char* settings;
        AppTheme expected;
        QString storedAfterwards;
    };
    const QString dark = QStringLiteral("System Dark");
    const Case cases[] = {
        {"{}", AppTheme::systemDark, dark},
        {R"({"SelectedTheme": "Halvenor Dark", "FollowOSTheme": true})", AppTheme::systemDark,
         dark},
        {R"({"SelectedTheme": "System Light", "FollowOSTheme": false})", AppTheme::systemLight,
         QStringLiteral("System Light")},
        // An unknown word stays until a change.
        {R"({"SelectedTheme": "Solar", "FollowOSTheme": false})", AppTheme::halvenorDark,
         QStringLiteral("Solar")},
    };
    appearance_ = SystemAppearance::dark;
    for (const Case& each : cases) {
        startWith(each.settings);
        EXPECT_EQ(*state().selectedTheme, each.expected) << each.settings;
        EXPECT_EQ(storedSettings().string("SelectedTheme"), each.storedAfterwards) << each.settings;
    }
}

TEST_F(ThemeTest, followsTheSystemOnlyWhileAsked) {
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

}  // namespace
}  // namespace halvenor::test
