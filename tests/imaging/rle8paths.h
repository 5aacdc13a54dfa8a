#pragma once

#include "rle8paths_p.h"

#include <QList>
#include <QString>

namespace KenroTest {

/// The RLE8 decoding paths this processor can take: the portable one first.
inline QList<Kenro::Rle8Path> rle8Paths()
{
    Kenro::Rle8Path const chosen = Kenro::rle8Path();
    QList<Kenro::Rle8Path> paths{Kenro::Rle8Path::Portable};
    for (Kenro::Rle8Path path : {Kenro::Rle8Path::Avx2, Kenro::Rle8Path::Avx512}) {
        if (Kenro::setRle8Path(path))
            paths.append(path);
    }
    Kenro::setRle8Path(chosen);
    return paths;
}

inline QString rle8PathName(Kenro::Rle8Path path)
{
    switch (path) {
    case Kenro::Rle8Path::Avx2:
        return QStringLiteral("AVX2");
    case Kenro::Rle8Path::Avx512:
        return QStringLiteral("AVX-512");
    default:
        return QStringLiteral("portable");
    }
}

/// Makes loadRLE8() take one path while it lives, then the one chosen before.
class Rle8PathScope
{
public:
    explicit Rle8PathScope(Kenro::Rle8Path path) : m_previous(Kenro::rle8Path())
    {
        m_taken = Kenro::setRle8Path(path);
    }
    ~Rle8PathScope() { Kenro::setRle8Path(m_previous); }
    Rle8PathScope(Rle8PathScope const &) = delete;
    Rle8PathScope &operator=(Rle8PathScope const &) = delete;

    /// Whether the processor took the path.
    bool taken() const { return m_taken; }

private:
    Kenro::Rle8Path m_previous;
    bool m_taken = false;
};

} // namespace KenroTest
