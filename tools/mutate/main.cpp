// mutate: makes one small change after the other to a source file and looks whether the fast tests notice.

#include <algorithm>
#include <atomic>
#include <iostream>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include <CLI/CLI.hpp>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include "tools/mutate/mutants.h"

namespace {

constexpr double goal = 0.95;  // share of the mutants that has to be killed

enum class Fate { Killed, NoProgram, Explained, Survived };

struct Options
{
    QString root = QDir::currentPath();
    std::string explained, kind, sanitizer;
    std::vector<std::string> files, tests;
    unsigned jobs = 2;
    bool list = false;
};

/// What a program has written; nothing when it failed or took longer than `limitMs`.
std::optional<QByteArray> run(const QString& program, const QStringList& arguments, const QString& folder,
                              int limitMs = 1'800'000)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(limitMs)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    const bool isWell = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    return isWell ? std::optional(process.readAll()) : std::nullopt;
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("cannot read " + path.toStdString());
    }
    return file.readAll();
}

/// Leaves a file alone that says the same already, so that nothing is built in vain.
void writeFile(const QString& path, const QByteArray& content)
{
    if (QFile::exists(path) && readFile(path) == content) {
        return;
    }
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) < 0 || !file.flush()) {
        throw std::runtime_error("cannot write " + path.toStdString());
    }
}

