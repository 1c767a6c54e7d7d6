#pragma once

#include <QByteArray>
#include <QStringList>

namespace halvenor::test {

/// Runs a program to its end; `input` is its standard input. @return its standard output
/// @throws std::runtime_error with its standard error when it can't be started or fails
QByteArray runProgram(const QStringList& commandLine, const QByteArray& input = {});

}  // namespace halvenor::test
