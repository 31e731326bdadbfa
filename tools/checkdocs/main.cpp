// checkdocs: holds the documentation against the tree. Prints what does not agree; exit status 1 then.

#include <iostream>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <QDir>
#include <QFile>
#include <QProcess>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

QString readFile(const QString& file)
{
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("cannot read " + file.toStdString());
    }
    return QString::fromUtf8(opened.readAll());
}

}  // namespace checkdocs

namespace {

/// Throws std::runtime_error when the program cannot be run, or its exit status is above `maxStatus`.
QByteArray outputOf(const QString& program, const QStringList& arguments, int maxStatus = 0)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() > maxStatus) {
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

/// The page that describes a reply of poshost names every member of it.
QStringList checkReplies(const QString& poshost)
{
    struct Reply
    {
        const char* command;
        const char* page;
    };
    const Reply replies[] = {{"--stand verify --explain --json", "docs/poshost.md"},
                             {"--scenario blackout verify --explain --json", "docs/poshost.md"},
                             {"--stand ping --json", "docs/poshost.md"},
                             {"--stand doctor --json", "docs/doctor.md"},
                             {"doctor --keys --json", "docs/doctor.md"}};
    QStringList faults;
    for (const Reply& reply : replies) {
        const QByteArray object = outputOf(poshost, QString(reply.command).split(' '), 1);
        faults += checkdocs::checkMembers(reply.page, object);
    }
    return faults;
}

QStringList markdownFilesOf()
{
    const QString listed = QString::fromUtf8(outputOf("git", {"ls-files", "-z", "*.md"}));
    return listed.split(QChar::Null, Qt::SkipEmptyParts);
}

/// What stands in the documents and is kept somewhere else: the reference of settings, and the sample host.
QStringList checkCopies(const QString& poshost, bool write)
{
    const auto compare = [&](const QString& file, const QString& source, const QString& text) {
        return checkdocs::checkGenerated(file, source, text, write);
    };
    const auto table = [&](const QString& language) {
        return QString::fromUtf8(outputOf(poshost, {"doctor", "--keys", "--lang", language}));
    };
    const QString keys = "poshost doctor --keys", host = "samples/host/main.cpp";
    return compare("docs/configuration.md", keys, table("en")) +
           compare("docs/configuration.ru.md", keys, table("ru")) +
           compare("docs/host-developers.md", host, "```cpp\n" + checkdocs::readFile(host) + "```\n");
}

int checkTree(const QString& programs, bool write)
{
    const QString poshost = programs + "/poshost";
    const QStringList files = markdownFilesOf();
    // The figures of reliability and performance take hours; their commands are run on their own.
    QStringList withExamples = files;
    withExamples.removeAll("docs/reliability.md");
    withExamples.removeAll("docs/performance.md");
    qputenv("PATH", programs.toUtf8() + ':' + qgetenv("PATH"));
    int status = report("copies", checkCopies(poshost, write));
    status |= report("links", checkdocs::checkLinks(files));
    status |= report("limits", checkdocs::checkLimits());
    status |= report("members", checkReplies(poshost));
    status |= report("the stand's interface", checkdocs::checkStandInterface());
    status |= report("languages", checkdocs::compareLanguages(files));
    status |=
        report("examples", checkdocs::runExamples(withExamples, checkdocs::Examples::WithBuild, {"bash"}));
    return status;
}

}  // namespace

int main(int argc, char** argv)
{
    std::string root = ".", programs, shell;
    std::vector<std::string> files;
    bool write = false;
    CLI::App app("Holds the documentation against the tree.");
    app.add_option("--root", root, "The source tree");
    auto* all = app.add_option("--programs", programs, "Folder of poshost and marksim");
    app.add_option("--installed", shell,
                   "In place of all that: run the examples that install the packages, with this shell")
        ->excludes(all);
    app.add_flag("--write", write, "Write the reference of settings in place of comparing it");
    app.add_option("FILES", files, "... of these documents");
    CLI11_PARSE(app, argc, argv);
    qputenv("LC_ALL", "C.UTF-8");
    try {
        const QString folder = QDir(QString::fromStdString(programs)).absolutePath();
        if (!QDir::setCurrent(QString::fromStdString(root))) {
            throw std::runtime_error("cannot go to " + root);
        }
        if (shell.empty()) {
            return checkTree(folder, write);
        }
        QStringList documents;
        for (const std::string& file : files) {
            documents.append(QString::fromStdString(file));
        }
        return report("examples with the packages",
                      checkdocs::runExamples(documents, checkdocs::Examples::WithPackages,
                                             QProcess::splitCommand(QString::fromStdString(shell))));
    } catch (const std::exception& error) {
        std::cerr << "checkdocs: " << error.what() << '\n';
        return 2;
    }
}
