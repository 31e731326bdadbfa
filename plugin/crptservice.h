#pragma once

#include <atomic>
#include <chrono>
#include <mutex>

#include <QList>
#include <QMetaObject>
#include <QSharedPointer>
#include <QThread>
#include <QtPlugin>

#include "result/checkmarkingcodesresult.h"
#include <orvex/baseactivitylistener.h>
#include <orvex/basicplugin.h>
#include <orvex/task.h>
#include <utils/export.h>
#include <utils/formock.h>

class CrptClient;
class LmchzClient;
namespace control::args::marking {
class Verify;
}
namespace Log4Qt {
class Logger;
}

/// The plug-in: the marking operator's verification service for the host.
///
/// It answers two kinds of actions (marking verification, connection check), takes its connection settings
/// from the init event and has the online client refresh its site list after event 172. It wires; the clients
/// decide.
///
/// Threads: init(), deinit(), construction and destruction in the host's main thread; triggers and events in
/// any, also in several at once. The online client runs in `thread`. Destruction waits for that thread
/// without a limit, so for a site-list update that is under way.
class ORVEX_EXPORT CrptService : public BaseActivityListener, public BasicPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "CrptService" FILE "crptservice.json")
    Q_INTERFACES(BaseActivityListener BasicPlugin)

public:
    CrptService();
    /// Without an online client, for a test to fill in.
    explicit CrptService(utils::ForMock);
    ~CrptService() override;

    /// Takes the connection settings from the init event of this service.
    void handleEvent(const Event& event) override;

    /// False, with a warning in the log, when no marking section of the configuration uses the service
    /// "crpt". A second call without deinit() reads the settings of the local modules again and registers
    /// nothing twice.
    bool init() override;
    void deinit() override;

    /// Trigger of the marking verification action: checks its codes and writes the result into it. Blocks
    /// until there is one. Done, or NotServed when the action is for another service.
    virtual EContext::Result checkMarkingCodes(const control::Action& action);
    /// Trigger of the connection check action: adds a task that pings the operator's hosts ("pingTask").
    /// Extended, or Done when the action is addressed to another plug-in.
    virtual EContext::Result beforeCheckConnection(const control::Action& action) const;
    /// The task: is any operator host reachable? Gives a PingTaskResult.
    [[nodiscard]] virtual QSharedPointer<TaskResult> pingCrptServers() const;

protected:
    /// Whether the online result left the codes without a verdict and the local module of `apiKey` can give
    /// one.
    [[nodiscard]] bool offlineCheckRequired(const CheckMarkingCodesResult& result,
                                            const QString& apiKey) const;
    /// Checks the codes at the local module. Only after offlineCheckRequired() has said so for the same
    /// result.
    [[nodiscard]] CheckMarkingCodesResult offlineCheck(const CheckMarkingCodesResult& result,
                                                       const QList<MarkingCode>& codes,
                                                       const QString& apiKey) const;

    QSharedPointer<CrptClient> crptClient;
    QSharedPointer<LmchzClient> lmchzClient;  // null while no local module is enabled; see localModule()
    QThread* thread;                          // child of this object
    Log4Qt::Logger* logger;
    QList<QMetaObject::Connection> connections;  // of the log lines about the thread
    /// A destruction that waits for the thread for longer says so in the log.
    std::chrono::milliseconds remindAfter = std::chrono::seconds(5);

private:
    [[nodiscard]] bool isServiceUsed() const;
    void addTriggers();
    void startThread();
    void createLocalModuleClient();
    void listen();
    void queueUpdate();
    [[nodiscard]] CheckMarkingCodesResult checkOnline(const control::args::marking::Verify& arguments) const;
    void logEnd(const CheckMarkingCodesResult& online, const control::args::marking::Verify& arguments) const;
    [[nodiscard]] CheckMarkingCodesResult withFallback(const CheckMarkingCodesResult& online,
                                                       const control::args::marking::Verify& arguments) const;
    [[nodiscard]] QSharedPointer<LmchzClient> localModule() const;

    // Guards the lmchzClient pointer: init() sets it while triggers may run already. May be taken in a turn
    // of the module's client, and is held for moments only.
    mutable std::mutex lmchzMutex;
    bool isRegistered = false;                 // with the host, by init()
    std::atomic<bool> isUpdateQueued = false;  // in the client's thread: one that has not begun is enough
};
