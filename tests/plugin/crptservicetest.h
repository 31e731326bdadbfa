#pragma once

#include <atomic>
#include <functional>

#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include "crpt/crptclient.h"
#include "lmchz/lmchzclient.h"
#include "plugin/crptservice.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/scriptedclient.h"
#include "tests/doubles/settings.h"
#include "tests/doubles/stoppedanswer.h"
#include <orvex/actiondispatcher.h>

/// Keeps what the plug-in asks of it.
class ClientDouble : public CrptClient
{
public:
    CheckMarkingCodesResult checkMarkingCodes(const QString& apiKey, const QList<MarkingCode>& codes,
                                              std::chrono::milliseconds operation,
                                              std::chrono::milliseconds attempt) override
    {
        checks.append(apiKey + ' ' + QString::number(codes.size()));
        limits = {operation, attempt};
        if (onCheck) {
            onCheck();
        }
        CheckMarkingCodesResult result;
        result.setErrorKind(kind);
        result.passedCodes = codes;
        result.failedCodes = failed;
        return result;
    }
    void addHost(const QUrl& url, const QString& owner) override
    {
        registered.append(url.toString() + ' ' + owner);
    }
    void addKey(const QString& key, const QString& owner) override { registered.append(key + ' ' + owner); }
    QList<QUrl> getHosts(CdnMethod method) const override
    {
        return method == CdnMethod::HealthCheck ? hosts : QList<QUrl>();
    }
    UpdateInfoStatus updateInfo() override
    {
        updatedIn = QThread::currentThread();
        ++updates;
        return UpdateInfoStatus::Finished;
    }

    Moment stopped, proceed;
    QStringList checks, registered;
    QMap<MarkingCode, CheckMarkingCodesResult::CodeStatus> failed;  ///< what every check refuses
    std::pair<std::chrono::milliseconds, std::chrono::milliseconds> limits;
    std::function<void()> onCheck;
    QList<QUrl> hosts;
    http::ErrorKind kind = http::ErrorKind::None;
    std::atomic<int> updates = 0;
    std::atomic<QThread*> updatedIn = nullptr;
};

/// A local module with a status of its own, which passes the codes of the check that it is asked for.
class ModuleDouble : public LmchzClient
{
public:
    int getStatus(const QString& token) override
    {
        asked.append("status " + token);
        return status;
    }
    CheckMarkingCodesResult checkMarkingCodes(const CheckMarkingCodesResult& online,
                                              const QList<MarkingCode>& codes, const QString& token) override
    {
        asked.append(QString("check %1 %2 %3").arg(token).arg(codes.size()).arg(int(online.errorKind())));
        if (onCheck) {
            onCheck();
        }
        CheckMarkingCodesResult result;
        result.passedCodes = {MarkingCode("by the module")};
        return result;
    }
    int status = int(LmchzStatus::Ready);
    QStringList asked;
    std::function<void()> onCheck;
};

/// The plug-in with an online client that keeps what it is asked for.
class Service : public CrptService
{
public:
    Service()
        : CrptService(utils::ForMock())
    {
        crptClient = QSharedPointer<ClientDouble>::create();
        crptClient->moveToThread(thread);
    }
    ClientDouble& client() { return static_cast<ClientDouble&>(*crptClient); }
    /// Has the client's thread stop when it comes to this, until the client may proceed.
    void queueHold()
    {
        QMetaObject::invokeMethod(&client(), [&held = client()] {
            held.stopped.announce();
            EXPECT_TRUE(held.proceed.comes());
        });
    }
    /// Waits for what is queued in the client's thread.
    void drainThread()
    {
        QMetaObject::invokeMethod(
            &client(), [] {}, Qt::BlockingQueuedConnection);
    }
    using CrptService::crptClient;
    using CrptService::lmchzClient;
    using CrptService::offlineCheckRequired;
    using CrptService::remindAfter;
    using CrptService::thread;
};

inline QList<EContext::Result> perform(const control::Action& action)
{
    return Singleton<ActionDispatcher>::instance()->perform(action);
}

inline void send(const Event& event)
{
    Singleton<ActivityNotifier>::instance()->sendEvent(event);
}

/// The init event of a service.
inline Event initEvent(const QString& service, int code = 256)
{
    const events::marking::InitVerifyService settings{Event(code)};
    settings.setService(service);
    settings.setSection("Motp");
    settings.setHosts({"op1.example", "https://op2.example/x"});
    settings.setKeys({"key-1", "key-2"});
    return settings.event();
}

/// What every test of the plug-in stands on: one marking section, a scripted network, the log.
class PluginTest : public testing::Test
{
protected:
    Settings settings{{"MarkedGoods:id", "1"}};
    ScriptedClient http;
    LogWatch log;
};

/// An initialised plug-in.
class PluginEvent : public PluginTest
{
protected:
    PluginEvent() { service.init(); }

    Service service;
};

/// An action that asks the plug-in to check two codes.
class Verification : public PluginEvent
{
protected:
    Verification()
    {
        arguments.setMarkingCodes({MarkingCode("A"), MarkingCode("B")});
        arguments.setApiKey("Key");
    }

    const control::Action action{control::EActionType(253)};
    const control::args::marking::Verify arguments{action, ""};
};
