#include "ui/settings/GeneralSettingsTab.h"

#include <QCheckBox>
#include <QHBoxLayout>

#include "state/AppState.h"
#include "ui/controls/MenuPicker.h"
#include "ui/controls/SegmentedPicker.h"
#include "ui/controls/TextButton.h"
#include "ui/controls/TextLabel.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

namespace {
constexpr int noteIndent = 24;
}  // namespace

GeneralSettingsTab::GeneralSettingsTab(AppState& state) : state_(state) {
    addDevices();
    addTheme();
    addCheckBox(QStringLiteral("Follow OS Theme"),
                QStringLiteral("Automatically match system Dark / Light appearance settings."),
                state_.followOSTheme);
    addSpace(8);
    addCheckBox(
        QStringLiteral("Enable Waveform"),
        QStringLiteral("Renders PCM audio peak waveform visualization in the bottom player bar."),
        state_.showWaveform);
    addSpace(8);
    addCheckBox(
        QStringLiteral("Liquid Titan"),
        QStringLiteral(
            "Adds an animated liquid-metal finish to the waveform in the player and Cover Mode."),
        state_.useLiquidTitanWaveform);
    finish();
}

void GeneralSettingsTab::addDevices() {
    AudioEngineManager& engine = state_.audioEngine();
    addHeader(QStringLiteral("Audio Output"), QStringLiteral("speaker.wave.2.fill"));
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    devices_ = new MenuPicker(QStringLiteral("Output device"), this);
    devices_->onChosen = [&engine](const QString& uid) { engine.selectOutputDevice(uid); };
    auto* refresh = new TextButton(QStringLiteral("Refresh Audio Devices"), this);
    refresh->setSymbol(QStringLiteral("arrow.clockwise"));
    connect(refresh, &QAbstractButton::clicked, this, [&engine] { engine.refreshOutputDevices(); });
    row->addWidget(devices_, 1);
    row->addWidget(refresh);
    column().addLayout(row);
    deviceError_ = addNote(QString());
    deviceError_->setColour(&HalvenorTheme::warningText);
    const auto changed = [this](const auto&) { refreshDevices(); };
    subscriptions_.push_back(engine.outputDevices.subscribe(changed));
    subscriptions_.push_back(engine.selectedOutputDeviceUID.subscribe(changed));
    subscriptions_.push_back(engine.defaultOutputDeviceName.subscribe(changed));
    subscriptions_.push_back(engine.outputDeviceError.subscribe(changed));
    refreshDevices();
}

void GeneralSettingsTab::refreshDevices() {
    const AudioEngineManager& engine = state_.audioEngine();
    QList<MenuPicker::Item> items{
        {QString(), QStringLiteral("Default - ") + *engine.defaultOutputDeviceName}};
    for (const AudioOutputDevice& device : *engine.outputDevices) {
        items.append({device.id, device.name});
    }
    devices_->setItems(items, *engine.selectedOutputDeviceUID);
    const auto& error = *engine.outputDeviceError;
    deviceError_->setText(error.value_or(QString()));
    deviceError_->setVisible(error.has_value());
}

void GeneralSettingsTab::addTheme() {
    addHeader(QStringLiteral("Theme"));
    QStringList names;
    for (const AppTheme theme : allThemes) {
        names << rawValue(theme);
    }
    auto* picker = new SegmentedPicker(QStringLiteral("Theme"), names, this);
    picker->onChosen = [this](int index) {
        state_.selectedTheme = allThemes[static_cast<size_t>(index)];
    };
    const auto show = [picker](AppTheme theme) {
        picker->setSelected(
            static_cast<int>(std::ranges::find(allThemes, theme) - allThemes.begin()));
    };
    show(*state_.selectedTheme);
    subscriptions_.push_back(state_.selectedTheme.subscribe(show));
    add(picker);
    addSpace(4);
}

void GeneralSettingsTab::addCheckBox(const QString& text, const QString& note,
                                     Published<bool>& value) {
    auto* box = new QCheckBox(text, this);
    box->setFont(HalvenorTheme::font(12));
    box->setAccessibleDescription(note);
    box->setChecked(*value);
    connect(box, &QCheckBox::clicked, this, [&value](bool isOn) { value = isOn; });
    subscriptions_.push_back(value.subscribe([box](bool isOn) { box->setChecked(isOn); }));
    add(box);
    addSpace(-4);
    addNote(note)->setContentsMargins(noteIndent, 0, 0, 0);  // In line with the box's own text.
}

void GeneralSettingsTab::showEvent(QShowEvent*) {
    state_.audioEngine().refreshOutputDevices();
}

}  // namespace halvenor
