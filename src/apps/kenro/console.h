#pragma once

#include "exitcode.h"

#include <QString>

namespace Kenro::Cli {

/**
 * The tool's two streams: results on stdout, one-line messages on stderr,
 * always UTF-8 and written at once, so that a caller that reads both sees
 * them in order.
 */
namespace Console {

/// Writes \a text to stdout as it stands.
void out(QString const &text);
/// Writes \a text to stderr as it stands.
void err(QString const &text);
/**
 * Prints "kenro: <what>: <why>" on one line of stderr and returns \a code,
 * so that a command can end with `return Console::fail(...)`. Line breaks
 * inside \a why become spaces.
 */
int fail(ExitCode code, QString const &what, QString const &why);
/// Prints "kenro: warning: <what>: <why>" on one line of stderr.
void warn(QString const &what, QString const &why);
/// True when stderr is a terminal, where progress is drawn.
bool stderrIsTerminal();

} // namespace Console

} // namespace Kenro::Cli
