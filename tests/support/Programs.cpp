#include "support/Programs.h"

#include <QFile>
#include <QTemporaryDir>

#include <stdexcept>

#include "support/ChildProcess.h"

namespace halvenor::test {

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

QByteArray runProgram(const QStringList& commandLine, const QByteArray& input) {
    const QTemporaryDir folder;
    const QString in = folder.filePath(QStringLiteral("in"));
    const QString out = folder.filePath(QStringLiteral("out"));
    const QString error = folder.filePath(QStringLiteral("error"));
    QFile file(in);
    if (!file.open(QIODevice::WriteOnly) || file.write(input) != input.size() || !file.flush()) {
        throw std::runtime_error("can't write what a program reads");
    }
    std::vector<std::string> command;
    for (const QString& argument : commandLine) {
        command.push_back(QFile::encodeName(argument).toStdString());
    }
    ChildProcess program({.command = command,
                          .inputFile = in.toStdString(),
                          .outputFile = out.toStdString(),
                          .errorFile = error.toStdString()});
    if (program.wait() != 0) {
        throw std::runtime_error(commandLine.join(QLatin1Char(' ')).toStdString() + ": " +
                                 contentOf(error).toStdString());
    }
    return contentOf(out);
}

}  // namespace halvenor::test
