#include <fstream>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>
#include <QTemporaryDir>

#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"

namespace {

using namespace std::chrono_literals;
using Log4Qt::Level;
using Log4Qt::LogManager;

class LoggingTest : public testing::Test
{
protected:
    void expectWritten(const std::vector<std::pair<const char*, const char*>>& textsAndMasked)
    {
        for (const auto& [text, masked] : textsAndMasked) {
            logger->info(QString(text));
            EXPECT_EQ(log.take(), QStringList(QString("info ") + masked));
        }
    }

    /// From now on lines go into a pipe that nobody reads but whoever has what is returned.
    std::fstream logToPipe() const
    {
        const QString path = folder.filePath("pipe");
        EXPECT_EQ(mkfifo(qPrintable(path), 0600), 0);
        std::fstream pipe(path.toStdString());
        EXPECT_TRUE(LogManager::configure({.file = path, .pattern = "%v"}));
        return pipe;
    }

    const QTemporaryDir folder;
    LogWatch log;
    const Log4Qt::Logger* logger = LogManager::logger("test");
};

TEST_F(LoggingTest, LineIsFilledInOneStep)
{
    logger->info("%1 (%2)", "%2 and %1", "%1");
    logger->warn("%1", "%1 %2");
    logger->error("%2 of %1 %3", 7, qint64(-1), 0.5);
    logger->debug("100% %1 {} {0}");
    EXPECT_EQ(log.take(), (QStringList{"info %2 and %1 (%1)", "warn %1 %2", "error -1 of 7 0.5",
                                       "debug 100% %1 {} {0}"}));
}

TEST_F(LoggingTest, LineBelowTheActiveLevelIsDropped)
{
    const auto linesAt = [this](Level active) {
        LogManager::configure({.level = active, .file = "/dev/null"});
        for (const Level level : {Level::Debug, Level::Info, Level::Warn, Level::Fatal, Level::Off}) {
            logger->log(level, "x");
        }
        return log.take();
    };
    EXPECT_EQ(linesAt(Level::Warn), (QStringList{"warn x", "fatal x"}));
    EXPECT_EQ(linesAt(Level::Off), QStringList());
    EXPECT_FALSE(LogManager::logger("made later")->isEnabledFor(Level::Fatal));
}

TEST_F(LoggingTest, SecretAfterAHeaderNameIsMasked)
{
    expectWritten(
        {{"Добавлен ключ X-API-KEY: 0123456789ab (ООО \"Ромашка\")",
          "Добавлен ключ X-API-KEY: ********89ab (ООО \"Ромашка\")"},
         {"X-API-KEY: a b, \"c\" (d)e f (owner (branch))", "X-API-KEY: ***********)e f (owner (branch))"},
         {"X-API-KEY: 12345678 (o)", "X-API-KEY: ******** (o)"},
         {"x-api-key=0123456789ab", "x-api-key=********89ab"},
         {"{\"X-API-KEY\":\"0123456789ab\"}", "{\"X-API-KEY\":\"**********ab\"}"},
         {"X-API-KEY: no owner)", "X-API-KEY: *****ner)"},
         {"Authorization: Basic 0123456789ab (x)", "Authorization: ****************** (x)"},
         {"X-API-KEY: 0123456789\nend (o)", "X-API-KEY: **********\\u000aend (o)"},
         {"Ключ доступа 0123456789ab", "Ключ доступа 0123456789ab"}});
}

TEST_F(LoggingTest, UserAndPasswordOfAnAddressAreMasked)
{
    expectWritten(
        {{"Добавлен хост: http://u:p@host:8080/a@b (o@shop)",
          "Добавлен хост: http://***@host:8080/a@b (o@shop)"},
         {"https://u@a, http://b:80/@c, http://[::1]/@", "https://*@a, http://b:80/@c, http://[::1]/@"},
         {"http://u:a%40b@h http://u:a@b@h", "http://*******@h http://*****@h"},
         {"http://http//u:a@h", "http://http//***@h"},
         {"http://u:my pass@h http://u:a/b@h", "http://*********@h http://*****@h"},
         {"?to=http%3a%2f%2fu%3Ap%40h%2Fa%40b", "?to=http%3a%2f%2f*****%40h%2Fa%40b"},
         {"http://h:80, a@b // c@d", "http://h:80, a@b // c@d"}});
}

TEST_F(LoggingTest, LineCannotBeForgedOrSteerATerminal)
{
    expectWritten({{"http://a/\n2026 info x\r", "http://a/\\u000a2026 info x\\u000d"},
                   {"\x1b[2J\u009b\u202e\u2028", "\\u001b[2J\\u009b\\u202e\\u2028"},
                   {"01\x1d"
                    "21 ключ 😀",
                    "01<GS>21 ключ 😀"}});
}

TEST_F(LoggingTest, LogThatNobodyReadsHoldsUpNobody)
{
    std::fstream pipe = logToPipe();
    LogManager::setWatcher({});
    constexpr int logged = 10'000;
    for (int i = 0; i < logged; ++i) {
        logger->info("%1 %2", i, QString(1000, 'x'));
    }
    EXPECT_FALSE(LogManager::flush(0s));
    LogManager::configure({.file = "/dev/null"});
    int written = 0;
    std::string line;
    while (std::getline(pipe, line) && line.starts_with(std::to_string(written) + " x")) {
        ++written;
    }
    EXPECT_EQ(line, "Пропущено строк журнала: " + std::to_string(logged - written));
    EXPECT_GT(written, 3000);
    EXPECT_LT(written, logged);
}

TEST_F(LoggingTest, ChildOfAForkWritesItsLinesItself)
{
    QFile file(folder.filePath("a.log"));
    ASSERT_TRUE(LogManager::configure({.file = file.fileName(), .pattern = "%v"}));
    logger->info("parent");
    ASSERT_TRUE(LogManager::flush(10s));
    const pid_t child = fork();
    if (child == 0) {
        logger->info("child");
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "parent\nchild\n");
}

TEST_F(LoggingTest, ChildOfAForkMayLogWhileTheParentsThreadIsStuck)
{
    std::fstream pipe = logToPipe();
    constexpr int logged = 100;
    for (int i = 0; i < logged; ++i) {
        logger->info("%1", QString(1000, 'x'));
    }
    EXPECT_FALSE(LogManager::flush(200ms));
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        logger->info("child");
        _exit(0);
    }
    std::string line;
    for (int i = 0; i < logged; ++i) {
        std::getline(pipe, line);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    LogManager::configure({.file = "/dev/null"});
}

TEST_F(LoggingTest, SecretRegisteredIsMaskedAnywhereUnlessSecretsAreWanted)
{
    for (const char* secret :
         {"registered-secret", "secret-and-more", "short234", "abc", "%2 {}", "li\nne"}) {
        LogManager::addSecret(secret);
    }
    for (int i = 0; i < 300; ++i) {
        LogManager::addSecret(QString("<%1>").arg(i, 6));
    }
    expectWritten({{"url?key=registered-secret&x", "url?key=*************cret&x"},
                   {"registered-secret-and-more", "**********************more"},
                   {"registered-secretregistered-secret", "*************cret*************cret"},
                   {"short234", "********"},
                   {"abcd", "abcd"},
                   {"%2 {}", "*****"},
                   {"li\nne", "*****"},
                   {"Registered-Secret", "Registered-Secret"}});
    LogManager::configure({.file = "/dev/null", .secrets = true});
    expectWritten({{"X-API-KEY: registered-secret", "X-API-KEY: registered-secret"}});
}

TEST_F(LoggingTest, FileIsAppendedToUntilAnotherCanBeOpened)
{
    const QString path = folder.filePath("журнал/a.log");
    ASSERT_TRUE(LogManager::configure({.file = path, .pattern = "%l [%n] %v"}));
    LogManager::logger("taskmanager", "crptping")->info("раз");
    ASSERT_TRUE(QFile::rename(path, path + ".1"));
    ASSERT_TRUE(LogManager::reopen());
    LogManager::logger("taskmanager", "crptping")->info("два");
    LogManager::configure({.file = "/dev/full"});
    logger->info("lost");
    ASSERT_TRUE(LogManager::flush(10s));
    ASSERT_TRUE(LogManager::configure({.file = path, .pattern = "%l [%n] %v"}));
    QString error;
    EXPECT_FALSE(LogManager::configure({.level = Level::Off, .file = "/proc/none/a.log"}, &error));
    EXPECT_TRUE(error.contains("/proc/none/a.log")) << qPrintable(error);
    logger->warn("X-API-KEY: %1", "0123456789ab");
    ASSERT_TRUE(LogManager::flush(10s));
    QFile rotated(path + ".1");
    QFile file(path);
    ASSERT_TRUE(rotated.open(QIODevice::ReadOnly) && file.open(QIODevice::ReadOnly));
    EXPECT_EQ(rotated.readAll(), "info [taskmanager.crptping] раз\n");
    EXPECT_EQ(file.readAll(), "info [taskmanager.crptping] два\nwarning [test] X-API-KEY: ********89ab\n");
}

TEST_F(LoggingTest, WatcherIsNotCalledAfterItsRemoval)
{
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        while (!stop) {
            logger->info("text");
        }
    });
    for (int i = 0; i < 200; ++i) {
        auto alive = std::make_unique<std::atomic<int>>(0);
        LogManager::setWatcher([&alive = *alive](const auto&) { ++alive; });
        while (*alive == 0) {
            std::this_thread::yield();
        }
        LogManager::setWatcher({});
        alive.reset();  // a late call would write to freed memory
    }
    stop = true;
    writer.join();
}

}  // namespace
