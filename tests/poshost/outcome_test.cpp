#include "tests/poshost/poshostrun.h"

namespace {

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

/// In the table and on the banner; a cashier's till ends with the same status.
TEST(Outcome, AGoodWithoutAVerdictIsNotOneThatPassed)
{
    const std::tuple<const char*, int, const char*, const char*> cases[] = {
        {"emergency-alone", 5, "! БЕЗ ПРОВЕРКИ  RU-1\n\n", "  ! БЕЗ ПРОВЕРКИ: продажа разрешена\n"},
        {"bad-token", 1, "✗ ОТКАЗ   RU-1  ", "  ключ не принят: сообщите администратору\n"},
        {"bad-token", 1, "ключ не принят", "! СООБЩЕНИЕ КАССИРУ\n"},
        {"blackout-alone", 1, "ни одна площадка не доступна",
         "  нет связи с сервером проверки: повторите позже\n"},
        {"blackout", 0, "Источник: локальный модуль", "  проверено локальным модулем\n"}};
    for (const auto& [scenario, exitStatus, text, banner] : cases) {
        for (const auto& [output, run] :
             {std::pair(text, poshost({"--scenario", scenario, "verify", "RU-1"})),
              {banner, poshost({"--scenario", scenario, "cashier"}, "RU-1\n")}}) {
            EXPECT_EQ(run.exitStatus, exitStatus) << scenario;
            EXPECT_TRUE(run.output.contains(output)) << scenario << run.output.data();
        }
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
