#include <QDBusContext>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QMap>

#include <gtest/gtest.h>

#include "platform/appearance/DesktopPreferences.h"
#include "support/BusDaemon.h"
#include "support/EventLoop.h"

namespace halvenor::test {
namespace {

using namespace std::chrono_literals;

/// The desktop's side: settings that programs may read.
class FakePortal final : public QObject, public QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

  public:
    explicit FakePortal(const BusDaemon& bus) : client_(bus) {
        EXPECT_TRUE(client_.publish(*this, QStringLiteral("org.freedesktop.portal.Desktop"), path,
                                    QDBusConnection::ExportAllSlots));
    }

    void change(const QString& group, const QString& key, const QVariant& value) {
        values[group + key] = value;
        QDBusMessage signal =
            QDBusMessage::createSignal(path, QStringLiteral("org.freedesktop.portal.Settings"),
                                       QStringLiteral("SettingChanged"));
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        client_.connection().send(signal);
    }

    QMap<QString, QVariant> values;

  public Q_SLOTS:
    // The value in a variant of its own, as this old call has it.
    QDBusVariant Read(const QString& group, const QString& key) {
        if (!values.contains(group + key)) {
            sendErrorReply(QDBusError::UnknownProperty, QStringLiteral("no such setting"));
            return {};
        }
        return QDBusVariant(QVariant::fromValue(QDBusVariant(values.value(group + key))));
    }

  private:
    inline static const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

    BusClient client_;
};

const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString scheme = QStringLiteral("color-scheme");

TEST(DesktopPreferences, areReadFromThePortalAndFollowItsChanges) {
    const BusDaemon bus;
    FakePortal portal(bus);
    portal.values[appearanceGroup + scheme] = 1U;
    DesktopPreferences preferences;
    const SystemAppearance toolkit = *preferences.appearance;
    ASSERT_EQ(toolkit, SystemAppearance::light) << "the offscreen platform's palette";
    preferences.start(0ms);
    EXPECT_TRUE(spinUntil([&] { return *preferences.appearance == SystemAppearance::dark; }));
    EXPECT_FALSE(*preferences.reducesMotion);

    portal.change(appearanceGroup, scheme, 2U);
    EXPECT_TRUE(spinUntil([&] { return *preferences.appearance == SystemAppearance::light; }));
    portal.change(appearanceGroup, scheme, 1U);
    EXPECT_TRUE(spinUntil([&] { return *preferences.appearance == SystemAppearance::dark; }));
    portal.change(appearanceGroup, scheme, 0U);
    EXPECT_TRUE(spinUntil([&] { return *preferences.appearance == toolkit; }));

    // Each desktop has its own word for it.
    struct Motion {
        QString group;
        QString key;
        QVariant still;
        QVariant moving;
    };
    for (const Motion& motion : {Motion{appearanceGroup, QStringLiteral("reduced-motion"), 1U, 0U},
                                 Motion{QStringLiteral("org.gnome.desktop.interface"),
                                        QStringLiteral("enable-animations"), false, true},
                                 Motion{QStringLiteral("org.kde.kdeglobals.KDE"),
                                        QStringLiteral("AnimationDurationFactor"),
                                        QStringLiteral("0"), QStringLiteral("1")}}) {
        portal.change(motion.group, motion.key, motion.still);
        EXPECT_TRUE(spinUntil([&] { return *preferences.reducesMotion; }))
            << qPrintable(motion.key);
        portal.change(motion.group, motion.key, motion.moving);
        EXPECT_TRUE(spinUntil([&] { return !*preferences.reducesMotion; }))
            << qPrintable(motion.key);
    }
}

TEST(DesktopPreferences, stayTheToolkitsWhereNobodyAnswers) {
    BusDaemon bus;
    bus.freeze();
    {
        DesktopPreferences preferences;
        preferences.start(0ms);
        spinFor(50ms);
        EXPECT_EQ(*preferences.appearance, SystemAppearance::light);
    }
    bus.thaw();
    spinFor(50ms);  // Who waited for the bus sees that it is no longer needed.
}

}  // namespace
}  // namespace halvenor::test

#include "DesktopPreferencesTests.moc"
