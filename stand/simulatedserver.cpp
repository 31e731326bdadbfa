#include "stand/simulatedserver.h"

#include "stand/faults/connectionfaults.h"
#include "stand/http/upstream.h"

#include <algorithm>
#include <spdlog/spdlog.h>

namespace marksim {

using namespace Qt::StringLiterals;

SimulatedServer::SimulatedServer(boost::asio::io_context& io, ServerAddress address, RequestLog& log,
                                 Listener::TlsContexts tls)
    : m_executor(io.get_executor())
    , m_address(std::move(address))
    , m_log(log)
    , m_listener(io, m_address.address, m_address.port, m_address.name, *this, std::move(tls))
{
}

void SimulatedServer::setBehaviours(const Behaviours& behaviours)
{
    m_behaviours = behaviours;
    m_listener.setConnect(connectOf(behaviours));
}

void SimulatedServer::resetCounts()
{
    m_requests = 0;
    m_listener.resetAccepted();
}

ConnectionPlan SimulatedServer::onAccept()
{
    return planConnection(takeForConnection(m_behaviours));
}

const Route* SimulatedServer::findRoute(const std::string& path) const
{
    const auto prefix = m_address.prefix.toStdString();
    const auto& routes = m_api.routes;
    const auto found = std::ranges::find_if(
        routes, [&](const Route& route) { return path == prefix + std::string(route.path); });
    return found == routes.end() ? nullptr : &*found;
}

std::string SimulatedServer::targetBehindPrefix(const Request& request) const
{
    const std::string target(request.target());
    const auto prefix = m_address.prefix.toStdString();
    return target.starts_with(prefix) ? target.substr(prefix.size()) : target;
}

Answer SimulatedServer::usualAnswer(const Route* route, const Request& request, const QJsonObject& answers)
{
    if (!route) {
        return Answer::refusal(404, u"Not Found"_s);
    }
    if (request.method_string() != route->verb) {
        auto answer = Answer::refusal(405, u"Method Not Allowed"_s);
        answer.setHeader("Allow", std::string(route->verb));
        return answer;
    }
    if (auto refusal = m_api.refusal(request)) {
        return *refusal;
    }
    return route->answer(request, answers);
}

void SimulatedServer::serve(Request request, const ConnectionInfo& connection,
                            std::function<void(Exchange)> answer)
{
    ++m_requests;
    const auto* route = findRoute(targetOf(request).path);
    const auto method = route ? route->method : QLatin1String();
    const auto behaviour = takeForRequest(m_behaviours, method);
    const std::string what = std::string(request.method_string()) + ' ' + std::string(request.target());
    const auto finish = [this, behaviour, what, form = ReplyForm::of(request),
                         send = std::move(answer)](std::uint64_t id, Answer given) {
        auto exchange = planExchange(std::move(given), behaviour, form);
        exchange.id = id;
        spdlog::debug("{}: {} -> {}", name().toStdString(), what, exchange.status);
        send(std::move(exchange));
    };
    const auto enter = [&](Request entered) {
        return m_log.add(
            {.server = name(), .method = method, .connection = connection, .request = std::move(entered)});
    };
    if (replacesAnswer(behaviour)) {
        return finish(enter(std::move(request)), Answer::refusal(200, reasonPhrase(200)));
    }
    if (const auto address = proxyOf(behaviour, m_behaviours, method); !address.empty()) {
        const auto id = enter(request);
        if (isPassedOn(request)) {
            return finish(
                id,
                Answer::refusal(
                    508, u"proxy: the request has been passed on before, and may go round in a circle"_s));
        }
        const auto target = targetBehindPrefix(request);
        return passOn(m_executor, address, target, std::move(request),
                      [finish, id](Answer given) { finish(id, std::move(given)); });
    }
    auto usual = usualAnswer(route, request, behaviour["answers"_L1].toObject());
    finish(enter(std::move(request)), std::move(usual));
}

void SimulatedServer::onEnd(std::uint64_t exchange, int status, Outcome outcome)
{
    m_log.end(exchange, status, outcome);
}

void SimulatedServer::onRefused(const ConnectionInfo& connection, Outcome outcome, const QString& reason)
{
    m_log.add({.server = name(),
               .method = {},
               .connection = connection,
               .request = {},
               .outcome = outcome,
               .reason = reason});
}

Exchange SimulatedServer::refuse(int status, const QString& reason) const
{
    return planExchange(Answer::refusal(status, reason), {}, {.keepAlive = false});
}

}  // namespace marksim
