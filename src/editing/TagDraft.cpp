#include "editing/TagDraft.h"

namespace halvenor {

DraftText DraftText::of(const QList<QString>& values) {
    const auto common = commonValue(values);
    return {common.value_or(QString()), !common};
}

std::optional<int64_t> parsedYear(const QString& text) {
    constexpr int64_t first = 1000;
    constexpr int64_t last = 9999;
    bool isNumber = false;
    const qlonglong year = text.trimmed().toLongLong(&isNumber);
    return isNumber && year >= first && year <= last ? std::optional<int64_t>(year) : std::nullopt;
}

}  // namespace halvenor
