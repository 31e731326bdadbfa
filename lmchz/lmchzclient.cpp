#include "lmchz/lmchzclient.h"

#include <array>

#include <QJsonDocument>
#include <QJsonObject>

#include "lmchz/messages.h"
#include <config/config.h>
#include <log4qt/logmanager.h>
#include <orvex/eactivitylistener.h>
#include <orvex/events.h>

namespace {

/// By LmchzClient::Method.
constexpr std::array methodPaths = {
    QLatin1String("/api/v2/init"),
    QLatin1String("/api/v2/status"),
    QLatin1String("/api/v2/cis/outCheck"),
    QLatin1String("/api/v2/greyList"),
};

constexpr auto errorCodeKey = QLatin1String("errorCode");
const auto tokenKey = QStringLiteral("token");
const auto enableGreyListKey = QStringLiteral("enableGreyList");

LmchzStatus statusFromText(const QString& text)
{
    static const QHash<QString, LmchzStatus> statuses = {
        {QStringLiteral("ready"), LmchzStatus::Ready},
        {QStringLiteral("not_configured"), LmchzStatus::NotConfigured},
        {QStringLiteral("initialization"), LmchzStatus::Initialization},
        {QStringLiteral("sync_error"), LmchzStatus::SyncError},
    };
    return statuses.value(text, LmchzStatus::Unknown);
}

/// `id` with the module's error code behind it, when the reply gives one.
QString withErrorCode(const QString& id, const http::Response& reply)
{
    const QJsonObject object = reply.responseObject();
    return object.contains(errorCodeKey) ? id + QString::number(object.value(errorCodeKey).toInt()) : id;
}

}  // namespace

LmchzClient::LmchzClient()
    : logger(Log4Qt::LogManager::logger(QStringLiteral("lmchz"), QString()))
{
    bool anyMaintained = false;
    const QStringList sections = Singleton<Config>::instance()->sections(QStringLiteral("LMCHZ*"));
    for (const QString& section : sections) {
        anyMaintained |= readSection(section);
    }
    if (anyMaintained) {
        trigger = Singleton<ActivityNotifier>::instance()->addTriggerBefore(
            EActivityListener::LocalModulesSetUp, [this](const Event& event) { init(event); });
    }
}

bool LmchzClient::readSection(const QString& section)
{
    const auto* config = Singleton<Config>::instance();
    const auto key = [&](const char* name) { return section + u':' + QLatin1String(name); };

    const QString token = config->getString(key("token"));
    if (!config->getBool(key("enable"), false) || token.isEmpty()) {
        return false;
    }
    Module& module = settings[token];
    module.url = config->getString(key("url"), QStringLiteral("http://127.0.0.1:5995"));
    module.user = config->getString(key("user"));
    module.password = config->getString(key("password"));
    module.timeout = config->getInt(key("timeout"), 5);
    module.maintain = config->getBool(key("maintain"), false);
    if (config->contains(key("enableGreyList"))) {
        module.enableGreyList = config->getBool(key("enableGreyList"), false);
    }
    return module.maintain;
}

std::unique_lock<FairMutex> LmchzClient::takeTurn(std::chrono::nanoseconds limit)
{
    return std::unique_lock(exchangeMutex, limit);
}

void LmchzClient::init(const Event& /*event*/)
{
    for (auto module = settings.cbegin(); module != settings.cend(); ++module) {
        if (module->maintain) {
            maintainModule(module.key(), *module);
        }
    }
}

void LmchzClient::maintainModule(const QString& token, const Module& module)
{
    const std::lock_guard lock(exchangeMutex);
    const auto status = static_cast<LmchzStatus>(getStatus(token));
    if (status == LmchzStatus::NotConfigured) {
        initModule(token, module);
    } else if (status == LmchzStatus::Ready && module.enableGreyList) {
        toggleGreyListByToken(token, *module.enableGreyList);
    }
}

