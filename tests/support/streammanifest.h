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

/// The streams of the manifest below test data folder \a root, in its order; empty when unreadable.
QList<StreamEntry> streamManifest(QString const &root);

} // namespace KenroTest
