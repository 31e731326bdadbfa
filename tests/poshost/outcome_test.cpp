#include <QJsonArray>

#include <gtest/gtest.h>

#include "tests/poshost/poshostrun.h"
#include "tests/support/printers.h"

namespace {

const QString milk = "0104607026010011215rhTuv\x1d"
                     "93VBOs";
const QString sold = "0104602114050023215Hlpa+Bq/Cefu\x1d"
                     "93Xxhu";

QStringList verifyAt(const SettingsFile& settings, const QStringList& arguments)
{
    return QStringList{"--config", settings.path(), "verify"} + arguments;
}

TEST(Outcome, ARefusalThatNobodyAskedForIsNoSuccess)
{
    const MarkSim stand;
    stand.behave("sites", R"({"method": "check", "status": 200, "body": {"code": 0, "description": "ok",
        "codes": [{"cis": "A", "valid": true, "verified": true, "found": true, "utilised": true, "isOwner": true,
                   "realizable": true, "isTracking": true},
                  {"cis": "B", "valid": true, "isBlocked": true, "found": true, "realizable": true}]}})");
    const SettingsFile settings(settingsFor(stand).replace("enable = true", "enable = false"));
    const ProcessOutcome run = poshost(verifyAt(settings, {"--json", "A"}));
    const QJsonObject report = onlyObject(run.output);
    EXPECT_EQ(report["passedCodes"], QJsonArray{"A"}) << run.output.data();
    EXPECT_EQ(report["success"], false);
    EXPECT_EQ(run.exitStatus, 1);
}

TEST(Outcome, ARefundForgivesWhatWasSoldAndNothingElse)
{
    const MarkSim stand;
    const SettingsFile settings(settingsFor(stand));
    const QString blocked = "010290000047504521RWlBaT+F6E9CP\x1d"
                            "91EE34\x1d"
                            "92YBy9Lmr4PaWbP3gvY1pIXoQOrgRb5vPG5c6qSYhzYTF=";
    for (const auto& [codes, status] :
         {std::pair(QStringList{milk, sold}, 0), {QStringList{sold, blocked}, 1}}) {
        const ProcessOutcome run = poshost(verifyAt(settings, QStringList{"--json", "--refund"} + codes));
        const QJsonObject report = onlyObject(run.output);
        EXPECT_EQ(run.exitStatus, status);
        EXPECT_EQ(report["success"], status == 0);
        EXPECT_TRUE(report["passedCodes"].toArray().contains(sold));
    }
    EXPECT_EQ(poshost(verifyAt(settings, {sold})).exitStatus, 1);
    EXPECT_TRUE(poshost(verifyAt(settings, {"--refund", sold})).output.contains("товар был продан"));
}

struct WithoutVerdict
{
    const char* behaviour;
    int exitStatus;
    const char* text;
    const char* banner;
};

/// No module is configured. A cashier's till ends with the same status.
TEST(Outcome, AGoodWithoutAVerdictIsNotOneThatPassed)
{
    const WithoutVerdict cases[] = {
        {R"({"method": "check", "status": 203})", 5, "! БЕЗ ПРОВЕРКИ  RU-1\n\n",
         "  ! БЕЗ ПРОВЕРКИ: продажа разрешена\n"},
        {R"({"method": "check", "status": 401})", 1, "✗ ОТКАЗ   RU-1  ключ не принят;", "  ключ не принят: "},
        {R"({"connect": "refuse"})", 1, "ни одна площадка не доступна", "  нет связи с сервером проверки"},
    };
    for (const auto& [behaviour, exitStatus, text, banner] : cases) {
        const MarkSim stand;
        stand.behave("sites", behaviour);
        const SettingsFile settings(settingsFor(stand).replace("enable = true", "enable = false"));
        const ProcessOutcome table = poshost(verifyAt(settings, {"RU-1"}));
        EXPECT_EQ(table.exitStatus, exitStatus) << behaviour;
        EXPECT_TRUE(table.output.contains(text)) << table.output.data();
        const QJsonObject report = onlyObject(poshost(verifyAt(settings, {"--json", "RU-1"})).output);
        EXPECT_TRUE(report.contains("source"));
        EXPECT_EQ(report["source"].isNull(), report["errorKind"] != 0) << behaviour;
        const ProcessOutcome cashier = poshost({"--config", settings.path(), "cashier"}, "RU-1\n");
        EXPECT_EQ(cashier.exitStatus, exitStatus);
        EXPECT_TRUE(cashier.output.contains(banner)) << cashier.output.data();
    }
}

TEST(Outcome, NothingFromOutsideSteersTheTerminalOrShowsAPassword)
{
    const MarkSim stand;
    const QByteArray site = stand.url("site-1").toUtf8().replace("http://", "http://me:p%E2%80%AEw-of-site@");
    stand.behave("operator-1", R"({"method": "info", "status": 200, "body": {"code": 0, "description": "ok",
        "hosts": [{"host": ")" + site +
                                   R"("}, {"host": "http://a\u001b[2J\n\u009b\u202e.example"}]}})");
    stand.behave("sites", R"({"method": "check", "status": 200, "body": {"code": 0, "description": "ok",
        "codes": [{"cis": "A", "valid": true, "found": true, "message": "\u001b[2J\n\u009b31m\u202e."}]}})");
    const SettingsFile settings(settingsFor(stand) + "[Log]\nlevel = off\n");
    for (const QStringList& form :
         {QStringList{"A"}, {"--json", "A"}, {"--explain", "A"}, {"--explain", "--json", "A"}}) {
        const ProcessOutcome run = poshost(verifyAt(settings, form));
        const QString all = QString::fromUtf8(run.output + run.errors);
        EXPECT_TRUE(all.contains("\\u202e.")) << all.toStdString();
        EXPECT_TRUE(all.contains("***@127.0.0.1") || form.contains("--explain")) << all.toStdString();
        for (const QString& bad :
             {QString("\x1b"), QString(QChar(0x9b)), QString(QChar(0x202e)), QString("of-site")}) {
            EXPECT_FALSE(all.contains(bad)) << all.toStdString();
        }
    }
}

}  // namespace
