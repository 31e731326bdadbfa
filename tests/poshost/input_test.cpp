#include "tests/poshost/poshostrun.h"

namespace {

/// The codes of the one check that the stand has had.
QJsonArray checkedCodes(const MarkSim& stand)
{
    const QList<QJsonObject> checks = stand.requests({}, "check");
    EXPECT_EQ(checks.size(), 1);
    return QJsonDocument::fromJson(checks.value(0)["body"].toString().toUtf8())["codes"].toArray();
}

/// Runs a shell command in which $0 is poshost, $1 the settings and $2 a file of codes.
ProcessOutcome shell(const QByteArray& command, const SettingsFile& settings, const QString& codes)
{
    return runProcess("bash", {"-c", command, POSHOST_PATH, settings.path(), codes}, {}, cleanEnvironment());
}

TEST(Input, IsReadToItsEndHoweverItComes)
{
    QByteArray lines = "\xef\xbb\xbf";
    QJsonArray codes;
    for (int i = 0; i < 2000; ++i) {
        const QByteArray code = "0104602114050016215" + QByteArray::number(100000 + i) + QByteArray(60, 'x');
        codes << QString(code);
        lines += code + "\r\n";
    }
    const QTemporaryDir folder;
    QFile file(folder.filePath("codes.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(lines) == lines.size() && file.flush());
    // More than a pipe holds, in pieces that end within codes.
    const QByteArray slowly =
        R"({ head -c 65537 "$2"; sleep 0.2; tail -c +65538 "$2" | head -c 10001; sleep 0.2;
                                  tail -c +75539 "$2"; })";
    const QByteArray verify = R"("$0" --config "$1" verify --json --codes-file )";
    for (const QByteArray& command :
         {slowly + R"( | "$0" --config "$1" verify --json)", slowly + " | " + verify + "-",
          verify + "<(" + slowly + ")", verify + "\"$2\"",
          R"(mkfifo "$2.fifo"; )" + slowly + R"( >"$2.fifo" & )" + verify + "\"$2.fifo\""}) {
        const MarkSim stand;
        const SettingsFile settings(settingsFor(stand));
        const ProcessOutcome run = shell(command, settings, file.fileName());
        EXPECT_EQ(run.exitStatus, 1) << run.errors.data();
        EXPECT_EQ(checkedCodes(stand), codes) << command.data();
    }
}

TEST(Input, OfAKeyIsAFileOrTheEnvironment)
{
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand));
    const std::pair<QByteArray, const char*> calls[] = {
        {R"(POSHOST_KEY=a-key-of-the-environment "$0" --config "$1" verify C)", "a-key-of-the-environment"},
        {R"(POSHOST_KEY=other "$0" --config "$1" verify C --key-file <(printf 'a-key-of-a-file\r\n'))",
         "a-key-of-a-file"},
        {R"(echo a-key-of-the-input | "$0" --config "$1" verify C --key-file -)", "a-key-of-the-input"},
        {R"(POSHOST_KEY=other "$0" --config "$1" verify C --api-key a-key-of-the-line)", "a-key-of-the-line"},
    };
    for (const auto& [command, key] : calls) {
        stand.forgetRequests();
        const ProcessOutcome run = shell(command, settings, {});
        ASSERT_EQ(stand.requests({}, "check").size(), 1) << run.errors.data();
        EXPECT_TRUE(
            stand.requests({}, "check")[0]["headers"].toArray().contains(QJsonArray{"X-API-KEY", key}));
        EXPECT_FALSE((run.errors + run.output).contains(key)) << run.errors.data();
    }
    const char* const refused[] = {"--key-file /nowhere", "--key-file <(echo)",
                                   "--key-file <(printf 'a\\nb')", "--key-file <(echo a) --api-key b"};
    for (const char* options : refused) {
        const QByteArray command = R"("$0" --config "$1" verify C )";
        EXPECT_EQ(shell(command + options, settings, {}).exitStatus, 2) << options;
    }
}

}  // namespace
