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

enum class Fate { Killed, NoProgram, Explained, Survived };

struct Options
{
    std::string root = ".";
    std::string explained;
    std::vector<std::string> files;
    std::vector<std::string> tests;
    unsigned jobs = 2;
    double goal = 0.95;
    bool list = false;
};

struct Finished
{
    bool inTime = false;
    bool well = false;
    QByteArray output;
};

Finished run(const QString& program, const QStringList& arguments, const QString& folder,
             int limitMs = 1'800'000)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    Finished finished;
    finished.inTime = process.waitForFinished(limitMs);
    if (!finished.inTime) {
        process.kill();
        process.waitForFinished();
    }
    finished.well =
        finished.inTime && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    finished.output = process.readAll();
    return finished;
}

QString readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("cannot read " + path.toStdString());
    }
    return QString::fromUtf8(file.readAll());
}

void writeFile(const QString& path, const QString& text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.flush()) {
        throw std::runtime_error("cannot write " + path.toStdString());
    }
}

/// A copy of the tree with a build of its own.
class Workshop
{
public:
    Workshop(const Options& options, unsigned number)
        : m_source(QString::fromStdString(options.root) + "/build/mutate/" + QString::number(number) +
                   "/source")
        , m_build(m_source + "/../build")
    {
        for (const std::string& test : options.tests) {
            m_tests.append(QString::fromStdString(test).split(u' ', Qt::SkipEmptyParts));
        }
        copyTree(QString::fromStdString(options.root));
        must("cmake", {"-S", m_source, "-B", m_build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                       "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -g0"});
        if (!isBuilt()) {
            throw std::runtime_error("the tests do not build as they are");
        }
        QElapsedTimer time;
        time.start();
        if (!passes()) {
            throw std::runtime_error("the tests fail as they are");
        }
        m_limitMs = static_cast<int>(10 * time.elapsed() + 10'000);
    }

    Fate fateOf(const QString& file, const QString& original, const Mutant& mutant)
    {
        writeFile(m_source + u'/' + file, mutant.applied(original));
        Fate fate = Fate::NoProgram;
        if (isBuilt()) {
            fate = passes() ? Fate::Survived : Fate::Killed;
        }
        writeFile(m_source + u'/' + file, original);
        return fate;
    }

private:
    /// Writes only what differs, so that a mutant that an earlier run left behind is built over.
    void copyTree(const QString& root) const
    {
        const QByteArray names = run("git", {"ls-files", "-z"}, root).output;
        for (const QByteArray& name : names.split('\0')) {
            const QString file = QString::fromUtf8(name);
            QFile original(root + u'/' + file), copy(m_source + u'/' + file);
            if (file.isEmpty() || !original.open(QIODevice::ReadOnly)) {
                continue;
            }
            const QByteArray content = original.readAll();
            if (copy.open(QIODevice::ReadOnly) && copy.readAll() == content) {
                continue;
            }
            copy.close();
            QDir().mkpath(QFileInfo(copy).path());
            if (!copy.open(QIODevice::WriteOnly) || copy.write(content) != content.size()) {
                throw std::runtime_error("cannot write " + copy.fileName().toStdString());
            }
        }
    }

    void must(const QString& program, const QStringList& arguments) const
    {
        const Finished finished = run(program, arguments, m_source);
        if (!finished.well) {
            throw std::runtime_error(program.toStdString() + ": " + finished.output.toStdString());
        }
    }

    [[nodiscard]] bool isBuilt() const
    {
        QStringList arguments{"-j1"};
        for (const QStringList& test : m_tests) {
            arguments.append(test.first());
        }
        return run("ninja", arguments, m_build).well;
    }

    [[nodiscard]] bool passes() const
    {
        return std::all_of(m_tests.begin(), m_tests.end(), [this](const QStringList& test) {
            return run(m_build + "/bin/" + test.first(), test.mid(1), m_build, m_limitMs).well;
        });
    }

    QString m_source;
    QString m_build;
    QList<QStringList> m_tests;
    int m_limitMs = 600'000;
};

struct Job
{
    QString file;
    QString source;
    Mutant mutant;

