// How a body is delimited, rightly or wrongly.

#include "stand/faults/fault.h"

#include <array>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

void addLength(Reply& reply, std::uint64_t size)
{
    reply.answer.headers.emplace_back("Content-Length", std::to_string(size));
}

/// One chunk with everything, and the end behind it.
void chunk(Reply& reply, std::string size)
{
    reply.answer.headers.emplace_back("Transfer-Encoding", "chunked");
    auto& body = reply.answer.body;
    if (reply.bodySize() != 0) {
        size += "\r\n";
        reply.filler.at += size.size();
        body = size + body + "\r\n";
    }
    body += "0\r\n\r\n";
}

struct Framing
{
    QLatin1String name;
    bool endsConnection;
    void (*apply)(Reply& reply);
};

constexpr auto framings = std::to_array<Framing>({
    {"length"_L1, false, [](Reply& reply) { addLength(reply, reply.bodySize()); }},
    {"short-length"_L1, true,
     [](Reply& reply) { addLength(reply, reply.bodySize() == 0 ? 0 : reply.bodySize() - 1); }},
    {"long-length"_L1, true, [](Reply& reply) { addLength(reply, reply.bodySize() + 1); }},
    {"chunked"_L1, false,
     [](Reply& reply) { chunk(reply, QByteArray::number(reply.bodySize(), 16).toStdString()); }},
    {"bad-chunks"_L1, true, [](Reply& reply) { chunk(reply, "no-number"); }},
    {"until-close"_L1, true, [](Reply&) {}},
});

}  // namespace

bool frame(Reply& reply)
{
    const auto* framing = std::find_if(framings.begin(), framings.end(), [&reply](const Framing& known) {
        return reply.framing == known.name;
    });
    if (framing == framings.end()) {
        framing = framings.begin();
    }
    framing->apply(reply);
    return framing->endsConnection;
}

}  // namespace marksim
