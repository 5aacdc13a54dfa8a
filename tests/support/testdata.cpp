#include "testdata.h"

#include <QDirIterator>
#include <QRandomGenerator>

namespace KenroTest {

QString testDataPath()
{
    QString const path = qEnvironmentVariable("KENRO_TESTDATA");
    return path.isEmpty() || !QDir(path).exists() ? QString() : QDir(path).absolutePath();
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

bool copyTree(QString const &from, QString const &to)
{
    for (QDirIterator it(from, QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
         it.hasNext();) {
        QString const path = it.next(), target = to + path.mid(from.length());
        if (!QDir().mkpath(QFileInfo(target).absolutePath()) || !QFile::copy(path, target))
            return false;
        QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner);
    }
    return true;
}

QByteArray noise(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator random(seed);
    for (char &byte : bytes)
        byte = char(random.bounded(256));
    return bytes;
}

} // namespace KenroTest
