#include "ui/settings/AboutSettingsTab.h"

#include <QDesktopServices>

#include "ui/controls/SymbolView.h"
#include "ui/controls/TextLabel.h"
#include "ui/settings/LinkRow.h"
#include "ui/settings/Product.h"
#include "ui/theme/HalvenorTheme.h"

namespace halvenor {

AboutSettingsTab::AboutSettingsTab() {
    const auto addCentred = [this](QLabel* label) {
        label->setAlignment(Qt::AlignHCenter);
        add(label);
    };
    addSpace(24);
    column().addWidget(
        new SymbolView(QStringLiteral("music.note.house.fill"), 44, &HalvenorTheme::accent), 0,
        Qt::AlignHCenter);
    addSpace(8);
    addCentred(new TextLabel(QStringLiteral("Halvenor Audio Player"),
                             HalvenorTheme::font(18, QFont::Bold), &HalvenorTheme::highlightText));
    addCentred(new TextLabel(QStringLiteral("Version 1.0.0 (Native Pelmorin Edition)"),
                             HalvenorTheme::font(12), &HalvenorTheme::secondaryText));
    addSpace(4);
    auto* text =
        new TextLabel(QStringLiteral("Advanced high-performance native audio player created for "
                                     "audiophiles and music lovers."),
                      HalvenorTheme::font(12), &HalvenorTheme::titleText);
    text->setWordWrap(true);
    addCentred(text);
    addSpace(16);
    auto* site = new LinkRow(QStringLiteral("globe"), productWebSite().toDisplayString());
    connect(site, &QAbstractButton::clicked, this,
            [] { QDesktopServices::openUrl(productWebSite()); });
    add(site);
    auto* mail = new LinkRow(QStringLiteral("envelope"), supportAddress());
    connect(mail, &QAbstractButton::clicked, this,
            [] { QDesktopServices::openUrl(supportMail()); });
    add(mail);
    finish();
}

}  // namespace halvenor