void LmchzClient::initModule(const QString& token, const Module& module)
{
    logger->debug(lmchz::messages::initBegins);
    QJsonObject body = {{tokenKey, token}};
    if (module.enableGreyList) {
        body.insert(enableGreyListKey, *module.enableGreyList);
    }
    const http::Response reply = post(Init, body);
    if (!isAnswered(reply)) {
        sendErrorNotification(tr::Tr(withErrorCode(QStringLiteral("lmchzInitError"), reply),
                                     QStringLiteral("Ошибка инициализации ЛМЧЗ")));
    }
}

int LmchzClient::getStatus(const QString& token)
{
    const std::lock_guard lock(exchangeMutex);
    logger->info(lmchz::messages::statusAsked);
    if (!settings.contains(token)) {
        logger->error(lmchz::messages::tokenUnknown);
        return static_cast<int>(LmchzStatus::Unknown);
    }
    QString(token).swap(currentToken);  // the old text is let go here, where ThreadSanitizer sees it
    const http::Response reply = createClient()->get(getUrl(Status), QJsonDocument(), getHeaders());
    const QString text = reply.responseObject().value(QLatin1String("status")).toString();
    logger->debug(lmchz::messages::status, text);
    return static_cast<int>(statusFromText(text));
}

void LmchzClient::toggleGreyListByToken(const QString& token, bool enable)
{
    const std::lock_guard lock(exchangeMutex);
    logger->info(lmchz::messages::greyListSwitched,
                 enable ? QStringLiteral("Включение") : QStringLiteral("Выключение"));
    const http::Response reply = post(GreyList, {{tokenKey, token}, {enableGreyListKey, enable}});
    if (isAnswered(reply)) {
        return;
    }
    if (reply.networkError() == http::NetworkError::ProtocolInvalidOperation) {
        sendErrorNotification(tr::Tr(QStringLiteral("lmchzGreyListInvalidOperation"),
                                     QStringLiteral("Серые списки GTIN временно не поддерживаются")));
        return;
    }
    sendErrorNotification(tr::Tr(withErrorCode(QStringLiteral("lmchzGreyListError"), reply),
                                 QStringLiteral("Ошибка настройки серого списка GTIN")));
}

bool LmchzClient::isAnswered(const http::Response& reply)
{
    constexpr int httpOk = 200;
    const bool isComplete = !reply.isTimeout() && !reply.isNetworkError();
    return reply.status() == httpOk && (isComplete || !reply.responseObject().isEmpty());
}

http::Response LmchzClient::post(Method method, const QJsonObject& body) const
{
    return createClient()->post(getUrl(method), QJsonDocument(body), getHeaders());
}

QSharedPointer<RestClient> LmchzClient::createClient() const
{
    const std::lock_guard lock(exchangeMutex);
    auto client = MockFactory<RestClient>::create();
    client->setTimeout(currentModule().timeout);
    client->setTargetAlias(QStringLiteral("ЛМЧЗ"));
    client->setLogger(logger);
    return client;
}

QUrl LmchzClient::getUrl(LmchzClient::Method method) const
{
    const std::lock_guard lock(exchangeMutex);
    const auto index = static_cast<size_t>(method);
    QUrl url(currentModule().url);
    if (index < methodPaths.size()) {
        url.setPath(url.path(QUrl::FullyDecoded) + methodPaths[index], QUrl::DecodedMode);
    }
    return url;
}

QHash<QString, QString> LmchzClient::getHeaders() const
{
    const std::lock_guard lock(exchangeMutex);
    const Module module = currentModule();
    const QByteArray credentials = (module.user + u':' + module.password).toLocal8Bit().toBase64();
    return {
        {QStringLiteral("Content-Type"), QStringLiteral("application/json")},
        {QStringLiteral("Authorization"), QStringLiteral("Basic ") + QString::fromLatin1(credentials)},
    };
}

void LmchzClient::sendErrorNotification(const tr::Tr& text) const
{
    logger->error(text.ru());
    const events::ErrorNotification notification{Event(EActivityListener::ErrorNotification)};
    notification.setNotification(text);
    notification.setId(QStringLiteral("Lmchz"));
    exchangeMutex.runUnlocked(
        [notification] { Singleton<ActivityNotifier>::instance()->sendEvent(notification.event()); });
}
