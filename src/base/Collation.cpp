#include "base/Collation.h"

#include <QLocale>

namespace halvenor {

namespace {

const QCollator& threadCollator() {
    thread_local const QCollator collator = [] {
        const QLocale system = QLocale::system();
        QCollator made(system.language() == QLocale::C
                           ? QLocale(QLocale::English, QLocale::UnitedStates)
                           : system);
        made.setNumericMode(true);
        made.setCaseSensitivity(Qt::CaseInsensitive);
        return made;
    }();
    return collator;
}

}  // namespace

int localizedStandardCompare(const QString& a, const QString& b) {
    const int order = threadCollator().compare(a, b);
    return (order > 0) - (order < 0);
}

QCollatorSortKey localizedStandardKey(const QString& text) {
    return threadCollator().sortKey(text);
}

bool localizedCaseInsensitiveContains(const QString& text, const QString& part) {
    // Composed: other systems store "é" as two characters where a keyboard here types one.
    return text.normalized(QString::NormalizationForm_C)
        .contains(part.normalized(QString::NormalizationForm_C), Qt::CaseInsensitive);
}

}  // namespace halvenor
