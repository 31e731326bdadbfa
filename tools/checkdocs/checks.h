#pragma once

#include <QString>
#include <QStringList>

/// The checks that `./dev docs` makes. Each reads the tree that is the current folder and says in one line
/// for each fault what is wrong and where; an empty list means that all is well.
namespace checkdocs {

/// Text of a file of the tree. Throws std::runtime_error when it cannot be read.
[[nodiscard]] QString readFile(const QString& file);

/// Links inside the tree, in all of its Markdown files, lead to a file and, behind "#", to a heading of it.
[[nodiscard]] QStringList checkLinks(const QStringList& markdownFiles);

/// Between "<!-- generated: `source` -->" and "<!-- end -->" of the file stands `text`. With `write` it is
/// put there.
[[nodiscard]] QStringList checkGenerated(const QString& file, const QString& source, const QString& text,
                                         bool write);

/// The document names every member of this JSON object.
[[nodiscard]] QStringList checkMembers(const QString& file, const QByteArray& object);

/// The constants of limits.json stand in the sources as written there, and the documents that state them say
/// what stands there for them.
[[nodiscard]] QStringList checkLimits();

/// docs/stand.md names every property, and every word one may be, that the published descriptions of
/// scenario and admin port have.
[[nodiscard]] QStringList checkStandInterface();

/// Which fenced blocks are run: "```", those that need no more than the build, or "```console installed",
/// those of somebody who installs the packages.
enum class Examples { WithBuild, WithPackages };

/// The Russian documents show the commands of the English ones.
[[nodiscard]] QStringList compareLanguages(const QStringList& markdownFiles);

/// Commands in fenced blocks ("$ command" and what it prints) are run with `shell`, a block in one go; what
/// they print must be what is shown, but for times, ports, dates, blanks, and lines that "..." stands for.
[[nodiscard]] QStringList runExamples(const QStringList& markdownFiles, Examples which,
                                      const QStringList& shell);

}  // namespace checkdocs
