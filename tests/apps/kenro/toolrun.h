#pragma once

// The kenro tool run as users meet it: the real executable, as a process.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

namespace KenroTest {

/// How a run of the tool ended: its exit code (-1 when it crashed or hung) and its streams.
struct Result
{
    int code = -1;
    QString out;
    QString err;
    QJsonObject json() const { return QJsonDocument::fromJson(out.toUtf8()).object(); }
};

// Runs the tool in \a folder (when given) with its own empty configuration
// folder, so that no user settings reach it; neither stream is a terminal.
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
    bool const finished = process.waitForFinished(120000);
    if (!finished) {
        process.kill();
        process.waitForFinished();
    }
    bool const exited = finished && process.exitStatus() == QProcess::NormalExit;
    return {exited ? process.exitCode() : -1, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

// The value at \a path below \a value: keys and indexes joined by '/', as
// "facts/sprites" or "projects/0/name"; undefined where there is none.
inline QJsonValue at(QJsonValue value, QString const &path)
{
    for (QString const &step : path.split(QLatin1Char('/'))) {
        bool index = false;
        int const i = step.toInt(&index);
        value = index ? value.toArray().at(i) : value.toObject().value(step);
    }
    return value;
}

// The values at \a paths (split at commas) below \a value, joined by '|':
// numbers and strings as they read, arrays and objects as compact JSON.
inline QString fields(QJsonValue const &value, QString const &paths)
{
    QStringList values;
    for (QString const &path : paths.split(QLatin1Char(','))) {
        QJsonValue const field = at(value, path);
        QByteArray const json = QJsonDocument(QJsonArray{field}).toJson(QJsonDocument::Compact);
        values += field.isArray() || field.isObject() ? QString::fromUtf8(json.mid(1).chopped(1))
                                                      : field.toVariant().toString();
    }
    return values.join(QLatin1Char('|'));
}

} // namespace KenroTest
