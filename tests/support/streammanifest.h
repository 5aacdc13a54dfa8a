#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace KenroTest {

/// One pixel stream of the test data, as its manifest lists it.
struct StreamEntry
{
    QString path; // absolute
    QString file; // relative to the streams folder
    QString format; // "lz5", "rle8", "pcx" or "png32"
    int width = 0;
    int height = 0;
    QByteArray pixelsSha1;
    QByteArray paletteSha1; // empty when the file has no palette
};

/**
 * The streams listed in the manifest of the streams folder below the test
 * data folder \a root, in its order; only those of \a format when it is not
 * empty. Empty when the manifest cannot be read.
 */
QList<StreamEntry> streamManifest(QString const &root, QString const &format = QString());

} // namespace KenroTest
