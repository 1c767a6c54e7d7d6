#include "ui/sidebar/FolderTreeRows.h"

#include <algorithm>

namespace halvenor {

FolderFilter::FolderFilter(bool isMarkedOnly, const QSet<QByteArray>& marked)
    : isMarkedOnly_(isMarkedOnly) {
    if (!isMarkedOnly) {
        return;
    }
    for (const QByteArray& id : marked) {
        shown_.insert(id);
        for (qsizetype slash = id.lastIndexOf('/'); slash > 0;
             slash = id.lastIndexOf('/', slash - 1)) {
            shown_.insert(id.left(slash));
        }
    }
}

bool FolderFilter::shows(const FolderItem& folder) const {
    return !isMarkedOnly_ || shown_.contains(folder.id());
}

const FolderList& FolderTreeSource::childrenOf(const FolderItem& folder) const {
    static const FolderList none;
    const auto known = children.constFind(folder.id());
    if (known != children.constEnd()) {
        return *known;
    }
    return folder.children ? *folder.children : none;
}

namespace {

void appendRows(const FolderTreeSource& source, const FolderList& folders, int depth,
                FolderRows& rows) {
    for (const FolderItem& folder : folders) {
        if (!source.filter.shows(folder)) {
            continue;
        }
        rows.push_back({folder, depth, !source.hasQuery});
        if (!source.hasQuery && source.expanded.contains(folder.id())) {
            appendRows(source, source.childrenOf(folder), depth + 1, rows);
        }
    }
}

}  // namespace

FolderRows visibleFolderRows(const FolderTreeSource& source) {
    FolderRows rows;
    appendRows(source, source.hasQuery ? source.results : source.roots, 0, rows);
    return rows;
}

int rowOfFolder(const FolderRows& rows, const QByteArray& id) {
    const auto found =
        std::ranges::find(rows, id, [](const FolderRow& row) { return row.folder.id(); });
    return found != rows.end() ? static_cast<int>(found - rows.begin()) : -1;
}

int rowAfterMove(int count, int selected, int by) {
    if (count == 0) {
        return -1;
    }
    if (selected < 0) {
        return by > 0 ? 0 : count - 1;
    }
    return std::clamp(selected + by, 0, count - 1);
}

FolderTreeStep stepLeft(const FolderTreeSource& source, const FolderRows& rows,
                        const std::optional<FolderItem>& selected) {
    using Kind = FolderTreeStep::Kind;
    if (source.hasQuery || !selected) {
        return {};
    }
    if (source.expanded.contains(selected->id())) {
        return {Kind::collapse, *selected};
    }
    const QByteArray parent = selected->url().deletingLastPathComponent().standardized().path();
    const int row = rowOfFolder(rows, parent);
    return row < 0 ? FolderTreeStep{} : FolderTreeStep{Kind::open, rows[row].folder};
}

FolderTreeStep stepRight(const FolderTreeSource& source,
                         const std::optional<FolderItem>& selected) {
    using Kind = FolderTreeStep::Kind;
    if (source.hasQuery || !selected) {
        return {};
    }
    if (!source.expanded.contains(selected->id())) {
        return {Kind::expand, *selected};
    }
    const FolderList& children = source.childrenOf(*selected);
    const auto first = std::ranges::find_if(
        children, [&](const FolderItem& child) { return source.filter.shows(child); });
    return first == children.end() ? FolderTreeStep{} : FolderTreeStep{Kind::open, *first};
}

bool clickToggles(bool hasChildren, bool allowsExpansion, bool isExpanded) {
    return hasChildren || (allowsExpansion && isExpanded);
}

}  // namespace halvenor
