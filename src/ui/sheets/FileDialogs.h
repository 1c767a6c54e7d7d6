#pragma once

#include <QString>

#include <functional>
#include <optional>

#include "base/FileUrl.h"

class QFileDialog;
class QWidget;

namespace halvenor {

/// What a file dialog asks for.
struct FileQuestion {
    enum class Kind { folder, existingFile, newFile };

    Kind kind = Kind::folder;
    QString title;
    /// A text above the files; empty for none. With one the toolkit's own dialog is shown: those of
    /// the desktops have no place for it.
    QString message = {};
    /// As QFileDialog writes it: "Playlists (*.m3u)".
    QString nameFilter = {};
    QString suggestedName = {};
    /// Without its dot; given to a new file's name that has none.
    QString suffix = {};
};

/// Opens a file dialog over `window`, and returns at once.
/// @param done called once; with nothing if the dialog is cancelled, closed or torn down
/// @return the dialog, which deletes itself; a child of `window`
QFileDialog* askForFile(QWidget* window, const FileQuestion& question,
                        std::function<void(std::optional<FileUrl>)> done);

}  // namespace halvenor
