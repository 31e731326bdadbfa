#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <QProcess>
#include <QRegularExpression>

#include "tests/poshost/poshostrun.h"

namespace {

const QByteArray milk = "0104607026010011215rhTuv\x1d"
                        "93VBOs";
const QByteArray sold = "0104602114050023215Hlpa+Bq/Cefu<GS>93Xxhu";
const QByteArray blocked =
    R"(010290000047504521RWlBaT+F6E9CP\x1d91EE34\x1d92YBy9Lmr4PaWbP3gvY1pIXoQOrgRb5vPG5c6qSYhzYTF=)";
const QByteArray beer = "RU-401301-AAA0277031";

/// The codes of the checks that the stand has had.
QStringList checkedCodes(const MarkSim& stand)
{
    QStringList codes;
    for (const QJsonObject& check : stand.requests({}, "check")) {
        codes +=
            QJsonDocument::fromJson(check["body"].toString().toUtf8())["codes"].toVariant().toStringList();
    }
    return codes;
}

/// The heads and sums of what the cashier was shown.
QString shown(const QByteArray& output)
{
    QStringList lines;
    static const QRegularExpression telling("^  ([✓✗!] .*)|^ *((В чеке|К возврату|Режим|Пустая строка).*)");
    for (const QString& line : QString::fromUtf8(output).split('\n')) {
        if (const auto match = telling.match(line); match.hasMatch()) {
            lines << (match.captured(1) + match.captured(2)).trimmed();
        }
    }
    return lines.join('|');
}

TEST(Cashier, TakesWhatAScannerTypes)
{
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand));
    const QByteArray milkByItsIdentity = "]d2" + milk.left(milk.indexOf('\x1d'));
    const QByteArray input = milk + '\r' + milkByItsIdentity + "\r\n" + sold + "\n\r" + "Возврат\r\n" + sold +
                             "\r\r" + sold + '\r' + blocked + "\nREFUND \n" + "\xd0\xd0\r" +
                             "0104ф\n\x01\n<GS>\n" + QByteArray(40000, 'x') + '\n' + QByteArray(4097, 'x') +
                             "\nhelp\nчек\n" + beer;
    const ProcessOutcome run = poshost({"--config", settings.path(), "cashier"}, input);

    EXPECT_EQ(shown(run.output), "✓ ПРОШЁЛ: можно продавать|В чеке: 1|! УЖЕ В ЧЕКЕ: второй раз не добавлен|"
                                 "В чеке: 1|✗ ОТКАЗ: не продавать|В чеке: 1|"
                                 "Пустая строка: отсканируйте код или наберите «помощь»|Режим: возврат|"
                                 "✓ ПРОШЁЛ: можно принять возврат|К возврату: 1|"
                                 "Пустая строка: отсканируйте код или наберите «помощь»|"
                                 "! УЖЕ В ВОЗВРАТЕ: второй раз не добавлен|К возврату: 1|"
                                 "✗ ОТКАЗ: возврат не принимать|К возврату: 1|Режим: продажа|! НЕ ПРОЧИТАНО|"
                                 "! НЕ ПРОЧИТАНО|! НЕ ПРОЧИТАНО|! НЕ ПРОЧИТАНО|! НЕ ПРОЧИТАНО|! НЕ ПРОЧИТАНО|"
                                 "В чеке: 1|✓ ПРОШЁЛ: можно продавать|В чеке: 2|В чеке: 2|К возврату: 1")
        << run.output.data();
    for (const char* text :
         {"  этот товар уже продан\n", "  товар был продан\n", "  продажа этого товара запрещена\n",
          "строка не в UTF-8", "русские буквы", "посторонние знаки", "код пуст", "слишком длинная строка",
          "код слишком длинный", "возврат, refund", "2. RU-401301-AAA0277031\n",
          "Отказано: 2\nНе прочитано строк: 6\n"}) {
        EXPECT_TRUE(run.output.contains(text)) << text << " in " << run.output.data();
    }
    EXPECT_FALSE(run.output.contains('\x1b'));
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.exitStatus, 1);
    const QString soldCode = QString(sold).replace("<GS>", "\x1d");
    EXPECT_EQ(checkedCodes(stand),
              (QStringList{milk, soldCode, soldCode, QString(blocked).replace("\\x1d", "\x1d"), beer}));
}

