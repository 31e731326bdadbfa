#include <thread>

#include <QFile>
#include <QTemporaryDir>

#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include <gtest/gtest.h>

namespace {

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

TEST_F(LoggingTest, WatcherMayAskForLinesThatAreNotWritten)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("a.log"));
    QStringList seen;
    LogManager::setWatcher([&](const Log4Qt::LogRecord& record) { seen << record.text; }, Level::Debug);
    ASSERT_TRUE(LogManager::configure({.level = Level::Warn, .file = file.fileName(), .pattern = "%v"}));
    logger->trace("t");
    logger->debug("d");
    logger->warn("w");
    LogManager::setWatcher({});
    EXPECT_FALSE(logger->isEnabledFor(Level::Info));
    EXPECT_EQ(seen, (QStringList{"d", "w"}));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "w\n");
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
         {"X-API-KEY: 0123456789ab\nAuthorization: Basic abcdef\r\nplain",
          "X-API-KEY: ********89ab\nAuthorization: ********cdef\r\nplain"},
         {"Ключ доступа 0123456789ab", "Ключ доступа 0123456789ab"}});
}

TEST_F(LoggingTest, SecretRegisteredIsMaskedAnywhereUnlessSecretsAreWanted)
{
    for (const char* secret : {"registered-secret", "secret-and-more", "short234", "abc", "%2 {}"}) {
        LogManager::addSecret(secret);
    }
    expectWritten({{"url?key=registered-secret&x", "url?key=*************cret&x"},
                   {"registered-secret-and-more", "**********************more"},
                   {"registered-secretregistered-secret", "*************cret*************cret"},
                   {"short234", "********"},
                   {"abcd", "abcd"},
                   {"%2 {}", "*****"},
                   {"Registered-Secret", "Registered-Secret"}});
    LogManager::configure({.file = "/dev/null", .secrets = true});
    expectWritten({{"X-API-KEY: registered-secret", "X-API-KEY: registered-secret"}});
}

TEST_F(LoggingTest, FileIsAppendedToUntilAnotherCanBeOpened)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("журнал/a.log");
    ASSERT_TRUE(LogManager::configure({.file = path, .pattern = "%l [%n] %v"}));
    LogManager::logger("taskmanager", "crptping")->info("раз");
    ASSERT_TRUE(LogManager::configure({.file = path, .pattern = "%l [%n] %v"}));
    QString error;
    EXPECT_FALSE(LogManager::configure({.level = Level::Off, .file = "/proc/none/a.log"}, &error));
    EXPECT_TRUE(error.contains("/proc/none/a.log")) << qPrintable(error);
    logger->warn("X-API-KEY: %1", "0123456789ab");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "info [taskmanager.crptping] раз\nwarning [test] X-API-KEY: ********89ab\n");
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
