#pragma once

#include <QByteArray>
#include <QStringList>

#include "support/ChildProcess.h"

namespace halvenor::test {

/// How a program ended, and what it printed.
struct ProgramResult {
    int status = -1;  ///< the exit status; -1 when a signal ended it
    QByteArray output;
    QByteArray error;
};

/// Runs a program to its end, which has files of this function's for its output and error; `input`
/// is its standard input. @throws std::runtime_error when it can't be started
ProgramResult runToEnd(ChildProcess::Setup setup, const QByteArray& input = {});

/// The same for what should succeed. @return its standard output
/// @throws std::runtime_error with its standard error when it can't be started or fails
QByteArray runProgram(const QStringList& commandLine, const QByteArray& input = {});
/// The same for a command line whose arguments blanks divide. FILE stands for a file's path.
QByteArray outputOf(const char* command, const QByteArray& path);

}  // namespace halvenor::test
