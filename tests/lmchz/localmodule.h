#pragma once

#include <future>
#include <optional>

#include "lmchz/lmchzclient.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/scriptedclient.h"
#include "tests/doubles/settings.h"
#include <orvex/activitynotifier.h>
#include <orvex/eactivitylistener.h>
#include <orvex/events.h>

/// A client of the modules "key" at m/p and "key-2" at m2, called as its owner calls it.
class LocalModule : public testing::Test
{
protected:
    void answer(const char* method, ScriptedClient::Answer answer)
    {
        http.script(QStringLiteral("m/p/api/v2/") + method, {std::move(answer)});
    }
    void answer(const char* method, const http::Response& response)
    {
        answer(method, [response](const SentRequest&) { return response; });
    }
    static void sendEvent96()
    {
        Singleton<ActivityNotifier>::instance()->sendEvent(Event(EActivityListener::LocalModulesSetUp));
    }

    /// What was posted since the last call, as "<host>: <method><body>".
    QStringList orders()
    {
        QStringList orders;
        for (const SentRequest& sent : http.take()) {
            if (sent.method == "POST") {
                orders << sent.url.host() + ": " + sent.url.path().section('/', -1) + QString(sent.body);
            }
        }
        return orders;
    }

    /// What the cashier was shown since the last call, as "<id>|<text id>|<text>"; in front of it "locked "
    /// if no other thread could have begun an exchange meanwhile.
    QStringList shown() { return std::exchange(notices, {}); }

    Settings settings{{"LMCHZ:enable", "true"},       {"LMCHZ:token", "key"},
                      {"LMCHZ:url", "http://m/p"},    {"LMCHZ:user", "user"},
                      {"LMCHZ:password", "password"}, {"LMCHZ:timeout", "2"},
                      {"LMCHZ 2:enable", "true"},     {"LMCHZ 2:token", "key-2"},
                      {"LMCHZ 2:url", "http://m2"},   {"LMCHZ 3:token", "off"}};
    ScriptedClient http;
    LogWatch log;
    QStringList notices;
    std::optional<LmchzClient> client{std::in_place};
    const ActivityNotifier::Registration cashier = Singleton<ActivityNotifier>::instance()->addTriggerBefore(
        EActivityListener::ErrorNotification, [this](const Event& event) {
            const bool isFree = std::async(std::launch::async, [this] {
                                    return client->takeTurn(std::chrono::seconds(0)).owns_lock();
                                }).get();
            const events::ErrorNotification notice(event);
            const tr::Tr text = notice.notification();
            notices << QString(isFree ? "" : "locked ") +
                           QStringList{notice.id(), text.id(), text.ru()}.join('|');
        });
};
