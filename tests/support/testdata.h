#pragma once

#include <QByteArray>
#include <QString>

namespace KenroTest {

/**
 * The real-content folder named by KENRO_TESTDATA. Empty when the variable
 * is unset; a set variable that names no folder fails the calling test.
 */
QString testDataPath();

/// The whole content of file \a name, or "<missing>" when it cannot be read.
QByteArray readFile(QString const &name);
/// Writes \a data as file \a name, making its directory; false on failure.
bool writeFile(QString const &name, QByteArray const &data);
/**
 * Copies the files below folder \a from to the same places below \a to,
 * writable by the owner whatever they were; false on the first failure.
 */
bool copyTree(QString const &from, QString const &to);

} // namespace KenroTest

/// In a test function: the test-data folder into \a var, or a skip that says why.
#define KENRO_REQUIRE_TESTDATA(var)                                                                \
    QString const var = KenroTest::testDataPath();                                                 \
    if (qEnvironmentVariableIsSet("KENRO_TESTDATA"))                                               \
        QVERIFY2(!var.isEmpty(), "KENRO_TESTDATA is set but names no folder");                     \
    else                                                                                           \
        QSKIP("KENRO_TESTDATA is not set: the tests on real content do not run")
