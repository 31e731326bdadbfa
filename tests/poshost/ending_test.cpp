#include <csignal>

#include "tests/poshost/poshostrun.h"

namespace {

/// A signal to a poshost that waits for an answer that never comes.
class Signal : public testing::TestWithParam<int>
{
};

TEST_P(Signal, EndsACheckAndLeavesNothingBehind)
{
    ChildProcess process(
        POSHOST_PATH,
        {"--scenario", "silence", "verify", "--request-timeout", "600", "--operation-timeout", "600"},
        cleanEnvironment());
    ASSERT_TRUE(process.waitForError("Обращение к серверу..."));
    process.sendSignal(GetParam());
    const ProcessOutcome run = process.wait();

    EXPECT_EQ(run.output, "");
    if (GetParam() != SIGKILL) {
        EXPECT_EQ(run.exitStatus, 128 + GetParam());
        EXPECT_TRUE(run.errors.contains("interrupted by SIG")) << run.errors.toStdString();
        EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
    }
    EXPECT_TRUE(eventually([&] { return process.wait().children.isEmpty(); }));
}

INSTANTIATE_TEST_SUITE_P(Ending, Signal, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGKILL));

/// 1 is the status of the sample basket.
TEST(Output, ThatCannotBeWrittenIsReportedAndTheCheckComesToItsEnd)
{
    const std::tuple<const char*, int, const char*> cases[] = {
        {"\"$0\" --stand verify >/dev/full", 4, "standard output: No space left on device"},
        {"\"$0\" --stand verify >&-", 4, "standard output: Bad file descriptor"},
        {"set -o pipefail; \"$0\" --stand verify --json | true", 4, "standard output: Broken pipe"},
        {"\"$0\" --scenario blackout verify 2>&- <&- | grep 'Кодов 11'; exit ${PIPESTATUS[0]}", 1, ""},
        {"\"$0\" --scenario blackout verify 2>/dev/full", 1, ""},
    };
    for (const auto& [command, exitStatus, errors] : cases) {
        const ProcessOutcome run = runProcess("bash", {"-c", command, POSHOST_PATH}, {}, cleanEnvironment());
        EXPECT_EQ(run.exitStatus, exitStatus) << command;
        EXPECT_EQ(run.output.contains("Кодов 11"), exitStatus == 1) << command;
        EXPECT_TRUE(run.errors.contains(errors)) << run.errors.toStdString();
        EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
    }
}

/// The stand has threads of its own.
TEST(Threads, ThatCannotBeStartedAreReported)
{
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand));
    for (int limit = 0; limit < 6; ++limit) {
        const ProcessOutcome run =
            runProcess(POSHOST_PATH, {"--config", settings.path(), "verify", "RU-401301-AAA0277031"}, {},
                       cleanEnvironment() + QStringList{"LD_PRELOAD=" THREAD_LIMIT_LIBRARY,
                                                        "ASAN_OPTIONS=verify_asan_link_order=0",
                                                        QStringLiteral("THREAD_LIMIT=%1").arg(limit)});
        ASSERT_TRUE(run.ended) << limit << run.errors.data();
        EXPECT_TRUE(run.exitStatus == 0 || run.exitStatus == 3) << run.exitStatus;
        EXPECT_EQ(run.exitStatus == 3, run.errors.contains("could not be started: the system gives no more"))
            << limit << run.errors.data();
        EXPECT_EQ(run.exitStatus == 0, run.output.contains("прошли 1")) << limit;
        EXPECT_TRUE(limit > 0 || run.exitStatus == 3);
    }
}

}  // namespace
