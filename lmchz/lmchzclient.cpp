#include "lmchz/lmchzclient.h"

#include <algorithm>
#include <array>

#include <QJsonDocument>
#include <QJsonObject>

#include <config/config.h>
#include <log4qt/logmanager.h>
#include <orvex/eactivitylistener.h>
#include <orvex/events.h>

namespace {

struct StatusText
{
    QLatin1String text;
    LmchzStatus status;
};

constexpr std::array StatusTexts = {
    StatusText{QLatin1String("ready"), LmchzStatus::Ready},
    StatusText{QLatin1String("not_configured"), LmchzStatus::NotConfigured},
    StatusText{QLatin1String("initialization"), LmchzStatus::Initialization},
    StatusText{QLatin1String("sync_error"), LmchzStatus::SyncError},
};

/// By LmchzClient::Method.
constexpr std::array MethodPaths = {
    QLatin1String("/api/v2/init"),
    QLatin1String("/api/v2/status"),
    QLatin1String("/api/v2/cis/outCheck"),
    QLatin1String("/api/v2/greyList"),
};

constexpr auto ErrorCode = QLatin1String("errorCode");
const auto TokenKey = QStringLiteral("token");
const auto EnableGreyListKey = QStringLiteral("enableGreyList");
constexpr int HttpOk = 200;

LmchzStatus statusFromText(const QString& text)
{
    const auto* found = std::find_if(StatusTexts.begin(), StatusTexts.end(),
                                     [&](const StatusText& row) { return row.text == text; });
    return found != StatusTexts.end() ? found->status : LmchzStatus::Unknown;
}

/// `id` with the module's error code behind it, when the reply gives one.
QString withErrorCode(const QString& id, const QJsonObject& reply)
{
    return reply.contains(ErrorCode) ? id + QString::number(reply.value(ErrorCode).toInt()) : id;
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

LmchzClient::~LmchzClient()
{
    trigger.release();
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

void LmchzClient::init(const Event& /*event*/)
{
    for (auto module = settings.cbegin(); module != settings.cend(); ++module) {
        if (module->maintain) {
            if (const Trouble trouble = maintainModule(module.key(), *module)) {
                sendErrorNotification(*trouble);
            }
        }
    }
}

LmchzClient::Trouble LmchzClient::maintainModule(const QString& token, const Module& module)
{
    const std::lock_guard lock(exchangeMutex);
    const auto status = static_cast<LmchzStatus>(getStatus(token));
    if (status == LmchzStatus::NotConfigured) {
        return initModule(token, module);
    }
    if (status == LmchzStatus::Ready && module.enableGreyList) {
        return toggleGreyList(token, *module.enableGreyList);
    }
    return {};
}

LmchzClient::Trouble LmchzClient::initModule(const QString& token, const Module& module)
{
    logger->debug(QStringLiteral("Инициализация ЛМЧЗ"));
    QJsonObject body = {{TokenKey, token}};
    if (module.enableGreyList) {
        body.insert(EnableGreyListKey, *module.enableGreyList);
    }
    const http::Response reply = post(Init, body);
    if (reply.status() == HttpOk) {
        return {};
    }
    return tr::Tr(withErrorCode(QStringLiteral("lmchzInitError"), reply.responseObject()),
                  QStringLiteral("Ошибка инициализации ЛМЧЗ"));
}

int LmchzClient::getStatus(const QString& token)
{
    const std::lock_guard lock(exchangeMutex);
    logger->info(QStringLiteral("Получение статуса ЛМЧЗ"));
    if (!settings.contains(token)) {
        logger->error(QStringLiteral("Токен для проверки товара в ЛМЧЗ не найден"));
        return static_cast<int>(LmchzStatus::Unknown);
    }
    QString(token).swap(currentToken);  // the old text is let go here, where ThreadSanitizer sees it
    const http::Response reply = createClient()->get(getUrl(Status), QJsonDocument(), getHeaders());
    const QString text = reply.responseObject().value(QLatin1String("status")).toString();
    logger->debug(QStringLiteral(" статус: %1"), text);
    return static_cast<int>(statusFromText(text));
}

void LmchzClient::toggleGreyListByToken(const QString& token, bool enable)
{
    if (const Trouble trouble = toggleGreyList(token, enable)) {
        sendErrorNotification(*trouble);
    }
}

LmchzClient::Trouble LmchzClient::toggleGreyList(const QString& token, bool enable)
{
    const std::lock_guard lock(exchangeMutex);
    logger->info(QStringLiteral("%1 серых списков GTIN"),
                 enable ? QStringLiteral("Включение") : QStringLiteral("Выключение"));
    const http::Response reply = post(GreyList, {{TokenKey, token}, {EnableGreyListKey, enable}});
    if (reply.status() == HttpOk) {
        return {};
    }
    if (reply.networkError() == http::NetworkError::ProtocolInvalidOperation) {
        return tr::Tr(QStringLiteral("lmchzGreyListInvalidOperation"),
                      QStringLiteral("Серые списки GTIN временно не поддерживаются"));
    }
    return tr::Tr(withErrorCode(QStringLiteral("lmchzGreyListError"), reply.responseObject()),
                  QStringLiteral("Ошибка настройки серого списка GTIN"));
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
    QUrl url(currentModule().url);
    url.setPath(url.path(QUrl::FullyDecoded) + MethodPaths.at(static_cast<size_t>(method)),
                QUrl::DecodedMode);
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
    Singleton<ActivityNotifier>::instance()->sendEvent(notification.event());
}
