#pragma once

#include <kenro/kenro_export.h>

#include <QString>
#include <QStringList>

class QWidget;

// The file dialogs of all editors. They read the host's settings, so the
// global Interface must be set before any of them is called.

namespace Kenro {

/// Asks for an existing directory below \a directory; empty when cancelled.
KENRO_EXPORT QString getExistingDirectory(QWidget *parent, QString const &title,
                                          QString const &directory);

/// Asks for a file to open; empty when cancelled. The platform's own dialog is
/// used only when the option "use_native_open" is true.
KENRO_EXPORT QString getOpenFileName(QWidget *parent, QString const &title,
                                     QString const &directory, QString const &filter);

/// Asks for files to open, as getOpenFileName(). With the option
/// "sort_file_names" the names come back sorted, not in the order clicked.
KENRO_EXPORT QStringList getOpenFileNames(QWidget *parent, QString const &title,
                                          QString const &directory, QString const &filter);

/// Asks for a file name to save to; empty when cancelled.
KENRO_EXPORT QString getSaveFileName(QWidget *parent, QString const &title,
                                     QString const &directory, QString const &filter);

} // namespace Kenro
