#pragma once

#include <QByteArray>
#include <QUuid>

#include <utility>

namespace halvenor {

/// Asks once that a folder's row be brought into view. Each request is a value of its own, so that
/// asking twice for one folder is noticed twice.
class FolderScrollRequest {
  public:
    explicit FolderScrollRequest(QByteArray folder)
        : id_(QUuid::createUuid()), folderID_(std::move(folder)) {}

    const QUuid& id() const { return id_; }
    /// The FolderItem::id to bring into view.
    const QByteArray& folderID() const { return folderID_; }

    bool operator==(const FolderScrollRequest&) const = default;

  private:
    QUuid id_;
    QByteArray folderID_;
};

}  // namespace halvenor
