#include "tests/support/marksim.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

MarkSim::MarkSim(const QStringList& arguments, const QJsonObject& scenario)
{
    QStringList all = arguments + QStringList{"--die-with-parent"};
    if (!scenario.isEmpty()) {
        if (!m_scenario.open() || m_scenario.write(toJson(scenario)) < 0 || !m_scenario.flush()) {
            throw std::runtime_error("cannot write the scenario");
        }
        all << "--scenario" << m_scenario.fileName();
    }
    m_process.emplace(MARKSIM_PATH, all);
    m_ready = QJsonDocument::fromJson(m_process->readLine()).object();
    if (m_ready.isEmpty()) {
        throw std::runtime_error("marksim does not start: " + end().errors.toStdString());
    }
}

MarkSim::MarkSim(QJsonObject ready)
    : m_ready(std::move(ready))
{
}

QJsonObject MarkSim::startApart(const std::string& arguments)
{
    const std::string command = "exec '" MARKSIM_PATH "' --die-with-parent " + arguments;
    std::FILE* const stand = ::popen(command.c_str(), "r");
    std::array<char, 4096> line{};
    if (stand == nullptr || std::fgets(line.data(), int(line.size()), stand) == nullptr) {
        throw std::runtime_error("marksim does not start");
    }
    return QJsonDocument::fromJson(line.data()).object();
}

MarkSim::~MarkSim()
{
    if (m_process && !m_ended) {
        const ProcessOutcome outcome = end();
        EXPECT_EQ(outcome.exitStatus, 0) << "marksim: " << outcome.errors.toStdString();
    }
}

ProcessOutcome MarkSim::end(int signal)
{
    m_ended = true;
    m_process->sendSignal(signal);
    return m_process->wait();
}

QString MarkSim::url(const QString& server) const
{
    for (const char* group : {"operators", "sites", "modules"}) {
        const QJsonArray servers = m_ready[group].toArray();
        for (const QJsonValue entry : servers) {
            if (entry["name"].toString() == server) {
                return entry["url"].toString();
            }
        }
    }
    throw std::runtime_error("no server " + server.toStdString());
}

QStringList MarkSim::operatorUrls() const
{
    QStringList urls;
    const QJsonArray operators = m_ready["operators"].toArray();
    for (const QJsonValue entry : operators) {
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
    admin("PUT", "/behaviours/" + server, toJson(behaviours));
}

void MarkSim::behave(const QString& server, const char* json) const
{
    admin("PUT", "/behaviours/" + server, json);
}

QList<QJsonObject> MarkSim::requests(const QString& server, const QString& method) const
{
    QList<QJsonObject> found;
    const QJsonArray all = admin("GET", "/requests")["requests"].toArray();
    for (const QJsonValue request : all) {
        if ((server.isEmpty() || request["server"] == server) &&
            (method.isEmpty() || request["api"] == method)) {
            found << request.toObject();
        }
    }
    return found;
}

void MarkSim::forgetRequests() const
{
    admin("DELETE", "/requests");
}

HttpReply MarkSim::ask(const char* verb, const QString& path, const QByteArray& body) const
{
    return m_client.send(verb, m_ready["admin"].toString() + path, body);
}

QJsonValue MarkSim::admin(const char* verb, const QString& path, const QByteArray& body) const
{
    const HttpReply reply = ask(verb, path, body);
    if (reply.status != 200) {
        throw std::runtime_error(verb + path.toStdString() + ": " + reply.body.toStdString());
    }
    return reply.json();
}

QByteArray toJson(const QJsonValue& value)
{
    const auto document = value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    return document.toJson(QJsonDocument::Compact);
}

bool eventually(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}
