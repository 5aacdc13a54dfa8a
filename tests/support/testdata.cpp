#include "testdata.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace KenroTest {

QString testDataPath()
{
    QString const path = qEnvironmentVariable("KENRO_TESTDATA");
    if (path.isEmpty() || !QDir(path).exists())
        return QString();
    return QDir(path).absolutePath();
}

QByteArray readFile(QString const &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

bool writeFile(QString const &name, QByteArray const &data)
{
    QDir().mkpath(QFileInfo(name).path());
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

} // namespace KenroTest
