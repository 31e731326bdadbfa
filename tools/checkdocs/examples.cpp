#include <QProcess>
#include <QRegularExpression>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

namespace {

struct Example
{
    QString file;
    QString command;
    QStringList shown;
};

QList<Example> examplesOf(const QString& file, const QString& text)
{
    static const QRegularExpression block("^```\\w*\\n(\\$ .*?)^```",
                                          QRegularExpression::MultilineOption |
                                              QRegularExpression::DotMatchesEverythingOption);
    QList<Example> examples;
    for (const auto& match : block.globalMatch(text)) {
        for (const QString& line : match.captured(1).split('\n')) {
            if (line.startsWith("$ ")) {
                examples.append({file, line.sliced(2), {}});
            } else if (!line.isEmpty()) {
                examples.last().shown.append(line);
            }
        }
    }
    return examples;
}

/// What stays the same from run to run: numbers (times, ports, dates) and alignment do not.
QString essence(QString line)
{
    static const QRegularExpression number("\\d+");
    return line.replace(number, "0").simplified();
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

QStringList printedBy(const QString& command, const QString& root, const QString& programs)
{
    QProcess shell;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PATH", programs + ':' + environment.value("PATH"));
    environment.insert("LC_ALL", "C.UTF-8");
    shell.setProcessEnvironment(environment);
    shell.setWorkingDirectory(root);
    shell.setProcessChannelMode(QProcess::MergedChannels);
    shell.start("bash", {"-c", command});
    shell.closeWriteChannel();
    constexpr int limitMs = 120'000;
    if (!shell.waitForFinished(limitMs)) {
        shell.kill();
        shell.waitForFinished();
        return {"(did not end)"};
    }
    return QString::fromUtf8(shell.readAll()).split('\n', Qt::SkipEmptyParts);
}

}  // namespace

QStringList runExamples(const QString& root, const QStringList& markdownFiles, const QString& programs)
{
    QStringList faults;
    for (const QString& file : markdownFiles) {
        for (const Example& example : examplesOf(file, readFile(root, file))) {
            const QStringList printed = printedBy(example.command, root, programs);
            if (!agrees(example.shown, printed)) {
                faults.append(file + ": \"" + example.command + "\" now prints\n    " +
                              printed.join("\n    "));
            }
        }
    }
    return faults;
}

}  // namespace checkdocs
