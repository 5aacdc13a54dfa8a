#pragma once

namespace Kenro::Cli {

/// What the kenro tool returns to its caller; the README lists the same table.
enum ExitCode : int {
    /// The job was done.
    Success = 0,
    /// `kenro check` found errors in the content.
    ContentErrors = 1,
    /// The command line was wrong: an unknown command or option, a missing argument.
    UsageError = 2,
    /// An input could not be read: missing, a directory, malformed, of an unsupported kind.
    InputError = 3,
    /// An output could not be written; nothing half-written is left behind.
    OutputError = 4,
};

} // namespace Kenro::Cli
