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

QByteArray outputOf(const QString& program, const QStringList& arguments, const QString& folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    process.waitForFinished();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
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

int check(const QString& root, const QString& programs)
{
    const QString listed = QString::fromUtf8(outputOf("git", {"ls-files", "-z", "*.md"}, root));
    const QStringList markdownFiles = listed.split(QChar::Null, Qt::SkipEmptyParts);
    const QByteArray keys = outputOf(programs + "/poshost", {"doctor", "--keys", "--json"}, root);
    // The figures of reliability and performance take hours; their commands are run on their own.
    QStringList withExamples = markdownFiles;
    withExamples.removeAll("docs/reliability.md");
    withExamples.removeAll("docs/performance.md");
    return report("links", checkdocs::checkLinks(root, markdownFiles)) |
           report("messages and flags", checkdocs::checkMessages(root)) |
           report("settings", checkdocs::checkSettings(root, keys)) |
           report("examples", checkdocs::runExamples(root, withExamples, programs));
}

}  // namespace

int main(int argc, char** argv)
{
    std::string root = ".", programs;
    CLI::App app("Holds the documentation against the tree.");
    app.add_option("--root", root, "The source tree");
    app.add_option("--programs", programs, "Folder of poshost and marksim")->required();
    CLI11_PARSE(app, argc, argv);
    try {
        return check(QDir(QString::fromStdString(root)).absolutePath(),
                     QDir(QString::fromStdString(programs)).absolutePath());
    } catch (const std::exception& error) {
        std::cerr << "checkdocs: " << error.what() << '\n';
        return 2;
    }
}
