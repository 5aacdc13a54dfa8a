#pragma once

// The kenro tool run as users meet it: the real executable, as a process.

#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

namespace KenroTest {

/// How a run of the tool ended: its exit code (-1 when it crashed or hung) and its streams.
struct Result
{
    int code = -1;
    QString out;
    QString err;
};

// Runs the tool with its own empty configuration folder, so that no user
// settings reach it, and stdout and stderr apart (neither is a terminal).
inline Result kenro(QStringList const &arguments, QString const &configHome)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("KENRO_SETTINGS"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(KENRO_EXECUTABLE), arguments);
    Result result;
    if (!process.waitForFinished(120000)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

// A failure is one line "kenro: <what>: <why>" on stderr and nothing on stdout.
inline bool isOneLineFailure(Result const &result, QByteArray *why)
{
    static QRegularExpression const line(QStringLiteral("^kenro: [^\\n]+: [^\\n]+\\n$"));
    if (line.match(result.err).hasMatch() && result.out.isEmpty())
        return true;
    *why = QStringLiteral("exit %1, stdout '%2', stderr '%3'")
               .arg(result.code)
               .arg(result.out, result.err)
               .toUtf8();
    return false;
}

} // namespace KenroTest
