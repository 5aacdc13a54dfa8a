#pragma once

#include "filereport.h"

#include <QMap>

namespace Kenro::Cli {

/// What a project's content adds up to.
struct ContentTotals
{
    int actions = 0;
    int sprites = 0;
    int palettes = 0;
    int sounds = 0;

    ContentTotals &operator+=(ContentTotals const &other);
};

/// One file of a project, as the engine's class of its type read it.
struct ProjectFileReport
{
    QString path;
    /// The engine's name of its file type, such as "Sprites".
    QString type;
    /// True for a file outside the project's folder, such as the game's common states.
    bool shared = false;
    /// Counts that its class knows, in the order in which they are shown: "sprites 281".
    QList<QPair<QString, int>> counts;
    ContentTotals totals;
    QList<Diagnostic> diagnostics;

    int count(Message::Type type) const;
};

/// A character or stage: the files that its definition names, as the engine opened them.
struct ProjectReport
{
    /// Its definition.
    QString path;
    /// The engine's name of its type, in lower case: "character".
    QString type;
    QString name;
    QString author;
    QString version;
    QList<ProjectFileReport> files;
    /// The project's own diagnostics: named files that are missing or cannot be read.
    QList<Diagnostic> diagnostics;

    /// How many files it has of each type.
    QMap<QString, int> fileTypes() const;
    ContentTotals totals() const;
    /// Diagnostics of \a type, its own and its files'.
    int count(Message::Type type) const;
};

/**
 * A game folder with every character and stage, or the projects of a
 * folder or definition, and the content files that belong to none of them,
 * each read on its own.
 */
struct ProjectsReport
{
    QString path;
    /// The folder that the names of files begin with: the path, or a definition's folder.
    QString base;
    bool game = false;
    /// The name of the engine that opened the projects.
    QString engine;
    QList<ProjectReport> projects;
    /// Files outside the projects; its path is this report's.
    FolderReport others;

    ContentTotals totals() const;
    /**
     * Every diagnostic once: a file that several projects share (the
     * common states of a game) gives its diagnostics once.
     */
    QList<Diagnostic> diagnostics() const;
    int count(Message::Type type) const;
};

} // namespace Kenro::Cli
