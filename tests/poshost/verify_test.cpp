#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>

#include <gtest/gtest.h>

#include "tests/poshost/poshostrun.h"
#include "tests/support/printers.h"

namespace {

QStringList namesOf(const QJsonValue& array)
{
    QStringList names;
    for (const QJsonValue name : array.toArray()) {
        names << name.toString();
    }
    return names;
}

/// Flags of every refused code, "passed" for the others.
QMap<QString, QString> verdicts(const QJsonObject& report)
{
    QMap<QString, QString> result;
    for (const QString& code : namesOf(report["passedCodes"])) {
        result[code] = "passed";
    }
    for (const QJsonValue failed : report["failedCodes"].toArray()) {
        result[failed["code"].toString()] = namesOf(failed["status"]).join('|');
    }
    return result;
}

QJsonObject entryOf(const QJsonObject& report, const char* array, const QString& code)
{
    for (const QJsonValue entry : report[QLatin1String(array)].toArray()) {
        if (entry["code"].toString() == code) {
            return entry.toObject();
        }
    }
    ADD_FAILURE() << array << " says nothing of " << code.toStdString();
    return {};
}

QString header(const QJsonObject& request, const QString& name)
{
    for (const QJsonValue pair : request["headers"].toArray()) {
        if (pair[0].toString() == name) {
            return pair[1].toString();
        }
    }
    return {};
}

const QString milk = "0104607026010011215rhTuv\x1d"
                     "93VBOs";
const QString oldKefir = "0104607026010028215mPG0t\x1d"
                         "93vTrm";
const QString soldWater = "0104602114050023215Hlpa+Bq/Cefu\x1d"
                          "93Xxhu";
const QString tobaccoPack = "04606200810010%A4cGofAkCp753I";
const QString cheese = "0104607026010042215m1za7\x1d"
                       "93nruq\x1d"
                       "3103001250";

TEST(Verify, SampleBasketOfAStandOfItsOwnGetsAVerdictForEveryCode)
{
    const ProcessOutcome run = poshost({"--stand", "verify", "--json"});

    ASSERT_TRUE(run.ended);
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(run.children.isEmpty()) << run.children.join('\n').toStdString();
    const QMap<QString, QString> expected = {
        {milk, "passed"},
        {oldKefir, "Expired"},
        {"0104602114050016215wDq+zuM14qHO\x1d"
         "93kmLr",
         "passed"},
        {soldWater, "Sold"},
        {"010290000047501421?G5qJwv1MkAuY\x1d"
         "91EE23\x1d"
         "92pS0Jso2jKF08mmf1ULmmcW3xvY27DfANuRose62CHN4=",
         "passed"},
        {tobaccoPack, "passed"},
        {"010460620081002721LNY2PG.\x1d"
         "8005219000\x1d"
         "93audf",
         "passed"},
        {"010290000047504521RWlBaT+F6E9CP\x1d"
         "91EE34\x1d"
         "92YBy9Lmr4PaWbP3gvY1pIXoQOrgRb5vPG5c6qSYhzYTF=",
         "Blocked"},
        {"010460300712001421IvEzwj9qYUC.&\x1d"
         "91EE56\x1d"
         "929aVmP2GuaEsSuFfGuL8Opk+hjn45p/ed75CnrQSkZ5B=",
         "passed"},
        {"RU-401301-AAA0277031", "passed"},
        {cheese, "passed"},
    };
    EXPECT_EQ(verdicts(onlyObject(run.output)), expected);
}

TEST(Verify, WithoutSettingsItSaysThatItUsesTheStand)
{
    const ProcessOutcome run = poshost({"verify", milk});

    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_TRUE(run.errors.contains("no settings found, starting the test stand"))
        << run.errors.toStdString();
    EXPECT_TRUE(run.output.contains("✓ прошёл")) << run.output.toStdString();
}

TEST(Verify, JsonHasExactlyTheNamedMembers)
{
    const MarkSim stand;
    const SettingsFile settings(stand);
    const ProcessOutcome run =
        poshost({"--config", settings.path(), "verify", "--json", milk, soldWater, cheese, tobaccoPack});
    const QJsonObject report = onlyObject(run.output);

    EXPECT_EQ(report.keys(),
              (QStringList{"elapsedMs", "errorKind", "errorText", "expireDates", "failedCodes", "httpStatus",
                           "mrps", "notifications", "passedCodes", "productWeights", "requestInfos", "source",
                           "success", "triggerResult", "url"}));
    EXPECT_EQ(report["triggerResult"], 2);
    EXPECT_EQ(report["source"], "online");
    EXPECT_EQ(report["success"], false);
    EXPECT_EQ(report["errorKind"], 0);
    EXPECT_EQ(report["httpStatus"], 200);
    EXPECT_TRUE(report["url"].toString().endsWith("/api/v4/true-api/codes/check"));
    EXPECT_EQ(namesOf(report["passedCodes"]), (QStringList{milk, cheese, tobaccoPack}));

    EXPECT_EQ(entryOf(report, "failedCodes", soldWater), (QJsonObject{{"code", soldWater},
                                                                      {"flags", 0x40},
                                                                      {"status", QJsonArray{"Sold"}},
                                                                      {"message", ""},
                                                                      {"ogvs", ""},
                                                                      {"errorCode", 0}}));
    EXPECT_EQ(entryOf(report, "requestInfos", milk).keys(),
              (QStringList{"code", "inst", "reqId", "reqTimestamp", "version"}));
    EXPECT_EQ(entryOf(report, "requestInfos", milk)["reqId"],
              entryOf(report, "requestInfos", soldWater)["reqId"]);
    EXPECT_TRUE(entryOf(report, "expireDates", milk)["date"].toString().contains('.'));
    EXPECT_EQ(entryOf(report, "productWeights", cheese)["weight"], 1250);
    EXPECT_EQ(entryOf(report, "mrps", tobaccoPack),
              (QJsonObject{{"code", tobaccoPack}, {"groupId", 3}, {"mrp", 21900}}));
    EXPECT_EQ(report["notifications"],
              (QJsonArray{QJsonObject{{"id", "Crpt"}, {"textId", ""}, {"text", ""}}}));
}

TEST(Verify, ArgumentsReachTheServiceAsGiven)
{
    const MarkSim stand;
    const SettingsFile settings(stand, "[Host]\napiKey = key-of-the-settings\n");
    const QStringList common = {"--config", settings.path(), "verify", "--json"};
    QFile sample(SOURCE_FOLDER "/samples/basket.txt");
    ASSERT_TRUE(sample.open(QIODevice::ReadOnly));

    // The key of the command line wins; codes of the command line come before those of the input.
    (void)poshost(common + QStringList{"--api-key", stand.key(), "--codes-file", "-",
                                       R"(0104607026010011215rhTuv\x1d93VBOs)"},
                  "0104607026010028215mPG0t<GS>93vTrm\n");
    // Without one, that of the settings is used.
    (void)poshost(common + QStringList{milk});

    const QList<QJsonObject> checks = stand.requests({}, "check");
    ASSERT_EQ(checks.size(), 2);
    EXPECT_EQ(QJsonDocument::fromJson(checks[0]["body"].toString().toUtf8())["codes"],
              (QJsonArray{milk, oldKefir}));
    EXPECT_EQ(header(checks[0], "X-API-KEY"), stand.key());
    EXPECT_EQ(header(checks[1], "X-API-KEY"), QString("key-of-the-settings"));
}

TEST(Verify, StatusIsThreeWhenNobodyServesTheAction)
{
    const SettingsFile idle("[MarkedGoods]\nmarkverifycrptservice = turon\n");
    const ProcessOutcome unused = poshost({"--config", idle.path(), "verify", "--json", milk});
    EXPECT_EQ(unused.exitStatus, 3);
    EXPECT_TRUE(unused.errors.contains("the plug-in is idle")) << unused.errors.toStdString();
    EXPECT_TRUE(onlyObject(unused.output)["triggerResult"].isNull());

    const ProcessOutcome other = poshost({"--stand", "verify", "--service", "TURON", "--json", milk});
    EXPECT_EQ(other.exitStatus, 3);
    EXPECT_TRUE(other.errors.contains("does not serve")) << other.errors.toStdString();
    const QJsonObject report = onlyObject(other.output);
    EXPECT_EQ(report["triggerResult"], 3);
    EXPECT_TRUE(report["source"].isNull());
    EXPECT_EQ(report["success"], false);
}

TEST(Verify, LogGoesToTheFileAndNeverToStandardOutput)
{
    const QTemporaryDir folder;
    const QString log = folder.filePath("till.log");
    const MarkSim stand;
    const SettingsFile settings(stand,
                                "[Log]\nlevel = error\nfile = " + log.toUtf8() + "\npattern = %n|%v\n");

    const ProcessOutcome run = poshost({"--config", settings.path(), "--log-level", "info", "verify", milk});

    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray lines = file.readAll();
    EXPECT_TRUE(lines.contains("crptclient|Проверка кодов маркировок: [")) << lines.toStdString();
    EXPECT_FALSE(lines.contains(stand.key().toUtf8()));
    EXPECT_FALSE(run.errors.contains("crptclient")) << run.errors.toStdString();
    EXPECT_FALSE(run.output.contains("Проверка кодов")) << run.output.toStdString();
}

TEST(Verify, DocumentedSettingsAreAccepted)
{
    const QString documented = SOURCE_FOLDER "/docs/till.ini";
    const ProcessOutcome run = poshost({"--stand", "--config", documented, "verify", milk});
    EXPECT_EQ(run.exitStatus, 0) << run.errors.toStdString();
    EXPECT_FALSE(run.errors.contains("poshost: ")) << run.errors.toStdString();
}

}  // namespace
