#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

/// The checks that `./dev docs` makes. Each is given the root of the tree and says in one line for each fault
/// what is wrong and where; an empty list means that all is well. They read files only, but for
/// runExamples().
namespace checkdocs {

/// Text of a file of the tree. Throws std::runtime_error when it cannot be read.
[[nodiscard]] QString readFile(const QString& root, const QString& file);

/// The C++ sources in these folders, without comments in lines of their own, literals that go on in the next
/// line joined.
[[nodiscard]] QString sourcesOf(const QString& root, const QStringList& folders);

/// Links inside the tree, in all of its Markdown files, lead to a file and, behind "#", to a heading of it.
[[nodiscard]] QStringList checkLinks(const QString& root, const QStringList& markdownFiles);

/// What plug-in and host write to the log and to the cashier stands in both lists of messages, with its
/// level, and nothing stands there that they do not write. The flags and numbers in the host developer's
/// table are those of the result.
[[nodiscard]] QStringList checkMessages(const QString& root);

/// The tables of settings and the sample file name the keys that `keysJson` (of "poshost doctor --keys
/// --json") names, with the same defaults.
[[nodiscard]] QStringList checkSettings(const QString& root, const QByteArray& keysJson);

/// What the programs say of themselves: "poshost", "marksim" and "./dev" to all of their help texts.
using Helps = QMap<QString, QString>;

/// No command stands there that nothing runs: one to be typed is an example (below), or a verb of ./dev as
/// indented code. Options and verbs that the text names are those of the programs.
[[nodiscard]] QStringList checkCommands(const QString& root, const QStringList& markdownFiles,
                                        const Helps& helps);

/// README.md names every member of these JSON objects.
[[nodiscard]] QStringList checkMembers(const QString& root, const QList<QByteArray>& objects);

/// docs/stand.md names every property, and every word one may be, that the published descriptions of
/// scenario and admin port have.
[[nodiscard]] QStringList checkStandInterface(const QString& root);

/// Which fenced blocks are run: "```", those that need no more than the build, or "```console installed",
/// those of somebody who installs the packages.
enum class Examples { WithBuild, WithPackages };

/// The Russian documents show the commands of the English ones.
[[nodiscard]] QStringList compareLanguages(const QString& root, const QStringList& markdownFiles);

/// Commands in fenced blocks ("$ command" and what it prints) are run with `shell`, a block in one go; what
/// they print must be what is shown, but for times, ports, dates, blanks, and lines that "..." stands for.
[[nodiscard]] QStringList runExamples(const QString& root, const QStringList& markdownFiles, Examples which,
                                      const QStringList& shell);

}  // namespace checkdocs
