#include "ui/tageditor/CoverSearchButton.h"

namespace halvenor {

CoverSearchButton::CoverSearchButton(Published<bool>& isSearching, std::function<void()> search,
                                     QWidget* parent)
    : TextButton(QStringLiteral("Find Cover on Discogs"), parent) {
    setSymbol(QStringLiteral("arrow.triangle.2.circlepath"));
    subscription_ = isSearching.subscribe([this](bool isOn) {
        setLabel(isOn ? QStringLiteral("Searching…") : QStringLiteral("Find Cover on Discogs"));
    });
    connect(this, &QAbstractButton::clicked, this, [&isSearching, search = std::move(search)] {
        if (!*isSearching) {
            search();
        }
    });
}

}  // namespace halvenor
