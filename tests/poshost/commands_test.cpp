#include <QJsonArray>

#include <gtest/gtest.h>

#include "tests/poshost/poshostrun.h"
#include "tests/support/printers.h"

namespace {

const QJsonObject healthy = {{"method", "health"}, {"status", 200}, {"body", QJsonObject{{"code", 0}}}};

}  // namespace

TEST(PingCommand, TellsWhetherSomeOperatorAnswers)
{
    const MarkSim stand({"--operators", "2"});
    stand.behave("operator-1", QJsonObject{{"connect", "refuse"}});
    stand.behave("operator-2", healthy);
    const SettingsFile settings(stand);
    const QStringList ping = {"--config", settings.path(), "ping"};

    const ProcessOutcome up = poshost(ping);
    EXPECT_EQ(up.exitStatus, 0) << up.errors.toStdString();
    EXPECT_EQ(up.output, "сервер доступен - true\n");

    stand.behave("operator-2", QJsonObject{{"connect", "refuse"}});
    const ProcessOutcome down = poshost(ping + QStringList{"--json"});
    EXPECT_EQ(down.exitStatus, 1);
    QJsonObject report = onlyObject(down.output);
    EXPECT_TRUE(report.take("elapsedMs").isDouble());
    EXPECT_EQ(report,
              (QJsonObject{{"triggerResult", 1}, {"available", false}, {"text", "сервер доступен - false"}}));
}

TEST(PingCommand, StatusIsThreeWhenThePluginIsIdle)
{
    const SettingsFile idle("[Moot]\nmarkverifycrptservice = esm\n");
    const ProcessOutcome run = poshost({"--config", idle.path(), "ping", "--json"});
    EXPECT_EQ(run.exitStatus, 3);
    EXPECT_TRUE(onlyObject(run.output)["triggerResult"].isNull());
}

TEST(EventCommand, ShowsWhatThePluginDoes)
{
    MarkSim stand({}, {{"servers", QJsonObject{{"module-1", QJsonObject{{"state", "not_configured"}}}}}});
    stand.behave("operator-1", QJsonObject{{"method", "info"}, {"status", 401}});
    stand.behave("module-1",
                 QJsonObject{{"method", "init"}, {"status", 400}, {"body", QJsonObject{{"errorCode", 7}}}});
    const SettingsFile settings(stand);

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
    EXPECT_FALSE(
        run.errors.contains("Authorization: Basic " + stand.module()["password"].toString().toUtf8()));
    EXPECT_EQ(stand.requests("module-1", "init").size(), 1);
}
