#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <QFile>
#include <QTemporaryDir>

#include <log4qt/logmanager.h>

#include "printers.h"

namespace {

using Log4Qt::Level;
using Log4Qt::Logger;
using Log4Qt::LogManager;

class LoggingTest : public testing::Test
{
protected:
    void SetUp() override
    {
        LogManager::configure({.level = Level::Trace, .file = QStringLiteral("/dev/null")});
        LogManager::setWatcher([this](const Log4Qt::LogRecord& record) { records.append(record); });
    }
    void TearDown() override
    {
        LogManager::setWatcher({});
        LogManager::configure({});
    }

    QString written(const QString& text)
    {
        records.clear();
        logger->info(text);
        return records.size() == 1 ? records.first().text : QStringLiteral("<no line>");
    }

    const Logger* logger = LogManager::logger(QStringLiteral("test"));
    QList<Log4Qt::LogRecord> records;
};

using LogLine = LoggingTest;

TEST_F(LogLine, IsFilledInOneStep)
{
    logger->info(QStringLiteral("%1 (%2)"), QStringLiteral("%2 and %1"), QStringLiteral("%1"));
    logger->warn(QStringLiteral("%1"), QStringLiteral("%1 %2"));
    logger->error(QStringLiteral("%2 of %1 %3"), 7, qint64(-1), 0.5);
    logger->debug(QStringLiteral("100% %1 {} {0}"));
    ASSERT_EQ(records.size(), 4);
    EXPECT_EQ(records[0].text, QStringLiteral("%2 and %1 (%1)"));
    EXPECT_EQ(records[1].text, QStringLiteral("%1 %2"));
    EXPECT_EQ(records[2].text, QStringLiteral("-1 of 7 0.5"));
    EXPECT_EQ(records[3].text, QStringLiteral("100% %1 {} {0}"));
}

using LogLevel = LoggingTest;

TEST_F(LogLevel, DropsWhatIsBelow)
{
    const QList<Level> levels = {Level::Trace, Level::Debug, Level::Info,
                                 Level::Warn,  Level::Error, Level::Fatal};
    for (const Level active : levels + QList<Level>{Level::Off}) {
        LogManager::configure({.level = active, .file = QStringLiteral("/dev/null")});
        for (const Level level : levels + QList<Level>{Level::Off}) {
            const bool wanted = level >= active && level != Level::Off;
            records.clear();
            logger->log(level, QStringLiteral("text"));
            EXPECT_EQ(logger->isEnabledFor(level), wanted);
            ASSERT_EQ(records.size(), wanted ? 1 : 0);
            EXPECT_TRUE(!wanted || records.first().level == level);
        }
    }
    EXPECT_FALSE(LogManager::logger(QStringLiteral("made later"))->isEnabledFor(Level::Fatal));
}

struct CountedText
{
    operator QString() const { return QString::number(++conversions); }
    static inline int conversions = 0;
};

TEST_F(LogLevel, BelowTheActiveOneNoTextIsBuilt)
{
    LogManager::configure({.level = Level::Info, .file = QStringLiteral("/dev/null")});
    logger->debug(QStringLiteral("%1"), CountedText());
    EXPECT_EQ(CountedText::conversions, 0);
    logger->info(QStringLiteral("%1"), CountedText());
    EXPECT_EQ(CountedText::conversions, 1);
}

TEST_F(LogLevel, HasAName)
{
    Level level = Level::Fatal;
    EXPECT_FALSE(LogManager::levelFromName(QStringLiteral("verbose"), &level));
    EXPECT_FALSE(LogManager::levelFromName(QString(), &level));
    EXPECT_EQ(level, Level::Fatal);
    EXPECT_TRUE(LogManager::levelFromName(QStringLiteral("Warning"), &level));
    EXPECT_EQ(level, Level::Warn);
    EXPECT_TRUE(LogManager::levelFromName(QStringLiteral("OFF"), &level));
    EXPECT_EQ(level, Level::Off);
}

using LogSecret = LoggingTest;

TEST_F(LogSecret, AfterAHeaderNameIsMasked)
{
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"Добавлен ключ X-API-KEY: 0123456789ab (ООО \"Ромашка\")",
         u"Добавлен ключ X-API-KEY: ********89ab (ООО \"Ромашка\")"},
        {u"X-API-KEY: a b, \"c\" (d)e f (owner (branch))", u"X-API-KEY: ***********)e f (owner (branch))"},
        {u"X-API-KEY: 12345678 (o)", u"X-API-KEY: ******** (o)"},
        {u"X-API-KEY: 123456789 (o)", u"X-API-KEY: *****6789 (o)"},
        {u"X-API-KEY:  (o)", u"X-API-KEY:  ***"},
        {u"x-api-key=0123456789ab", u"x-api-key=********89ab"},
        {u"{\"X-API-KEY\":\"0123456789ab\"}", u"{\"X-API-KEY\":\"**********ab\"}"},
        {u"X-API-KEY: unbalanced) key", u"X-API-KEY: *********** key"},
        {u"X-API-KEY: no owner)", u"X-API-KEY: *****ner)"},
        {u"Authorization: Basic 0123456789ab (x)", u"Authorization: ****************** (x)"},
        {u"AUTHORIZATION Bearer 0123456789ab", u"AUTHORIZATION ***************89ab"},
        {u"X-API-KEY: 0123456789ab\nAuthorization: Basic abcdef\r\nplain",
         u"X-API-KEY: ********89ab\nAuthorization: ********cdef\r\nplain"},
        {u"X-API-KEY", u"X-API-KEY"},
        {u"Ключ доступа 0123456789ab", u"Ключ доступа 0123456789ab"},
    };
    for (const auto& [text, masked] : cases) {
        EXPECT_EQ(written(QString::fromUtf16(text)), QString::fromUtf16(masked));
    }
}

