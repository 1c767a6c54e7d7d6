#pragma once

#include <QByteArray>

#include <span>
#include <vector>

#include "base/FileUrl.h"

namespace halvenor {

/// What a user, a desktop or a script asks of the program by its arguments. Reading them looks at
/// no disk and needs no application object.
struct CommandLine {
    enum class Task {
        open,      ///< Show the window, and open `places` in it. Also without any place.
        selfTest,  ///< "--test"
        help,      ///< "--help": print helpText() and end.
        version,   ///< "--version": print versionText() and end.
        refuse,    ///< The arguments are wrong: print `problem` and end with exit code 2.
    };

    /// @param arguments     as main() has them, the program's own name first
    /// @param workingFolder what relative paths start from
    static CommandLine parse(std::span<char* const> arguments, const FileUrl& workingFolder);

    /// Lines for the standard output.
    static QByteArray helpText();
    static QByteArray versionText();

    Task task = Task::open;
    std::vector<FileUrl> places;  ///< absolute, in the given order; of folders, or of files
    QByteArray problem;           ///< a line for the standard error
};

}  // namespace halvenor