TEST(Cashier, ExitStatusTellsWhetherSomethingIsLeftRefused)
{
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand));
    const SettingsFile other(settingsFor(stand) + "[Host]\nservice = turon\n");
    const SettingsFile idle("[MarkedGoods]\nmarkverifycrptservice = turon\n");
    struct Session
    {
        QString settings;
        QByteArray input;
        int exitStatus;
    };
    const Session sessions[] = {
        {settings.path(), "", 0},   {settings.path(), milk + "\nвыход\n" + sold + '\n', 0},
        {settings.path(), sold, 1}, {settings.path(), "ф\n" + milk, 1},
        {other.path(), milk, 3},    {idle.path(), milk, 3},
    };
    for (const auto& [path, input, exitStatus] : sessions) {
        const ProcessOutcome run = poshost({"--config", path, "cashier"}, input);
        EXPECT_EQ(run.exitStatus, exitStatus) << input.data() << run.errors.data();
    }
    for (const auto& [streams, exitStatus] : {std::pair(">/dev/full", 4), {"</", 2}}) {
        const QString command = QStringLiteral("\"$0\" --stand cashier ") + streams;
        EXPECT_EQ(runProcess("bash", {"-c", command, POSHOST_PATH}, milk, cleanEnvironment()).exitStatus,
                  exitStatus);
    }
}

struct Ending
{
    const char* name;
    QByteArray typed;
    int signal;
    int exitStatus;
};

/// A poshost at a terminal of its own.
class Terminal : public testing::Test
{
protected:
    void start(const QStringList& arguments, const QStringList& environment)
    {
        int master = -1;
        int slave = -1;
        ASSERT_EQ(::openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
        mMaster.open(master, QIODevice::ReadWrite, QFile::AutoCloseHandle);
        mSlave.open(slave, QIODevice::ReadWrite, QFile::AutoCloseHandle);
        ::fcntl(master, F_SETFD, FD_CLOEXEC);
        ASSERT_EQ(::tcgetattr(slave, &mBefore), 0);
        mProcess.setStandardInputFile(::ttyname(slave));
        mProcess.setStandardOutputFile(::ttyname(slave));
        mProcess.setChildProcessModifier([] {
            ::setsid();
            ::ioctl(STDIN_FILENO, TIOCSCTTY, 0);
        });
        mProcess.setEnvironment(QProcess::systemEnvironment() + cleanEnvironment() + environment);
        mProcess.start(POSHOST_PATH, arguments);
        ASSERT_TRUE(mProcess.waitForStarted());
    }

    void type(const QByteArray& bytes)
    {
        ASSERT_EQ(::write(mMaster.handle(), bytes.constData(), size_t(bytes.size())), bytes.size());
    }

    /// Waits until it has shown `text` after what was asked for before.
    bool shows(const QByteArray& text)
    {
        pollfd source{mMaster.handle(), POLLIN, 0};
        while (!mShown.contains(text) && ::poll(&source, 1, 30000) > 0) {
            QByteArray bytes(4096, '\0');
            mShown += bytes.first(std::max<qsizetype>(::read(mMaster.handle(), bytes.data(), 4096), 0));
        }
        const qsizetype at = mShown.indexOf(text);
        mShown = mShown.mid(at < 0 ? 0 : at + text.size());
        return at >= 0;
    }

    /// Nothing but what the test's own parent left as it was.
    [[nodiscard]] bool isRestored() const
    {
        termios now = {};
        return ::tcgetattr(mSlave.handle(), &now) == 0 && now.c_lflag == mBefore.c_lflag &&
               now.c_iflag == mBefore.c_iflag && now.c_cc[VQUIT] == mBefore.c_cc[VQUIT];
    }

    [[nodiscard]] bool isStopped() const
    {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(mProcess.processId()));
        return stat.open(QIODevice::ReadOnly) && stat.readAll().contains(") T ");
    }

    QFile mMaster;
    QFile mSlave;
    termios mBefore = {};
    QByteArray mShown;
    QProcess mProcess;
};

using SuspendedAtTerminal = Terminal;

class AtTerminal : public Terminal, public testing::WithParamInterface<Ending>
{
};

