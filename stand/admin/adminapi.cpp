#include "stand/admin/adminapi.h"

#include "stand/admin/pagefiles.h"
#include "stand/faults/fault.h"
#include "stand/stand.h"

#include <algorithm>

namespace marksim {

using namespace Qt::StringLiterals;

namespace {

Answer problem(int status, const QString& text)
{
    return Answer::json(status, {{"error"_L1, text}});
}

Answer wrongVerb(const std::string& allowed)
{
    auto refusal = problem(405, u"the path does not take this method"_s);
    refusal.setHeader("Allow", allowed);
    return refusal;
}

/// What follows the path of a route in that of a request.
QString nameBehind(const AdminRoute& route, const std::string& path)
{
    const auto name = path.substr(route.path.size());
    auto text = QString::fromStdString(name);
    if (text.toStdString() != name) {
        throw InputError(u"path: not UTF-8"_s);
    }
    return text;
}

void checkForm(const AdminRoute& route, const Request& request, const Target& target)
{
    for (const auto& [name, value] : target.query) {
        if (std::ranges::find(route.parameters, name) == route.parameters.end()) {
            throw InputError(u"unknown parameter \"%1\""_s.arg(QString::fromStdString(name)));
        }
    }
    if (!route.takesBody && !request.body().empty()) {
        throw InputError(u"body: there must be none"_s);
    }
}

bool fits(const AdminRoute& route, const std::string& path)
{
    const bool named = route.path.ends_with('/') && path.size() > route.path.size();
    return named ? path.starts_with(route.path) : path == route.path;
}

/// A port for this machine alone is handed out as it is.
HostAddress adminAddress(const Options& options)
{
    const bool isLocal = isLoopback(options.adminBind);
    return HostAddress::of(options.adminBind, isLocal ? std::string() : options.publicAddress);
}

}  // namespace

AdminApi::AdminApi(boost::asio::io_context& io, Stand& stand, const Options& options)
    : m_stand(stand)
    , m_hasPage(options.page)
    , m_publicHost(options.publicAddress)
    , m_listener(io, adminAddress(options), options.adminPort, u"admin port"_s, *this, nullptr)
{
}

QJsonObject AdminApi::ready() const
{
    return withAdmin(m_stand.addresses());
}

QJsonObject AdminApi::state() const
{
    return withAdmin(m_stand.state());
}

QJsonObject AdminApi::withAdmin(QJsonObject state) const
{
    state["admin"_L1] = m_listener.url();
    state["page"_L1] = m_hasPage ? QJsonValue(m_listener.url() + u'/') : QJsonValue();
    return state;
}

void AdminApi::serve(Request request, const ConnectionInfo&, std::function<void(Exchange)> done)
{
    auto reply = answer(request);
    addBrowserPolicy(reply);
    done(planExchange(std::move(reply), {}, ReplyForm::of(request)));
}

Exchange AdminApi::refuse(int status, const QString& reason) const
{
    auto reply = problem(status, reason);
    addBrowserPolicy(reply);
    return planExchange(std::move(reply), {}, {.keepAlive = false});
}

Answer AdminApi::answer(const Request& request) const
{
    if (isForeign(request, m_publicHost)) {
        return problem(403, u"this address answers programs and its own pages only"_s);
    }
    const auto target = targetOf(request);
    const std::string verb(request.method_string());
    if (m_hasPage && target.query.empty()) {
        if (auto file = pageFile(target.path)) {
            return verb == "GET" ? *file : wrongVerb("GET");
        }
    }
    std::string allowed;
    for (const auto& route : adminRoutes()) {
        if (fits(route, target.path)) {
            if (route.verb == verb) {
                return call(route, request, target);
            }
            allowed.append(allowed.empty() ? "" : ", ").append(route.verb);
        }
    }
    return allowed.empty() ? problem(404, u"there is no such path"_s) : wrongVerb(allowed);
}

Answer AdminApi::call(const AdminRoute& route, const Request& request, const Target& target) const
{
    try {
        checkForm(route, request, target);
        return route.handle({*this, m_stand, request, target.query, nameBehind(route, target.path)});
    } catch (const NotFound& error) {
        return problem(404, QString::fromUtf8(error.what()));
    } catch (const InputError& error) {
        return problem(400, QString::fromUtf8(error.what()));
    }
}

}  // namespace marksim
