#include "platform/appearance/linux/DesktopPortal.h"

#include <QDBusMessage>
#include <QDBusVariant>

#include <array>

namespace halvenor {

namespace {

constexpr auto portalName = "org.freedesktop.portal.Desktop";
constexpr auto portalPath = "/org/freedesktop/portal/desktop";
constexpr auto settingsInterface = "org.freedesktop.portal.Settings";

struct Setting {
    const char* group;
    const char* key;
};
constexpr Setting colourScheme{"org.freedesktop.appearance", "color-scheme"};
constexpr Setting reducedMotion{"org.freedesktop.appearance", "reduced-motion"};
// Desktops that have no common word for it yet.
constexpr Setting gnomeAnimations{"org.gnome.desktop.interface", "enable-animations"};
constexpr Setting kdeAnimationSpeed{"org.kde.kdeglobals.KDE", "AnimationDurationFactor"};
constexpr std::array settings{colourScheme, reducedMotion, gnomeAnimations, kdeAnimationSpeed};

// Values of the colour scheme; 0 is no preference.
constexpr uint prefersDark = 1;
constexpr uint prefersLight = 2;

QString text(const char* latin) {
    return QString::fromLatin1(latin);
}

bool is(const Setting& setting, const QString& group, const QString& key) {
    return group == QLatin1String(setting.group) && key == QLatin1String(setting.key);
}

// The older call answers with a variant in a variant.
QVariant unwrapped(QVariant value) {
    while (value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

}  // namespace

DesktopPreferences::Portal::Portal(DesktopPreferences& preferences)
    : preferences_(preferences),
      toolkitAppearance_(*preferences.appearance),
      bus_({}, worker_, {.onConnected = [this] { connected(); }}) {
    bus_.listen({.service = text(portalName),
                 .path = text(portalPath),
                 .interface = text(settingsInterface),
                 .name = QStringLiteral("SettingChanged")},
                *this, SLOT(settingChanged(QDBusMessage)));
}

DesktopPreferences::Portal::~Portal() = default;

void DesktopPreferences::Portal::connected() {
    for (const Setting& setting : settings) {
        read(text(setting.group), text(setting.key));
    }
}

void DesktopPreferences::Portal::read(const QString& group, const QString& key) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        text(portalName), text(portalPath), text(settingsInterface), QStringLiteral("Read"));
    call << group << key;
    bus_.ask(call,
             [this, group, key](const QVariantList& answer) { take(group, key, answer.value(0)); });
}

void DesktopPreferences::Portal::settingChanged(const QDBusMessage& signal) {
    const QVariantList arguments = signal.arguments();
    take(arguments.value(0).toString(), arguments.value(1).toString(), arguments.value(2));
}

void DesktopPreferences::Portal::take(const QString& group, const QString& key,
                                      const QVariant& wrapped) {
    const QVariant value = unwrapped(wrapped);
    if (is(colourScheme, group, key)) {
        const uint wish = value.toUInt();
        preferences_.appearance = wish == prefersDark    ? SystemAppearance::dark
                                  : wish == prefersLight ? SystemAppearance::light
                                                         : toolkitAppearance_;
    } else if (is(reducedMotion, group, key)) {
        preferences_.reducesMotion = value.toUInt() == 1;
    } else if (is(gnomeAnimations, group, key)) {
        preferences_.reducesMotion = !value.toBool();
    } else if (is(kdeAnimationSpeed, group, key)) {
        preferences_.reducesMotion = value.toDouble() == 0;
    }
}

DesktopPreferences::DesktopPreferences() : appearance(currentSystemAppearance()) {}

DesktopPreferences::~DesktopPreferences() = default;

void DesktopPreferences::start(std::chrono::milliseconds delay) {
    portal_ = std::make_unique<Portal>(*this);
    portal_->start(delay);
}

}  // namespace halvenor
