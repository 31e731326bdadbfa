// The headers of a reply, when it is sent, how fast, and how it ends.

#include "stand/faults/fault.h"

#include <array>
#include <random>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

std::chrono::milliseconds milliseconds(const QJsonValue& value)
{
    return std::chrono::milliseconds(value.toInt());
}

void changeHeaders(Reply& reply, const QJsonValue& value)
{
    const auto headers = value.toObject();
    for (auto header = headers.begin(); header != headers.end(); ++header) {
        const auto name = header.key().toStdString();
        if (header->isNull()) {
            reply.answer.removeHeader(name);
        } else {
            reply.answer.setHeader(name, header->toString().toStdString());
        }
    }
}

void addJitter(Reply& reply, const QJsonValue& value)
{
    static std::minstd_rand generator{std::random_device{}()};
    std::uniform_int_distribution<int> jitter(0, value.toInt());
    reply.exchange.delay += std::chrono::milliseconds(jitter(generator));
}

void endWith(Exchange& exchange, Ending ending, Outcome outcome)
{
    exchange.ending = ending;
    exchange.outcome = outcome;
}

void cut(Reply& reply, const QJsonValue& value)
{
    const auto after = value["after"_L1];
    if (after == "head"_L1) {
        reply.exchange.limit = reply.head().size();
    } else if (after.isDouble()) {
        reply.exchange.limit = static_cast<std::uint64_t>(after.toInt());
    }
    const auto by = value["by"_L1];
    if (by == "stall"_L1) {
        endWith(reply.exchange, Ending::Stall, Outcome::Stalled);
    } else if (by == "reset"_L1) {
        endWith(reply.exchange, Ending::Reset, Outcome::Reset);
    } else {
        endWith(reply.exchange, Ending::Close, Outcome::Closed);
    }
}

constexpr auto faults = std::to_array<Fault>({
    {"headers"_L1, changeHeaders},
    {"latencyMs"_L1,
     [](Reply& reply, const QJsonValue& value) { reply.exchange.delay += milliseconds(value); }},
    {"jitterMs"_L1, addJitter},
    {"drip"_L1,
     [](Reply& reply, const QJsonValue& value) {
         reply.exchange.dripBytes = static_cast<std::uint64_t>(value["bytes"_L1].toInt(1));
         reply.exchange.dripEvery = milliseconds(value["everyMs"_L1]);
     }},
    {"cut"_L1, cut},
    {"silent"_L1,
     [](Reply& reply, const QJsonValue& value) {
         if (value.toBool()) {
             reply.exchange.limit = 0;
             endWith(reply.exchange, Ending::Stall, Outcome::Stalled);
         }
     }},
});

}  // namespace

std::span<const Fault> deliveryFaults()
{
    return faults;
}

}  // namespace marksim
