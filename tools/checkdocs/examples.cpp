#include <QProcess>
#include <QRegularExpression>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

namespace {

struct Example
{
    QString command;
    QStringList shown;
};

/// A fenced block; its commands are typed into one shell.
using Session = QList<Example>;

QList<Session> sessionsOf(const QString& text, Examples which)
{
    static const QRegularExpression block("^( *)```([\\w ]*)\\n( *\\$ .*?)^\\1```",
                                          QRegularExpression::MultilineOption |
                                              QRegularExpression::DotMatchesEverythingOption);
    QList<Session> sessions;
    for (const auto& match : block.globalMatch(text)) {
        const bool needsPackages = match.captured(2) == "console installed";
        if (needsPackages != (which == Examples::WithPackages)) {
            continue;
        }
        Session session;
        for (const QString& indented : match.captured(3).split('\n')) {
            const QString line = indented.sliced(qMin(match.capturedLength(1), indented.size()));
            if (line.startsWith("$ ")) {
                session.append({line.sliced(2), {}});
            } else if (!line.isEmpty()) {
                session.last().shown.append(line);
            }
        }
        sessions.append(session);
    }
    return sessions;
}

/// What stays the same from run to run: times, ports, dates, threads and alignment do not.
QString essence(QString line)
{
    static const QRegularExpression varying(
        R"(-?[\d.]+(?= (?:мс|с|ms|s)(?!\w))|(?<=127\.0\.0\.1:|port |поток )\d+|(?<=\[)\d+(?=\] \[)|\d+\.\d+\.\d{4} \d+:\d+|\d{4}-\d+-\d+ [\d:.]+)",
        QRegularExpression::UseUnicodePropertiesOption);
    return line.replace(varying, "0").simplified();
}

/// "..." stands for any lines, also none.
bool agrees(const QStringList& shown, const QStringList& printed, qsizetype i = 0, qsizetype j = 0)
{
    if (i == shown.size()) {
        return j == printed.size();
    }
    if (shown[i] == "...") {
        return agrees(shown, printed, i + 1, j) || (j < printed.size() && agrees(shown, printed, i, j + 1));
    }
    return j < printed.size() && essence(shown[i]) == essence(printed[j]) &&
           agrees(shown, printed, i + 1, j + 1);
}

/// What each command of the session prints.
QList<QStringList> printedBy(const Session& session, const QStringList& shell)
{
    const QString mark = "-- the end of a command --";
    QString script = "exec 2>&1\n";
    for (const Example& example : session) {
        script += example.command + "\necho; echo '" + mark + "'\n";
    }
    QProcess process;
    process.start(shell.first(), shell.sliced(1) + QStringList{"-c", script});
    process.closeWriteChannel();
    constexpr int limitMs = 1'200'000;
    if (!process.waitForFinished(limitMs)) {
        process.kill();
        process.waitForFinished();
        return QList<QStringList>(session.size(), {"(did not end)"});
    }
    QList<QStringList> printed;
    for (const QString& part : QString::fromUtf8(process.readAllStandardOutput()).split(mark + '\n')) {
        printed.append(part.split('\n', Qt::SkipEmptyParts));
    }
    printed.resize(session.size());
    return printed;
}

}  // namespace

QStringList compareLanguages(const QStringList& markdownFiles)
{
    const auto commandsOf = [&](const QString& file) {
        QStringList commands;
        for (const Examples which : {Examples::WithBuild, Examples::WithPackages}) {
            for (const Session& session : sessionsOf(readFile(file), which)) {
                for (const Example& example : session) {
                    commands.append(example.command);
                }
            }
        }
        return commands;
    };
    QStringList faults;
    for (const QString& russian : markdownFiles.filter(QRegularExpression("\\.ru\\.md$"))) {
        const QString english = QString(russian).replace(".ru.md", ".md");
        if (commandsOf(russian) != commandsOf(english)) {
            faults.append(russian + " and " + english + " show different commands");
        }
    }
    return faults;
}

QStringList runExamples(const QStringList& markdownFiles, Examples which, const QStringList& shell)
{
    QStringList faults;
    int commands = 0;
    for (const QString& file : markdownFiles) {
        for (const Session& session : sessionsOf(readFile(file), which)) {
            const QList<QStringList> printed = printedBy(session, shell);
            for (qsizetype i = 0; i < session.size(); ++i, ++commands) {
                if (!agrees(session[i].shown, printed[i])) {
                    faults.append(file + ": \"" + session[i].command + "\" now prints\n    " +
                                  printed[i].join("\n    "));
                }
            }
        }
    }
    return commands > 0 ? faults : QStringList{"there are no commands in " + markdownFiles.join(", ")};
}

}  // namespace checkdocs
