#include "tests/e2e/till.h"

#include <array>
#include <stdexcept>

#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include <config/config.h>
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/basicplugin.h>
#include <orvex/eactivitylistener.h>
#include <orvex/events.h>

namespace {

QString copied(const QString& text)
{
    return QString(text.constData(), text.size());
}

QString lineOf(const Log4Qt::LogRecord& record)
{
    static const std::array<QString, 6> names = {"trace", "debug", "info", "warn", "error", "fatal"};
    return names.at(static_cast<size_t>(record.level)) + u' ' + record.text;
}

}  // namespace

Till::Till(const MarkSim& stand, const QStringList& settings)
    : m_stand(stand)
    , m_loader(QStringLiteral(PLUGIN_PATH))
{
    auto* config = Singleton<Config>::instance();
    config->clear();
    config->setValue("MarkedGoods:markverifycrptservice", "crpt");
    if (const QString caFile = stand.ready()["caFile"].toString(); !caFile.isEmpty()) {
        config->setValue("Network:caFile", caFile);
    }
    for (const QString& setting : settings) {
        config->setValue(setting.section('=', 0, 0), setting.section('=', 1));
    }
    Log4Qt::LogSettings logSettings;
    logSettings.level = Log4Qt::Level::Debug;
    logSettings.file = qEnvironmentVariable("TEST_LOG", "/dev/null");
    Log4Qt::LogManager::configure(logSettings);
    Log4Qt::LogManager::setWatcher([this](const Log4Qt::LogRecord& record) {
        const std::lock_guard lock(m_mutex);
        m_log << lineOf(record);
    });
    Singleton<ActivityNotifier>::instance()->addListener(this, {EActivityListener::ErrorNotification});

    QString error;
    if (!m_loader.load("CrptService", &error)) {
        throw std::runtime_error(error.toStdString());
    }
    m_working = m_loader.plugin()->init();
}

Till::~Till()
{
    m_loader.plugin()->deinit();
    m_loader.unload();
    stopListening();
    Log4Qt::LogManager::setWatcher({});
}

void Till::connectOperator()
{
    connectOperator(m_stand.operatorUrls(), {m_stand.key()});
}

void Till::connectOperator(const QStringList& hosts, const QStringList& keys)
{
    const events::marking::InitVerifyService settings{Event(EActivityListener::InitVerifyService)};
    settings.setService("crpt");
    settings.setSection("MarkedGoods");
    settings.setHosts(hosts);
    settings.setKeys(keys);
    Singleton<ActivityNotifier>::instance()->sendEvent(settings.event());
}

void Till::sendEvent(int code)
{
    Singleton<ActivityNotifier>::instance()->sendEvent(Event(code));
}

CheckMarkingCodesResult Till::verify(const QList<MarkingCode>& codes, std::chrono::seconds operationTimeout,
                                     std::chrono::seconds requestTimeout)
{
    const control::Action action(control::EActionType::VerifyMarking);
    const control::args::marking::Verify arguments(action, "crpt");
    arguments.setMarkingCodes(codes);
    arguments.setApiKey(m_stand.key());
    arguments.setOperationTimeout(operationTimeout);
    arguments.setRequestTimeout(requestTimeout);
    if (Singleton<ActionDispatcher>::instance()->perform(action) != QList{EContext::Done}) {
        throw std::runtime_error("the action was not taken");
    }
    return arguments.verifyResult();
}

void Till::handleEvent(const Event& event)
{
    const events::ErrorNotification notification(event);
    const std::lock_guard lock(m_mutex);
    // Copies of the characters: the plug-in's texts go with its library.
    m_notices << Notice{copied(notification.id()), copied(notification.notification().id())};
}

QList<Till::Notice> Till::notices() const
{
    const std::lock_guard lock(m_mutex);
    return m_notices;
}

QStringList Till::log() const
{
    const std::lock_guard lock(m_mutex);
    return m_log;
}

QStringList texts(const QList<MarkingCode>& codes)
{
    QStringList result;
    for (const MarkingCode& code : codes) {
        result << code.toString();
    }
    return result;
}