TEST_F(LogSecret, RegisteredIsMaskedAnywhere)
{
    for (const char16_t* secret : {u"registered-secret", u"secret-and-more", u"short234", u"abc", u"%2 {}"}) {
        LogManager::addSecret(QString::fromUtf16(secret));
    }
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"url?key=registered-secret&x", u"url?key=*************cret&x"},
        {u"registered-secret-and-more", u"**********************more"},
        {u"registered-secretregistered-secret", u"*************cret*************cret"},
        {u"short234", u"********"},
        {u"abcd", u"abcd"},
        {u"%2 {}", u"*****"},
        {u"Registered-Secret", u"Registered-Secret"},
    };
    for (const auto& [text, masked] : cases) {
        EXPECT_EQ(written(QString::fromUtf16(text)), QString::fromUtf16(masked));
    }
    LogManager::configure({.level = Level::Trace, .file = QStringLiteral("/dev/null"), .secrets = true});
    EXPECT_EQ(written(QStringLiteral("X-API-KEY: registered-secret")),
              QStringLiteral("X-API-KEY: registered-secret"));
}

using LogFile = LoggingTest;

TEST_F(LogFile, IsAppendedTo)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("журнал/a.log"));
    const auto configure = [&] {
        return LogManager::configure({.file = path, .pattern = QStringLiteral("%l [%n] %v")});
    };
    ASSERT_TRUE(configure());
    LogManager::logger(QStringLiteral("taskmanager"), QStringLiteral("crptping"))
        ->info(QStringLiteral("раз"));
    ASSERT_TRUE(configure());
    logger->debug(QStringLiteral("below"));
    logger->warn(QStringLiteral("X-API-KEY: %1"), QStringLiteral("0123456789ab"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "info [taskmanager.crptping] раз\nwarning [test] X-API-KEY: ********89ab\n");
}

TEST_F(LogFile, ThatCannotBeOpenedChangesNothing)
{
    QString error;
    EXPECT_FALSE(
        LogManager::configure({.level = Level::Off, .file = QStringLiteral("/proc/none/a.log")}, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("/proc/none/a.log"))) << error.toStdString();
    EXPECT_FALSE(LogManager::configure({.file = QStringLiteral("/")}));
    EXPECT_TRUE(logger->isEnabledFor(Level::Trace));
}

TEST_F(LogFile, ThatIsFullLosesLinesOnly)
{
    ASSERT_TRUE(LogManager::configure({.file = QStringLiteral("/dev/full")}));
    EXPECT_NO_THROW(logger->error(QStringLiteral("lost")));
    EXPECT_EQ(records.size(), 1);
}

using LogWatcher = LoggingTest;

TEST_F(LogWatcher, IsNotCalledAfterItsRemoval)
{
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        while (!stop) {
            logger->info(QStringLiteral("text"));
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

TEST_F(LogWatcher, MayLogThrowAndRemoveItself)
{
    int calls = 0;
    LogManager::setWatcher([&](const auto&) {
        ++calls;
        logger->info(QStringLiteral("from the watcher"));
        LogManager::setWatcher({});
        throw std::runtime_error("watcher");
    });
    EXPECT_NO_THROW(logger->info(QStringLiteral("text")));
    logger->info(QStringLiteral("text"));
    EXPECT_EQ(calls, 1);
}

TEST(LogNames, OfOneOrTwoPartsGiveOneLoggerEach)
{
    Logger* const plain = LogManager::logger(QStringLiteral("taskmanager"));
    EXPECT_EQ(LogManager::logger(QStringLiteral("taskmanager"), QString()), plain);
    Logger* const part = LogManager::logger(QStringLiteral("taskmanager"), QStringLiteral("crptping"));
    EXPECT_NE(part, plain);
    EXPECT_EQ(part, LogManager::logger(QStringLiteral("taskmanager.crptping")));
    EXPECT_EQ(part->name(), QStringLiteral("taskmanager.crptping"));
}

}  // namespace