/// A copy of the tree with a build of its own.
class Workshop
{
public:
    Workshop(const Options& options, unsigned number)
        : m_folder(options.root + "/build/mutate/" + QString::fromStdString(options.sanitizer) +
                   QString::number(number))
    {
        for (const std::string& test : options.tests) {
            m_tests.append(QString::fromStdString(test).split(u' ', Qt::SkipEmptyParts));
        }
        copyTree(options.root);
        if (!run("cmake",
                 {"-S", m_folder + "/source", "-B", m_folder + "/build", "-G", "Ninja",
                  "-DCMAKE_BUILD_TYPE=Debug",
                  // As in the preset: the suppressions go by the names of what is inlined, too.
                  "-DCMAKE_CXX_FLAGS_DEBUG=" + QString(options.sanitizer == "thread" ? "-O1 -g1" : "-O0 -g0"),
                  "-DCRPTSERVICE_SANITIZE=" + QString::fromStdString(options.sanitizer)},
                 m_folder) ||
            !isBuilt()) {
            throw std::runtime_error("the tests do not build as they are");
        }
        QElapsedTimer time;
        time.start();
        if (!passes()) {
            throw std::runtime_error("the tests fail as they are");
        }
        m_limitMs = static_cast<int>(10 * time.elapsed() + 10'000);
    }

    Fate fateOf(const Mutant& mutant)
    {
        const QString path = m_folder + "/source/" + mutant.file;
        writeFile(path, mutant.changed.toUtf8());
        const Fate fate = !isBuilt() ? Fate::NoProgram : passes() ? Fate::Survived : Fate::Killed;
        writeFile(path, mutant.original.toUtf8());
        return fate;
    }

private:
    void copyTree(const QString& root) const
    {
        const QByteArray names = run("git", {"ls-files", "-z"}, root).value_or(QByteArray());
        for (const QByteArray& name : names.split('\0')) {
            const QString file = u'/' + QString::fromUtf8(name);
            if (QFileInfo(root + file).isFile()) {
                writeFile(m_folder + "/source" + file, readFile(root + file));
            }
        }
    }

    [[nodiscard]] bool isBuilt() const
    {
        QStringList arguments{"-j1"};
        for (const QStringList& test : m_tests) {
            arguments.append(test.first());
        }
        return run("ninja", arguments, m_folder + "/build").has_value();
    }

    [[nodiscard]] bool passes() const
    {
        return std::all_of(m_tests.begin(), m_tests.end(), [this](const QStringList& test) {
            return run(m_folder + "/build/bin/" + test.first(), test.mid(1), m_folder, m_limitMs).has_value();
        });
    }

    QString m_folder;
    QList<QStringList> m_tests;
    int m_limitMs = 600'000;
};

std::string titleOf(const Mutant& mutant)
{
    const QString place = mutant.file + u':' + QString::number(mutant.line);
    return QStringList{place, mutant.kind, mutant.change}.join(": ").toStdString();
}

QList<Mutant> mutantsOf(const Options& options)
{
    QList<Mutant> mutants;
    for (const std::string& name : options.files) {
        const QString file = QString::fromStdString(name);
        mutants += findMutants(file, QString::fromUtf8(readFile(options.root + u'/' + file)));
    }
    if (!options.kind.empty()) {
        mutants.removeIf([&](const Mutant& mutant) { return mutant.kind != options.kind.c_str(); });
    }
    return mutants;
}

/// The changes that may survive, each as "FILE: CHANGE". Lines that begin with "#" or a blank explain them.
QStringList explainedChanges(const Options& options)
{
    return options.explained.empty()
               ? QStringList()
               : QString::fromUtf8(readFile(QString::fromStdString(options.explained))).split(u'\n');
}

/// Counts what becomes of the mutants and prints those that survive without an explanation.
std::map<Fate, int> fatesOf(const QList<Mutant>& mutants, const Options& options)
{
    const QStringList explained = explainedChanges(options);
    std::map<Fate, int> fates;
    std::mutex mutex;  // guards fates, trouble and what is printed
    std::exception_ptr trouble;
    std::atomic<qsizetype> next = 0;
    const auto worker = [&](unsigned number) {
        try {
            Workshop workshop(options, number);
            for (qsizetype i = next++; i < mutants.size(); i = next++) {
                Fate fate = workshop.fateOf(mutants[i]);
                // As it is listed there: without the line's number and the kind.
                if (fate == Fate::Survived &&
                    explained.contains(mutants[i].file + ": " + mutants[i].change)) {
                    fate = Fate::Explained;
                }
                const std::lock_guard lock(mutex);
                ++fates[fate];
                if (fate == Fate::Survived) {
                    std::cout << titleOf(mutants[i]) << std::endl;
                }
                std::cerr << "\r" << i + 1 << " of " << mutants.size() << std::flush;
            }
        } catch (...) {
            const std::lock_guard lock(mutex);
            trouble = std::current_exception();
            next = mutants.size();
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned i = 1; i <= options.jobs; ++i) {
        threads.emplace_back(worker, i);
    }
    threads.clear();
    if (trouble) {
        std::rethrow_exception(trouble);
    }
    return fates;
}

int work(const Options& options)
{
    const QList<Mutant> mutants = mutantsOf(options);
    if (options.list) {
        for (const Mutant& mutant : mutants) {
            std::cout << titleOf(mutant) << '\n';
        }
        return 0;
    }
    std::map<Fate, int> fates = fatesOf(mutants, options);
    // Those that change nothing that anybody could notice are nobody's to kill.
    const int noticeable = fates[Fate::Killed] + fates[Fate::Survived];
    const double share = noticeable == 0 ? 1 : double(fates[Fate::Killed]) / noticeable;
    std::cout << noticeable + fates[Fate::Explained] << " mutants, " << fates[Fate::Killed] << " killed, "
              << fates[Fate::Survived] + fates[Fate::Explained] << " survived, " << fates[Fate::Explained]
              << " of them explained; " << static_cast<int>(share * 1000) / 10.0
              << " % of the others killed; " << fates[Fate::NoProgram] << " more do not compile\n";
    return share >= goal ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    std::string root = ".";
    CLI::App app(
        "Changes source files in one small way after the other and lists the changes that no test notices.");
    app.add_option("--root", root, "The source tree");
    app.add_option("--test", options.tests, "A test program and its arguments, in the order of running")
        ->required()
        ->allow_extra_args(false);
    app.add_option("--explained", options.explained, "File that lists survivors with the reason");
    app.add_option("--kind", options.kind, "Only mutants of this kind, e.g. \"lock\"");
    app.add_option("--sanitizer", options.sanitizer, "What the tests are built with, e.g. \"thread\"");
    app.add_option("--jobs", options.jobs, "Trees that work side by side");
    app.add_flag("--list", options.list, "Only list the mutants");
    app.add_option("FILE", options.files, "Sources, relative to the root")->required();
    CLI11_PARSE(app, argc, argv);
    options.root = QDir(QString::fromStdString(root)).absolutePath();
    qputenv("MALLOC_PERTURB_", "165");  // what is used after its end is seen
    try {
        return work(options);
    } catch (const std::exception& error) {
        std::cerr << "\nmutate: " << error.what() << '\n';
        return 2;
    }
}
