#pragma once

#include <QTest>

#include <type_traits>

namespace KenroTest {

QString testDataPath(); // KENRO_TESTDATA's folder; empty when unset or missing
QByteArray readFile(QString const &name); // "<missing>" when it cannot be read
bool writeFile(QString const &name, QByteArray const &data); // makes the folder
bool copyTree(QString const &from, QString const &to); // the copies writable by the owner
QByteArray noise(qsizetype size, quint32 seed); // the same bytes for the same seed

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
