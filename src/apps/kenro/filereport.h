#pragma once

#include <kenro/project/messages.h>

#include <QList>
#include <QPair>
#include <QString>
#include <QVariant>

namespace Kenro::Cli {

/// One diagnostic as the tool prints it: line and column counted from 1.
struct Diagnostic
{
    Message::Type type = Message::Error;
    QString file;
    unsigned int line = 1;
    unsigned int column = 1;
    QString text;
};

/// A section or other named part of a file, with where it starts.
struct Part
{
    QString name;
    /// Its first line, counted from 1; 0 in a file without lines.
    unsigned int line = 1;
    /// How many entries it has (values of a section, bytes of a sound).
    int entries = 0;
    /// What an entry is, in the singular.
    QString unit = QStringLiteral("value");
};

/// What the tool found in one file.
struct FileReport
{
    QString path;
    /// What the file is, such as "CNS script" or "WAV sound".
    QString kind;
    /// Counts and properties, in the order in which they are shown.
    QList<QPair<QString, QVariant>> facts;
    QList<Part> parts;
    QList<Diagnostic> diagnostics;

    /// The number of diagnostics of \a type.
    int count(Message::Type type) const;
};

/// A file of a folder that was not examined, and why.
struct SkippedFile
{
    QString path;
    QString reason;
};

/// What the tool found in a folder: every file it can examine, and the content files it cannot yet.
struct FolderReport
{
    QString path;
    QList<FileReport> files;
    QList<SkippedFile> skipped;
    /// Files of no content kind, which are counted only.
    int otherFiles = 0;

    int count(Message::Type type) const;
};

} // namespace Kenro::Cli
