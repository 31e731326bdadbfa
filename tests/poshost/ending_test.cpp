#include <csignal>

#include <QFile>
#include <QThread>

#include <gtest/gtest.h>

#include "tests/poshost/poshostrun.h"

namespace {

class SignalMidCheck : public testing::TestWithParam<int>
{
};

TEST_P(SignalMidCheck, EndsCleanlyAndLeavesNothingBehind)
{
    const int number = GetParam();
    ChildProcess process(POSHOST_PATH,
                         {"--scenario", "silence", "verify", "--json", "--request-timeout", "600",
                          "--operation-timeout", "600"},
                         cleanEnvironment());
    ASSERT_TRUE(process.waitForError("Обращение к серверу..."));

    process.sendSignal(number);
    const ProcessOutcome run = process.wait();

    EXPECT_TRUE(run.ended);
    EXPECT_EQ(run.exitStatus, 128 + number);
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.errors.contains("interrupted by SIG")) << run.errors.toStdString();
    EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(Ending, SignalMidCheck, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(Ending, StandDiesWithAKilledPoshost)
{
    ChildProcess process(
        POSHOST_PATH,
        {"--scenario", "silence", "verify", "--request-timeout", "600", "--operation-timeout", "600"},
        cleanEnvironment());
    ASSERT_TRUE(process.waitForError("Обращение к серверу..."));

    process.sendSignal(SIGKILL);
    QStringList left = process.wait().children;
    for (int i = 0; i < 200 && !left.isEmpty(); ++i) {
        // Nobody but the system tells when it is gone.
        QThread::msleep(50);
        left = process.wait().children;
    }
    EXPECT_TRUE(left.isEmpty()) << left.join('\n').toStdString();
}

TEST(Ending, OutputThatCannotBeWrittenIsReported)
{
    for (const char* command : {"\"$0\" --stand verify > /dev/full", "\"$0\" --help > /dev/full",
                                "set -o pipefail; \"$0\" --stand verify --json | true"}) {
        const ProcessOutcome run = runProcess("bash", {"-c", command, POSHOST_PATH}, {}, cleanEnvironment());
        EXPECT_EQ(run.exitStatus, 4) << command;
        EXPECT_TRUE(run.errors.contains("poshost: standard output: ")) << run.errors.toStdString();
        EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
    }
}

TEST(Ending, StandThatIsMissingIsRefused)
{
    // A copy by itself has neither plug-in nor stand beside it.
    const QTemporaryDir folder;
    const QString lonely = folder.filePath("poshost");
    ASSERT_TRUE(QFile::copy(POSHOST_PATH, lonely));
    const ProcessOutcome noPlugin = runProcess(lonely, {"--stand", "verify"}, {}, cleanEnvironment());
    EXPECT_EQ(noPlugin.exitStatus, 2);
    EXPECT_TRUE(noPlugin.errors.contains("no libcrptservice.so beside")) << noPlugin.errors.toStdString();

    const ProcessOutcome noStand =
        runProcess(lonely, {"--stand", "--plugin", PLUGIN_PATH, "verify"}, {}, cleanEnvironment());
    EXPECT_EQ(noStand.exitStatus, 2);
    EXPECT_TRUE(noStand.errors.contains("stand: no program")) << noStand.errors.toStdString();
}

}  // namespace
