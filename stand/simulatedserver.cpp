#include "simulatedserver.h"

#include <algorithm>
#include <spdlog/spdlog.h>

namespace marksim {

using namespace Qt::StringLiterals;

namespace {

constexpr std::uint64_t largestRequestBody = 64UL * 1024 * 1024;

Answer wrongVerb(const Route& route)
{
    auto answer = Answer::refusal(405, u"Method Not Allowed"_s);
    answer.headers.emplace_back("Allow", route.verb);
    return answer;
}

}  // namespace

SimulatedServer::SimulatedServer(boost::asio::io_context& io, ServerAddress address, RequestLog& log,
                                 Listener::TlsContexts tls)
    : address_(std::move(address))
    , log_(log)
    , tls_(tls != nullptr)
    , listener_(io, address_.address, address_.port, QString::fromStdString(address_.name), *this,
                std::move(tls))
{
}

std::string SimulatedServer::url() const
{
    return (tls_ ? "https://" : "http://") + listener_.authority() + address_.prefix;
}

void SimulatedServer::setBehaviours(std::vector<Behaviour> behaviours)
{
    behaviours_.assign(std::move(behaviours));
    followBehaviours();
}

void SimulatedServer::appendBehaviours(std::vector<Behaviour> behaviours)
{
    behaviours_.append(std::move(behaviours));
    followBehaviours();
}

void SimulatedServer::prependBehaviours(std::vector<Behaviour> behaviours)
{
    behaviours_.prepend(std::move(behaviours));
    followBehaviours();
}

void SimulatedServer::removeBehaviours(const std::vector<Behaviour>& behaviours)
{
    behaviours_.remove(behaviours);
    followBehaviours();
}

void SimulatedServer::followBehaviours()
{
    listener_.setDoor(behaviours_.door());
}

Behaviour SimulatedServer::welcome()
{
    return behaviours_.takeForConnection();
}

const Route* SimulatedServer::route(const Request& request) const
{
    if (!request.path.starts_with(address_.prefix))
        return nullptr;
    const auto path = std::string_view(request.path).substr(address_.prefix.size());
    const auto routes = api_->routes();
    const auto found =
        std::find_if(routes.begin(), routes.end(), [path](const Route& known) { return known.path == path; });
    return found == routes.end() ? nullptr : &*found;
}

Answer SimulatedServer::regularAnswer(const Route* route, const Request& request, const Twist& twist)
{
    if (!route)
        return Answer::refusal(404, u"Not Found"_s);
    if (request.verb != route->verb)
        return wrongVerb(*route);
    if (auto refusal = api_->refusal(request))
        return *refusal;
    return api_->answer(route->method, request, twist);
}

Exchange SimulatedServer::serve(const Request& request, const ConnectionInfo& connection)
{
    ++requests_;
    const auto* known = route(request);
    const auto method = known ? known->method : std::string_view();
    const auto behaviour = behaviours_.takeForRequest(method);
    auto answer =
        behaviour.replacesAnswer() ? fixedAnswer(behaviour) : regularAnswer(known, request, behaviour.twist);
    spdlog::debug("{}: {} {} -> {}", name(), request.verb, request.target, answer.status);
    auto exchange = planExchange(std::move(answer), behaviour, request);
    LoggedRequest entry;
    entry.server = name();
    entry.method = method;
    entry.connection = connection.id;
    entry.remotePort = connection.remotePort;
    entry.request = request;
    exchange.id = log_.add(std::move(entry));
    return exchange;
}

void SimulatedServer::ended(std::uint64_t exchange, int status, Outcome outcome)
{
    log_.end(exchange, status, outcome);
}

Answer SimulatedServer::refusal(int status, const QString& reason) const
{
    return Answer::refusal(status, reason);
}

std::uint64_t SimulatedServer::largestBody() const
{
    return largestRequestBody;
}

}  // namespace marksim
