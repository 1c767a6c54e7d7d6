#pragma once

#include <QAbstractListModel>

#include <functional>

#include "ui/sidebar/FolderTreeRows.h"

namespace halvenor {

/// The rows of the folder tree as one flat list. An update tells the view of what changed alone, so
/// that the rows around it, and the place that is scrolled to, stay.
class FolderTreeModel : public QAbstractListModel {
  public:
    explicit FolderTreeModel(QObject* parent) : QAbstractListModel(parent) {}

    /// What a row is called to assistive technology.
    std::function<QString(const FolderRow&)> describe;

    void setRows(FolderRows rows);
    const FolderRows& rows() const { return rows_; }
    const FolderRow& row(int index) const { return rows_[static_cast<size_t>(index)]; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

  private:
    FolderRows rows_;
};

}  // namespace halvenor
