#include "support/Programs.h"

#include <QFile>
#include <QTemporaryDir>

#include <stdexcept>

namespace halvenor::test {

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

ProgramResult runToEnd(ChildProcess::Setup setup, const QByteArray& input) {
    const QTemporaryDir folder;
    const auto place = [&](const char* name) { return folder.filePath(QString::fromLatin1(name)); };
    QFile file(place("in"));
    if (!file.open(QIODevice::WriteOnly) || file.write(input) != input.size() || !file.flush()) {
        throw std::runtime_error("can't write what a program reads");
    }
    setup.inputFile = place("in").toStdString();
    setup.outputFile = place("out").toStdString();
    setup.errorFile = place("error").toStdString();
    const int status = ChildProcess(setup).wait();
    return {status, contentOf(place("out")), contentOf(place("error"))};
}

QByteArray runProgram(const QStringList& commandLine, const QByteArray& input) {
    std::vector<std::string> command;
    for (const QString& argument : commandLine) {
        command.push_back(QFile::encodeName(argument).toStdString());
    }
    const ProgramResult result = runToEnd({.command = command}, input);
    if (result.status != 0) {
        throw std::runtime_error(commandLine.join(QLatin1Char(' ')).toStdString() + ": " +
                                 result.error.toStdString());
    }
    return result.output;
}

QByteArray outputOf(const char* command, const QByteArray& path) {
    QStringList words = QString::fromLatin1(command).split(u' ');
    words.replaceInStrings(QStringLiteral("FILE"), QFile::decodeName(path));
    return runProgram(words);
}

}  // namespace halvenor::test