    [[nodiscard]] QString title() const
    {
        return file + u':' + QString::number(mutant.line(source)) + ": " + mutant.kind + ": " +
               mutant.description(source);
    }
    /// As in the list of survivors with an explanation: without the line's number.
    [[nodiscard]] QString key() const { return file + ": " + mutant.description(source); }
};

QList<Job> jobsOf(const Options& options)
{
    QList<Job> jobs;
    for (const std::string& name : options.files) {
        const QString file = QString::fromStdString(name);
        const QString source = readFile(QString::fromStdString(options.root) + u'/' + file);
        for (const Mutant& mutant : findMutants(source)) {
            jobs.append({file, source, mutant});
        }
    }
    return jobs;
}

/// The mutants that are known to survive: lines that do not begin with "#" or a blank (which explain).
QStringList explainedSurvivors(const Options& options)
{
    QStringList explained;
    if (!options.explained.empty()) {
        for (const QString& line : readFile(QString::fromStdString(options.explained)).split(u'\n')) {
            if (!line.isEmpty() && line[0] != u'#' && line[0] != u' ') {
                explained.append(line);
            }
        }
    }
    return explained;
}

int work(const Options& options)
{
    const QList<Job> jobs = jobsOf(options);
    if (options.list) {
        for (const Job& job : jobs) {
            std::cout << job.title().toStdString() << '\n';
        }
        return 0;
    }
    const QStringList explained = explainedSurvivors(options);
    std::map<Fate, int> fates;
    std::mutex mutex;
    std::string trouble;
    std::atomic<qsizetype> next = 0;
    const auto worker = [&](unsigned number) {
        try {
            Workshop workshop(options, number);
            for (qsizetype i = next++; i < jobs.size(); i = next++) {
                const Job& job = jobs[i];
                Fate fate = workshop.fateOf(job.file, job.source, job.mutant);
                if (fate == Fate::Survived && explained.contains(job.key())) {
                    fate = Fate::Explained;
                }
                const std::lock_guard lock(mutex);
                ++fates[fate];
                if (fate == Fate::Survived) {
                    std::cout << job.title().toStdString() << std::endl;
                }
                std::cerr << "\r" << i + 1 << " of " << jobs.size() << std::flush;
            }
        } catch (const std::exception& error) {
            const std::lock_guard lock(mutex);
            trouble = error.what();
            next = jobs.size();
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 1; i <= options.jobs; ++i) {
        threads.emplace_back(worker, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::cerr << '\n';
    if (!trouble.empty()) {
        std::cerr << "mutate: " << trouble << '\n';
        return 2;
    }
    const int lived = fates[Fate::Explained] + fates[Fate::Survived];
    const int all = fates[Fate::Killed] + lived;
    // Those that change nothing that anybody could notice are nobody's to kill.
    const int noticeable = all - fates[Fate::Explained];
    const double share = noticeable == 0 ? 1 : double(fates[Fate::Killed]) / noticeable;
    std::cout << all << " mutants, " << fates[Fate::Killed] << " killed, " << lived << " survived, "
              << fates[Fate::Explained] << " of them explained; " << static_cast<int>(share * 1000) / 10.0
              << " % of the others killed; " << fates[Fate::NoProgram] << " more do not compile\n";
    return share >= options.goal ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app(
        "Changes source files in one small way after the other and lists the changes that no test notices.");
    app.add_option("--root", options.root, "The source tree");
    app.add_option("--test", options.tests,
                   "A test program and its arguments, in the order in which they run")
        ->required()
        ->allow_extra_args(false);
    app.add_option("--explained", options.explained, "File that lists survivors with the reason");
    app.add_option("--jobs", options.jobs, "Trees that work side by side");
    app.add_option("--goal", options.goal, "Share of the mutants that has to be killed");
    app.add_flag("--list", options.list, "Only list the mutants");
    app.add_option("FILE", options.files, "Sources, relative to the root")->required();
    CLI11_PARSE(app, argc, argv);
    options.root = QDir(QString::fromStdString(options.root)).absolutePath().toStdString();
    try {
        return work(options);
    } catch (const std::exception& error) {
        std::cerr << "mutate: " << error.what() << '\n';
        return 2;
    }
}