TEST_P(AtTerminal, IsLeftAsItWas)
{
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand));
    start({"--config", settings.path(), "cashier"}, {"NO_COLOR=", "TERM=xterm"});
    ASSERT_TRUE(shows("Продажа> ")) << mShown.data();
    EXPECT_FALSE(isRestored());
    // Ctrl-U and the backspace correct what was typed, however long, CR alone ends the scan, GS comes
    // through.
    for (const QByteArray& part : QByteArrayList(9, QByteArray(4000, 'x'))) {
        type(part);
        ASSERT_TRUE(shows(part));
    }
    type("\x15"
         "фx\x7f\x7f" +
         milk + '\r');
    ASSERT_TRUE(shows("<GS>93VBOs")) << mShown.data();
    ASSERT_TRUE(shows("\x1b[1;30;42m  ✓ ПРОШЁЛ")) << mShown.data();
    ASSERT_TRUE(shows("Продажа> ")) << mShown.data();
    EXPECT_EQ(checkedCodes(stand), QStringList(milk));

    type(GetParam().typed);
    if (GetParam().signal != 0) {
        ::kill(pid_t(mProcess.processId()), GetParam().signal);
    }
    ASSERT_TRUE(mProcess.waitForFinished());
    EXPECT_EQ(mProcess.exitCode(), GetParam().exitStatus) << mProcess.readAllStandardError().data();
    EXPECT_TRUE(isRestored());
    EXPECT_TRUE(shows("В чеке: 1")) << "the summary, however it ends";
}

TEST_F(SuspendedAtTerminal, GivesItBackUntilItGoesOn)
{
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand));
    start({"--config", settings.path(), "cashier"}, {"TERM=xterm"});
    ASSERT_TRUE(shows("Продажа> ")) << mShown.data();
    type("RU-401301");
    ASSERT_TRUE(shows("RU-401301")) << mShown.data();
    type("\x1a");
    ASSERT_TRUE(eventually([&] { return isStopped(); }));
    EXPECT_TRUE(isRestored());
    ::kill(pid_t(mProcess.processId()), SIGCONT);
    ASSERT_TRUE(shows("Продажа> ")) << mShown.data();
    EXPECT_FALSE(isRestored());
    type("-AAA0277031\rquit\r");
    EXPECT_TRUE(shows("  RU-401301-AAA0277031")) << mShown.data();
    ASSERT_TRUE(mProcess.waitForFinished());
    EXPECT_TRUE(isRestored());
}

using HangupAtTerminal = Terminal;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

TEST_F(HangupAtTerminal, ReopensTheLogWhileTheTerminalIsThereAndEndsTheTillWhenItHasGone)
{
    const MarkSim stand;
    const QTemporaryDir folder;
    const QString log = folder.filePath("till.log");
    const SettingsFile settings(settingsFor(stand) + "[Log]\nlevel = info\nfile = " + log.toUtf8() + '\n');
    start({"--config", settings.path(), "cashier"}, {"TERM=xterm"});
    ASSERT_TRUE(shows("Продажа> ")) << mShown.data();
    ASSERT_TRUE(QFile::rename(log, log + ".1"));
    ::kill(pid_t(mProcess.processId()), SIGHUP);
    ASSERT_TRUE(eventually([&] { return QFile::exists(log); }));
    type(beer + '\r');
    ASSERT_TRUE(shows("Продажа> ")) << mShown.data();
    EXPECT_TRUE(eventually([&] { return contentOf(log).contains("Итог проверки: прошли 1"); }));
    EXPECT_TRUE(contentOf(log + ".1").contains("Добавлен хост"));
    EXPECT_FALSE(contentOf(log + ".1").contains("Проверка кодов"));

    mSlave.close();
    mMaster.close();
    ASSERT_TRUE(mProcess.waitForFinished());
    EXPECT_EQ(mProcess.exitCode(), 4) << "nobody reads the summary";
}

INSTANTIATE_TEST_SUITE_P(Endings, AtTerminal,
                         testing::Values(Ending{"CtrlC", "\x03", 0, 130}, Ending{"Term", "", SIGTERM, 143},
                                         Ending{"CtrlD", "\x04", 0, 0}, Ending{"Quit", "quit\r", 0, 0}),
                         [](const auto& ending) { return std::string(ending.param.name); });

}  // namespace
