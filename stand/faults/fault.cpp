#include "stand/faults/fault.h"

#include <QDateTime>
#include <QLocale>
#include <algorithm>
#include <charconv>
#include <limits>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

void apply(std::span<const Fault> faults, Reply& reply, const Behaviour& behaviour)
{
    for (const auto& fault : faults) {
        if (const auto value = behaviour[fault.key]; !value.isUndefined()) {
            fault.apply(reply, value);
        }
    }
}

std::string httpDate()
{
    return QLocale::c()
        .toString(QDateTime::currentDateTimeUtc(), u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s)
        .toStdString();
}

/// The status that a raw reply begins with, 0 when it begins with something else.
int statusOf(std::string_view raw)
{
    constexpr std::string_view version = "HTTP/1.1 ";
    int status = 0;
    if (raw.size() > version.size() && raw.starts_with("HTTP/1.")) {
        std::from_chars(raw.data() + version.size(), raw.data() + raw.size(), status);
    }
    return status;
}

void addUsualHeaders(Reply& reply, bool keepAlive)
{
    const bool closes = frame(reply) || !keepAlive || reply.raw;
    reply.exchange.ending = closes ? Ending::Close : Ending::KeepOpen;
    auto& headers = reply.answer.headers;
    headers.emplace_back("Connection", closes ? "close" : "keep-alive");
    // A reply that was passed on has those of its server.
    for (const auto& [name, value] : {std::pair("Server", std::string("marksim")), {"Date", httpDate()}}) {
        if (!reply.answer.hasHeader(name)) {
            headers.emplace_back(name, value);
        }
    }
}

bool hasBody(const Reply& reply, ReplyForm form)
{
    return !reply.raw && !form.headOnly && reply.answer.status != 204 && reply.answer.status != 304;
}

}  // namespace

bool replacesAnswer(const Behaviour& behaviour)
{
    return std::ranges::any_of(replacements(),
                               [&behaviour](const Fault& fault) { return behaviour.contains(fault.key); });
}

ReplyForm ReplyForm::of(const Request& request)
{
    return {request.keep_alive(), request.method() == boost::beast::http::verb::head};
}

Exchange planExchange(Answer answer, const Behaviour& behaviour, ReplyForm form)
{
    Reply reply;
    reply.answer = std::move(answer);
    apply(replacements(), reply, behaviour);
    apply(bodyFaults(), reply, behaviour);
    addUsualHeaders(reply, form.keepAlive);
    reply.exchange.limit = std::numeric_limits<std::uint64_t>::max();
    apply(deliveryFaults(), reply, behaviour);

    auto& exchange = reply.exchange;
    exchange.wire.head = reply.head();
    if (hasBody(reply, form)) {
        exchange.wire.body = std::move(reply.answer.body);
        exchange.wire.filler = reply.filler;
    }
    exchange.limit = std::min(exchange.limit, exchange.wire.size());
    exchange.status = reply.raw ? statusOf(*reply.raw) : reply.answer.status;
    if (exchange.limit == 0) {
        exchange.status = 0;
    }
    return std::move(exchange);
}

}  // namespace marksim
