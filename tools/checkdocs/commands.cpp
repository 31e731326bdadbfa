#include <QRegularExpression>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

namespace {

/// In a line of its own these are for somebody to type; nobody runs them there.
const QRegularExpression Typed("^ *(sudo|apt|cp|cd|cmake|git|poshost|marksim|\\./dev|\\.ci/run)\\b");

/// Indented code is left to what CI runs, or runs in parts: the verbs of ./dev, and .ci/run itself.
const QRegularExpression RunByCi("^ *(\\./dev|\\.ci/run|build/dev/bin/tests_\\w+)\\b");

/// Lines of code that are no examples: indented ones, and those of fenced blocks without a "$".
QStringList unrunLines(const QString& text)
{
    QStringList found;
    bool isFenced = false, isExample = false, isCode = false;
    const QStringList lines = text.split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString& line = lines[i];
        if (line.trimmed().startsWith("```")) {
            isFenced = !isFenced;
            isExample = isFenced && lines.value(i + 1).trimmed().startsWith("$ ");
        } else if (isFenced) {
            if (!isExample && Typed.match(line).hasMatch()) {
                found.append(line.trimmed());
            }
        } else {
            const bool follows = i == 0 || lines[i - 1].trimmed().isEmpty() || isCode;
            isCode = follows && line.startsWith("    ");
            if (isCode && !RunByCi.match(line).hasMatch()) {
                found.append(line.trimmed());
            }
        }
    }
    return found;
}

/// The options (all) and the verbs (right behind the program's name) of a command that its help does not
/// name.
QStringList unknownWords(const QString& command, const QString& help)
{
    static const QRegularExpression option("(?<![\\w-])--[a-z][a-z-]*");
    static const QRegularExpression verb("^\\S+ ([a-z]+)\\b");
    QStringList wanted;
    for (const auto& match : option.globalMatch(command)) {
        wanted.append(match.captured());
    }
    QStringList unknown;
    for (const QString& word : wanted) {
        if (!help.contains(QRegularExpression(word + "(?![\\w-])"))) {
            unknown.append(word);
        }
    }
    const QString name = verb.match(command).captured(1);
    if (!name.isEmpty() &&
        !help.contains(QRegularExpression("^  " + name + "\\b", QRegularExpression::MultilineOption))) {
        unknown.append(name);
    }
    return unknown;
}

/// What a text says in passing: `poshost verify --json`, `--json`, or a line of indented code.
QStringList mentionsOf(const QString& text)
{
    static const QRegularExpression mention("(?:`|^ *\\$ |^    +)((?:poshost |marksim |\\./dev |--)[^`\\n]+)",
                                            QRegularExpression::MultilineOption);
    QStringList mentions;
    for (const auto& match : mention.globalMatch(text)) {
        mentions.append(match.captured(1));
    }
    return mentions;
}

QString helpFor(const QString& command, const Helps& helps)
{
    const QString program = command.section(' ', 0, 0);
    return helps.contains(program) ? helps[program] : QStringList(helps.values()).join('\n');
}

}  // namespace

QStringList checkCommands(const QString& root, const QStringList& markdownFiles, const Helps& helps)
{
    QStringList faults;
    for (const QString& file : markdownFiles) {
        const QString text = readFile(root, file);
        for (const QString& line : unrunLines(text)) {
            faults.append(file + ": nothing runs \"" + line + '"');
        }
        for (const QString& command : mentionsOf(text)) {
            for (const QString& word : unknownWords(command, helpFor(command, helps))) {
                faults.append(file + ": \"" + command + "\": there is no " + word);
            }
        }
    }
    return faults;
}

}  // namespace checkdocs
