#include "tests/plugin/crptservicetest.h"
#include <log4qt/logmanager.h>
#include <orvex/args.h>

using control::Action;
using control::EActionType;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using ConnectionCheck = PluginEvent;

TEST_F(ConnectionCheck, IsAnsweredWithATaskWhenItIsForThisPlugin)
{
    const std::pair<const char*, bool> cases[] = {
        {"crpt", true},   {"CRPT", true}, {"CrptService", true}, {"crptservice", true},
        {"lmchz", false}, {"", false},    {"crpt2", false}};
    for (const auto& [name, addressed] : cases) {
        const Action action(EActionType(223));
        control::args::Plugin(action).setPluginName(name);
        EXPECT_THAT(perform(action), ElementsAre(addressed ? 1 : 2)) << name;
        EXPECT_EQ(action.contains("pingTask"), addressed);
    }
    EXPECT_THAT(perform(Action(EActionType(223))), ElementsAre(2));
}

TEST_F(ConnectionCheck, PingsTheHostsUntilOneAnswers)
{
    struct Case
    {
        QList<http::Response> replies;  // of the hosts in their order
        size_t asked;
        const char* text;
    };
    const Case cases[] = {{{}, 0, "сервер доступен - false"},
                          {{reply(200), reply(200)}, 1, "сервер доступен - true"},
                          {{cutOff(), reply(200, {{"code", 5}}), reply(200)}, 2, "сервер доступен - true"},
                          {{cutOff(), timedOut(), reply(500), reply(404)}, 4, "сервер доступен - false"}};
    for (const Case& c : cases) {
        service.client().hosts.clear();
        for (const http::Response& response : c.replies) {
            const QString host = "op" + QString::number(service.client().hosts.size());
            service.client().hosts.append(QUrl("https://" + host + "/health"));
            http.script(host + "/health", {[response](const SentRequest&) { return response; }});
        }
        const Action action(EActionType::CheckConnection);
        control::args::Plugin(action).setPluginName("crpt");
        perform(action);
        const auto task = action.value("pingTask").value<QSharedPointer<BasicTask>>();
        ASSERT_NE(task, nullptr);
        EXPECT_EQ(task->run()->toString(), c.text);
        EXPECT_THAT(log.takeNamed(),
                    ElementsAre("taskmanager.crptping: info Проверка актуального состояния серверов ЦРПТ"));
        const auto sent = http.take();
        EXPECT_EQ(sent.size(), c.asked);
        for (const SentRequest& request : sent) {
            EXPECT_EQ(request.method, "GET");
            EXPECT_EQ(request.timeout, seconds(10));
            EXPECT_EQ(request.logger->name(), "taskmanager.crptping");
            EXPECT_THAT(request.headers, IsEmpty());
        }
    }
}

}  // namespace
