#pragma once

#include <QTest>

#include <type_traits>

namespace KenroTest {

/// The folder of real content that KENRO_TESTDATA names; empty when unset or missing.
QString testDataPath();
/// The whole content of file \a name, or "<missing>" when it cannot be read.
QByteArray readFile(QString const &name);
/// Writes \a data as file \a name, making its folder; false on failure.
bool writeFile(QString const &name, QByteArray const &data);
/// Copies the files below \a from to the same places below \a to, writable by the owner.
bool copyTree(QString const &from, QString const &to);
/// \a size random bytes, the same for the same \a seed.
QByteArray noise(qsizetype size, quint32 seed);

/// A cell of a row of test data: C strings become QString, enums int.
template<typename T>
auto cell(T const &value)
{
    using Plain = std::decay_t<T>;
    if constexpr (std::is_same_v<Plain, char const *> || std::is_same_v<Plain, char *>)
        return QString::fromUtf8(value);
    else if constexpr (std::is_enum_v<T>)
        return int(value);
    else
        return value;
}
/// Adds the row \a tag to a test's data table.
template<typename... Cells>
void addRow(char const *tag, Cells const &...cells)
{
    QTestData &row = QTest::newRow(tag);
    ((row << cell(cells)), ...);
}

} // namespace KenroTest

/// In a test function: the test-data folder into \a var, or a skip that says why.
#define KENRO_REQUIRE_TESTDATA(var)                                                                \
    QString const var = KenroTest::testDataPath();                                                 \
    if (qEnvironmentVariableIsSet("KENRO_TESTDATA"))                                               \
        QVERIFY2(!var.isEmpty(), "KENRO_TESTDATA is set but names no folder");                     \
    else                                                                                           \
        QSKIP("KENRO_TESTDATA is not set: the tests on real content do not run")
