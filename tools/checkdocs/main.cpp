// checkdocs: holds the documentation against the tree. Prints what does not agree; exit status 1 then.

#include <iostream>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

QString readFile(const QString& root, const QString& file)
{
    QFile opened(root + '/' + file);
    if (!opened.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("cannot read " + file.toStdString());
    }
    return QString::fromUtf8(opened.readAll());
}

QString sourcesOf(const QString& root, const QStringList& folders)
{
    static const QRegularExpression comment("^\\s*//.*$", QRegularExpression::MultilineOption);
    static const QRegularExpression seam("\"\\s*\\n\\s*\"");  // of a literal that goes on in the next line
    QString all;
    for (const QString& folder : folders) {
        for (QDirIterator files(root + '/' + folder, {"*.cpp", "*.h"}, QDir::Files,
                                QDirIterator::Subdirectories);
             files.hasNext();) {
            all += readFile(root, QDir(root).relativeFilePath(files.next())).remove(comment).remove(seam);
        }
    }
    return all;
}

}  // namespace checkdocs

namespace {

/// Throws std::runtime_error when the program cannot be run, or its exit status is above `mostStatus`.
QByteArray outputOf(const QString& program, const QStringList& arguments, const QString& folder,
                    int mostStatus = 0)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    process.waitForFinished();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() > mostStatus) {
        throw std::runtime_error("cannot run " + program.toStdString());
    }
    return process.readAllStandardOutput();
}

int report(const QString& what, const QStringList& faults)
{
    std::cout << qPrintable(what) << ": " << (faults.isEmpty() ? "agree" : "DIFFER") << std::endl;
    for (const QString& fault : faults) {
        std::cout << "  " << qPrintable(fault) << std::endl;
    }
    return faults.isEmpty() ? 0 : 1;
}

/// All that the programs say of themselves.
checkdocs::Helps helpsOf(const QString& root, const QString& programs)
{
    static const QRegularExpression verb("^  ([a-z]+) ", QRegularExpression::MultilineOption);
    const auto help = [&](const QString& program, const QStringList& arguments) {
        return QString::fromUtf8(outputOf(program, arguments, root));
    };
    const QString poshost = programs + "/poshost";
    checkdocs::Helps helps{{"./dev", help(root + "/dev", {"help"})},
                           {"marksim", help(programs + "/marksim", {"--help"})},
                           {"poshost", help(poshost, {"--help"})}};
    for (const auto& match : verb.globalMatch(QString(helps["poshost"]))) {
        helps["poshost"] += help(poshost, {match.captured(1), "--help"});
    }
    helps["./dev"] += helps["poshost"];  // what "./dev run" takes
    return helps;
}

/// One reply of each kind that --json gives.
QList<QByteArray> jsonOf(const QString& root, const QString& poshost)
{
    QList<QByteArray> replies;
    for (const char* command :
         {"--stand verify --explain --json", "--scenario blackout verify --explain --json",
          "--stand ping --json", "--stand doctor --json", "doctor --keys --json"}) {
        replies.append(outputOf(poshost, QString(command).split(' '), root, 1));
    }
    return replies;
}

QStringList markdownFilesOf(const QString& root)
{
    const QString listed = QString::fromUtf8(outputOf("git", {"ls-files", "-z", "*.md"}, root));
    return listed.split(QChar::Null, Qt::SkipEmptyParts);
}

int checkTree(const QString& root, const QString& programs)
{
    const QStringList files = markdownFilesOf(root);
    const QByteArray keys = outputOf(programs + "/poshost", {"doctor", "--keys", "--json"}, root);
    // The figures of reliability and performance take hours; their commands are run on their own.
    QStringList withExamples = files;
    withExamples.removeAll("docs/reliability.md");
    withExamples.removeAll("docs/performance.md");
    qputenv("PATH", programs.toUtf8() + ':' + qgetenv("PATH"));
    return report("links", checkdocs::checkLinks(root, files)) |
           report("messages and flags", checkdocs::checkMessages(root)) |
           report("settings", checkdocs::checkSettings(root, keys)) |
           report("commands", checkdocs::checkCommands(root, files, helpsOf(root, programs))) |
           report("members", checkdocs::checkMembers(root, jsonOf(root, programs + "/poshost"))) |
           report("the stand's interface", checkdocs::checkStandInterface(root)) |
           report("languages", checkdocs::compareLanguages(root, files)) |
           report("examples",
                  checkdocs::runExamples(root, withExamples, checkdocs::Examples::WithBuild, {"bash"}));
}

}  // namespace

int main(int argc, char** argv)
{
    std::string root = ".", programs, shell;
    std::vector<std::string> files;
    CLI::App app("Holds the documentation against the tree.");
    app.add_option("--root", root, "The source tree");
    auto* all = app.add_option("--programs", programs, "Folder of poshost and marksim");
    app.add_option("--installed", shell,
                   "In place of all that: run the examples that install the packages, with this shell")
        ->excludes(all);
    app.add_option("FILES", files, "... of these documents");
    CLI11_PARSE(app, argc, argv);
    qputenv("LC_ALL", "C.UTF-8");
    try {
        const QString tree = QDir(QString::fromStdString(root)).absolutePath();
        if (shell.empty()) {
            return checkTree(tree, QDir(QString::fromStdString(programs)).absolutePath());
        }
        QStringList documents;
        for (const std::string& file : files) {
            documents.append(QString::fromStdString(file));
        }
        return report("examples with the packages",
                      checkdocs::runExamples(tree, documents, checkdocs::Examples::WithPackages,
                                             QProcess::splitCommand(QString::fromStdString(shell))));
    } catch (const std::exception& error) {
        std::cerr << "checkdocs: " << error.what() << '\n';
        return 2;
    }
}
