#include "tests/poshost/poshostrun.h"

namespace {

/// The codes of the sample basket.
QStringList basket()
{
    QFile file(SOURCE_FOLDER "/samples/basket.txt");
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QString::fromUtf8(file.readAll()).replace("<GS>", "\x1d").split('\n', Qt::SkipEmptyParts);
}

/// The entry of `code` in an array of the report, null when there is none.
QJsonValue entryOf(const QJsonObject& report, const char* array, const QString& code)
{
    for (const QJsonValue entry : report[QLatin1String(array)].toArray()) {
        if (entry["code"].toString() == code) {
            return entry;
        }
    }
    return {};
}

TEST(Verify, ChecksTheSampleBasketAtAStandOfItsOwn)
{
    const ProcessOutcome run = poshost({"--stand", "verify", "--json"});
    const QJsonObject report = onlyObject(run.output);
    const QStringList codes = basket();
    const QString &milk = codes[0], &sold = codes[3], &tobacco = codes[5], &cheese = codes[10];

    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(report["stand"], true);
    EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
    EXPECT_EQ(report.keys(),
              (QStringList{"elapsedMs", "errorKind", "errorText", "expireDates", "failedCodes", "httpStatus",
                           "mrps", "notifications", "passedCodes", "productWeights", "requestInfos", "source",
                           "stand", "success", "triggerResult", "url"}));
    EXPECT_EQ(report["httpStatus"], 200);

    QJsonArray passed;
    for (const qsizetype i : {0, 2, 4, 5, 6, 8, 9, 10}) {
        passed << codes[i];
    }
    EXPECT_EQ(report["passedCodes"], passed);
    EXPECT_EQ(entryOf(report, "failedCodes", sold), (QJsonObject{{"code", sold},
                                                                 {"flags", 0x40},
                                                                 {"status", QJsonArray{"Sold"}},
                                                                 {"message", ""},
                                                                 {"ogvs", ""},
                                                                 {"errorCode", 0}}));
    EXPECT_TRUE(entryOf(report, "expireDates", milk)["date"].toString().contains('.'));
    EXPECT_EQ(entryOf(report, "productWeights", cheese)["weight"], 1250);
    EXPECT_EQ(entryOf(report, "mrps", tobacco),
              (QJsonObject{{"code", tobacco}, {"groupId", 3}, {"mrp", 21900}}));
}

TEST(Verify, ArgumentsReachTheServiceAsGiven)
{
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand) + "[Host]\napiKey = key-of-the-settings\n");
    const QStringList common = {"--config", settings.path(), "verify", "--json"};

    // The key of the command line wins; codes of the command line come before those of the input. The limit
    // of 4096 characters is that of the code, not of its spelling.
    const QByteArray longest(4095, 'x');
    (void)poshost(common + QStringList{"--api-key", stand.key(), "--codes-file", "-", R"(A\x1d93)", "[B,C]",
                                       "--", "++", "-D", "--"},
                  R"(E\x1D\u001d\u001D<GS><gs>)"
                  "\x1d\n F \n" +
                      longest + "<GS>");
    (void)poshost(common + QStringList{"G"});

    const QList<QJsonObject> checks = stand.requests({}, "check");
    ASSERT_EQ(checks.size(), 2);
    EXPECT_EQ(QJsonDocument::fromJson(checks[0]["body"].toString().toUtf8())["codes"],
              (QJsonArray{"A\u001d93", "[B,C]", "++", "-D", "--", "E\x1d\x1d\x1d\x1d<gs>\x1d", " F ",
                          QString(longest + '\x1d')}));
    EXPECT_TRUE(checks[0]["headers"].toArray().contains(QJsonArray{"X-API-KEY", stand.key()}));
    EXPECT_TRUE(checks[1]["headers"].toArray().contains(QJsonArray{"X-API-KEY", "key-of-the-settings"}));
}

TEST(Verify, StatusIsThreeWhenNobodyServesTheAction)
{
    const SettingsFile idle("[MarkedGoods]\nmarkverifycrptservice = turon\n");
    for (const QStringList& command : {QStringList{"verify", "--json", "C"}, {"ping", "--json"}}) {
        const ProcessOutcome unused = poshost(QStringList{"--config", idle.path()} + command);
        EXPECT_EQ(unused.exitStatus, 3);
        EXPECT_TRUE(unused.errors.contains("the plug-in is idle")) << unused.errors.toStdString();
        EXPECT_TRUE(onlyObject(unused.output)["triggerResult"].isNull());
    }
    const ProcessOutcome other = poshost({"--stand", "verify", "--service", "TURON", "--json", "C"});
    EXPECT_EQ(other.exitStatus, 3);
    EXPECT_TRUE(other.errors.contains("does not serve")) << other.errors.toStdString();
    EXPECT_EQ(onlyObject(other.output)["triggerResult"], 3);
    EXPECT_TRUE(onlyObject(other.output)["source"].isNull());
}

TEST(Verify, LogGoesToTheFileAloneAndWithoutTheKey)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("till.log"));
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand) + "[Log]\nfile = " + file.fileName().toUtf8() + '\n');

    const ProcessOutcome run = poshost({"--config", settings.path(), "--log-level", "info", "verify", "C"});

    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray lines = file.readAll();
    EXPECT_TRUE(lines.contains("Проверка кодов маркировок: [")) << lines.toStdString();
    EXPECT_FALSE(lines.contains(stand.key().toUtf8()));
    EXPECT_FALSE((run.errors + run.output).contains("Проверка кодов")) << run.errors.toStdString();
}

TEST(Verify, ComesToItsVerdictsWithAFullLogAndWithTheDocumentedSettings)
{
    const SettingsFile fullLog("[Log]\nlevel = trace\nfile = /dev/full\n");
    for (const QString& settings : {fullLog.path(), QString(SOURCE_FOLDER "/docs/till.ini")}) {
        const ProcessOutcome run = poshost({"--stand", "--config", settings, "verify"});
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_TRUE(run.output.contains("Кодов 11: прошли 8, отказано 3")) << run.output.toStdString();
        EXPECT_FALSE(run.errors.contains("poshost: ")) << run.errors.toStdString();
    }
}

}  // namespace
