#include "tests/support/marksim.h"

#include <memory>
#include <stdexcept>

#include <QDebug>
#include <QFile>
#include <QJsonDocument>

#include <curl/curl.h>

namespace {

constexpr int StartMilliseconds = 30'000;

[[noreturn]] void fail(const QString& what)
{
    throw std::runtime_error(what.toStdString());
}

size_t collect(char* bytes, size_t size, size_t count, void* target)
{
    static_cast<QByteArray*>(target)->append(bytes, static_cast<qsizetype>(size * count));
    return size * count;
}

QByteArray toJson(const QJsonValue& value)
{
    return value.isArray() ? QJsonDocument(value.toArray()).toJson()
                           : QJsonDocument(value.toObject()).toJson();
}

}  // namespace

MarkSim::MarkSim(const QStringList& arguments, const QJsonObject& scenario)
{
    QStringList all = arguments;
    all << QStringLiteral("--die-with-parent");
    if (!scenario.isEmpty()) {
        QFile file(m_folder.filePath(QStringLiteral("scenario.json")));
        if (!file.open(QIODevice::WriteOnly) || file.write(toJson(scenario)) < 0) {
            fail(QStringLiteral("cannot write the scenario"));
        }
        all << QStringLiteral("--scenario") << file.fileName();
    }
    m_process.setProgram(QStringLiteral(MARKSIM_PATH));
    m_process.setArguments(all);
    m_process.start();
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(StartMilliseconds)) {
            fail(QStringLiteral("marksim does not start: ") +
                 QString::fromUtf8(m_process.readAllStandardError()));
        }
    }
    m_ready = QJsonDocument::fromJson(m_process.readLine()).object();
}

MarkSim::~MarkSim()
{
    if (m_process.state() != QProcess::Running || m_process.waitForFinished(0)) {
        qCritical("marksim ended before its time: %s", m_process.readAllStandardError().constData());
    }
    m_process.terminate();
    if (!m_process.waitForFinished(StartMilliseconds)) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

QString MarkSim::url(const QString& server) const
{
    for (const char* group : {"operators", "sites", "modules"}) {
        const QJsonArray servers = m_ready[QLatin1String(group)].toArray();
        for (const QJsonValue& entry : servers) {
            if (entry["name"].toString() == server) {
                return entry["url"].toString();
            }
        }
    }
    fail(QStringLiteral("no server ") + server);
}

QStringList MarkSim::operatorUrls() const
{
    QStringList urls;
    const QJsonArray operators = m_ready["operators"].toArray();
    for (const QJsonValue& entry : operators) {
        urls << entry["url"].toString();
    }
    return urls;
}

QJsonObject MarkSim::module(int number) const
{
    return m_ready["modules"].toArray().at(number - 1).toObject();
}

void MarkSim::behave(const QString& server, const QJsonValue& behaviours) const
{
    admin("PUT", QStringLiteral("/behaviours/") + server, behaviours);
}

QList<QJsonObject> MarkSim::requests(const QString& server, const QString& method) const
{
    QList<QJsonObject> found;
    const QJsonArray all = admin("GET", QStringLiteral("/requests"))["requests"].toArray();
    for (const QJsonValue& request : all) {
        if ((server.isEmpty() || request["server"] == server) &&
            (method.isEmpty() || request["api"] == method)) {
            found << request.toObject();
        }
    }
    return found;
}

void MarkSim::forgetRequests() const
{
    admin("DELETE", QStringLiteral("/requests"));
}

QJsonValue MarkSim::admin(const char* verb, const QString& path, const QJsonValue& body) const
{
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy(curl_easy_init(), &curl_easy_cleanup);
    const QByteArray url = (m_ready["admin"].toString() + path).toUtf8();
    const QByteArray json = body.isNull() ? QByteArray() : toJson(body);
    QByteArray reply;
    curl_easy_setopt(easy.get(), CURLOPT_URL, url.constData());
    curl_easy_setopt(easy.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy.get(), CURLOPT_CUSTOMREQUEST, verb);
    curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, &collect);
    curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &reply);
    if (!json.isEmpty()) {
        curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDSIZE, long(json.size()));
        curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDS, json.constData());
    }
    long status = 0;
    const CURLcode code = curl_easy_perform(easy.get());
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    if (code != CURLE_OK || status != 200) {
        fail(QStringLiteral("%1 %2: %3 %4")
                 .arg(QLatin1String(verb), path)
                 .arg(status)
                 .arg(QString::fromUtf8(reply)));
    }
    const QJsonDocument document = QJsonDocument::fromJson(reply);
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}
