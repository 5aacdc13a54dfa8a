#include "testdata.h"

#include <QDir>

namespace KenroTest {

QString testDataPath()
{
    QString const path = qEnvironmentVariable("KENRO_TESTDATA");
    if (path.isEmpty() || !QDir(path).exists())
        return QString();
    return QDir(path).absolutePath();
}

} // namespace KenroTest
