#include "tests/poshost/poshostrun.h"

TEST(PingCommand, TellsWhetherSomeOperatorAnswers)
{
    const MarkSim stand({"--operators", "2"});
    stand.behave("operator-1", R"({"connect": "refuse"})");
    stand.behave("operator-2", R"({"method": "health", "status": 200, "body": {"code": 0}})");
    const SettingsFile settings(settingsFor(stand));
    const QStringList ping = {"--config", settings.path(), "ping"};

    const ProcessOutcome up = poshost(ping);
    EXPECT_EQ(up.exitStatus, 0) << up.errors.toStdString();
    EXPECT_EQ(up.output, "сервер доступен - true\n");

    stand.behave("operator-2", R"({"connect": "refuse"})");
    const ProcessOutcome down = poshost(ping + QStringList{"--json"});
    EXPECT_EQ(down.exitStatus, 1);
    QJsonObject report = onlyObject(down.output);
    EXPECT_TRUE(report.take("elapsedMs").isDouble());
    EXPECT_EQ(report,
              (QJsonObject{{"triggerResult", 1}, {"available", false}, {"text", "сервер доступен - false"}}));
}

TEST(EventCommand, ShowsWhatThePluginDoes)
{
    MarkSim stand({}, {{"servers", QJsonObject{{"module-1", QJsonObject{{"state", "not_configured"}}}}}});
    stand.behave("operator-1", R"({"method": "info", "status": 401})");
    stand.behave("module-1", R"({"method": "init", "status": 400, "body": {"errorCode": 7}})");
    const SettingsFile settings(settingsFor(stand));

    const ProcessOutcome run = poshost({"--config", settings.path(), "event", "96", "172", "10"});

    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(
        QString::fromUtf8(run.output),
        "событие 96\n"
        "  сообщение Lmchz (lmchzInitError7): Ошибка инициализации ЛМЧЗ\n"
        "событие 172\n"
        "  сообщение Crpt снято\n"
        "  сообщение Crpt (crptIncorrectTokenErrorNotification): Честный знак: ошибка токена. Чеки будут "
        "сформированы некорректно\n"
        "событие 10\n");
    EXPECT_TRUE(run.errors.contains("Инициализация ЛМЧЗ")) << run.errors.toStdString();
    EXPECT_EQ(stand.requests("module-1", "init").size(), 1);
}
