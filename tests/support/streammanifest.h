#pragma once

#include <QByteArray>
#include <QImage>
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
    /// What imageSummary() gives for the image of the stream.
    QString summary() const;
};

/// The streams of the manifest below test data folder \a root, in its order; empty when unreadable.
QList<StreamEntry> streamManifest(QString const &root);
/// Size, format and SHA-1 of the pixels of \a image as the manifest sums them: indices, or R, G, B, A.
QString imageSummary(QImage const &image);
/// The SHA-1 of the red, green and blue bytes of \a colors, as the manifest sums a palette.
QByteArray paletteSha1(QList<QRgb> const &colors);

} // namespace KenroTest
