#include "console.h"

#include <cstdio>

#include <unistd.h>

namespace Kenro::Cli::Console {

namespace {

void write(std::FILE *stream, QString const &text)
{
    QByteArray const bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

QString oneLine(QString text)
{
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return text.simplified();
}

} // namespace

void out(QString const &text)
{
    write(stdout, text);
}

void err(QString const &text)
{
    write(stderr, text);
}

int fail(ExitCode code, QString const &what, QString const &why)
{
    err(QStringLiteral("kenro: %1: %2\n").arg(oneLine(what), oneLine(why)));
    return code;
}

void warn(QString const &what, QString const &why)
{
    err(QStringLiteral("kenro: warning: %1: %2\n").arg(oneLine(what), oneLine(why)));
}

bool stderrIsTerminal()
{
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace Kenro::Cli::Console
