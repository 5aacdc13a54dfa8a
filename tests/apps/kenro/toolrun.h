#pragma once

// The kenro tool run as users meet it: the real executable, as a process.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStringList>

namespace KenroTest {

/// How a run of the tool ended: its exit code (-1 when it crashed or hung) and its streams.
struct Result
{
    int code = -1;
    QString out;
    QString err;
    /// stdout read as a JSON object; empty when it is none.
    QJsonObject json() const { return QJsonDocument::fromJson(out.toUtf8()).object(); }
};

// Runs the tool in \a folder (when given) with its own empty configuration
// folder, so that no user settings reach it, and stdout and stderr apart
// (neither is a terminal).
inline Result kenro(QStringList const &arguments, QString const &configHome,
                    QString const &folder = QString())
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("KENRO_SETTINGS"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
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

// The value at \a path below \a value: keys and indexes joined by '/', as
// "facts/sprites" or "projects/0/name"; undefined where there is none.
inline QJsonValue at(QJsonValue value, char const *path)
{
    for (QString const &step : QString::fromLatin1(path).split(QLatin1Char('/'))) {
        bool index = false;
        int const i = step.toInt(&index);
        value = index ? value.toArray().at(i) : value.toObject().value(step);
    }
    return value;
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
