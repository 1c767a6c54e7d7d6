#include "ui/settings/HelpSettingsTab.h"

#include <QDesktopServices>

#include "ui/settings/LinkRow.h"
#include "ui/settings/Product.h"

namespace halvenor {

HelpSettingsTab::HelpSettingsTab() {
    addHeader(QStringLiteral("Documentation & Manuals"));
    auto* guide =
        new LinkRow(QStringLiteral("book.fill"), QStringLiteral("View Quick Guide"),
                    QStringLiteral("Online quick start guide and keyboard shortcuts overview."));
    connect(guide, &QAbstractButton::clicked, this,
            [] { QDesktopServices::openUrl(productWebSite()); });
    add(guide);
    auto* manual =
        new LinkRow(QStringLiteral("doc.text.fill"), QStringLiteral("Open Full Manual (PDF)"),
                    QStringLiteral("Complete Halvenor Player User Manual in PDF format."));
    connect(manual, &QAbstractButton::clicked, this, [] {
        if (const auto url = manualUrl()) {
            QDesktopServices::openUrl(*url);
        }
    });
    add(manual);
    finish();
}

}  // namespace halvenor
