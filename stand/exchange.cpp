#include "exchange.h"

#include "jsonedit.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QLocale>
#include <algorithm>
#include <charconv>
#include <random>
#include <zlib.h>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

std::chrono::milliseconds drawDelay(const Behaviour& behaviour)
{
    static std::minstd_rand generator{std::random_device{}()};
    std::uniform_int_distribution<std::int64_t> jitter(0, behaviour.jitter.count());
    return behaviour.latency + std::chrono::milliseconds(jitter(generator));
}

/// Room for the filler is a member "padding" in front of the object's others, so that the body stays valid
/// JSON.
void pad(Body& body, std::uint64_t padding)
{
    constexpr std::string_view open = "{\"padding\":\"";
    if (padding == 0)
        return;
    if (body.text.starts_with('{')) {
        const bool empty = body.text.starts_with("{}");
        body.text = std::string(open) + (empty ? "\"" : "\",") + body.text.substr(1);
        body.fillAt = open.size();
    }
    body.fill = padding;
}

Body shapedBody(std::string text, const Behaviour& behaviour)
{
    Body body{std::move(text)};
    if (behaviour.payload == Payload::Empty)
        return {};
    if (!behaviour.edits.empty())
        body.text = edited(body.text, behaviour.edits);
    pad(body, behaviour.padding);
    if (behaviour.payload == Payload::Malformed)
        body.text.resize(std::max(body.fillAt, body.text.size() - body.text.size() / 3 - 1));
    return body;
}

/// Compresses in steps, so that a body of many megabytes never stands in memory whole.
std::string gzipped(const Body& body)
{
    constexpr int gzipFormat = 16;
    constexpr std::size_t step = 64UL * 1024;
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, MAX_WBITS + gzipFormat, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::bad_alloc();
    const Wire plain({}, body);
    std::string result;
    std::vector<char> in(step);
    std::vector<char> out(step);
    std::uint64_t offset = 0;
    do {
        const auto size = plain.read(offset, in.data(), in.size());
        offset += size;
        stream.next_in = reinterpret_cast<Bytef*>(in.data());
        stream.avail_in = static_cast<uInt>(size);
        do {
            stream.next_out = reinterpret_cast<Bytef*>(out.data());
            stream.avail_out = static_cast<uInt>(out.size());
            deflate(&stream, offset == plain.size() ? Z_FINISH : Z_NO_FLUSH);
            result.append(out.data(), out.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    } while (offset < plain.size());
    deflateEnd(&stream);
    return result;
}

void encode(Answer& answer, Body& body, Encoding encoding)
{
    if (encoding == Encoding::Identity)
        return;
    answer.headers.emplace_back("Content-Encoding", "gzip");
    if (encoding == Encoding::Gzip)
        body = Body{gzipped(body)};
}

std::string hexadecimal(std::uint64_t number)
{
    return QString::number(number, 16).toStdString();
}

void chunk(Body& body, std::string size)
{
    size += "\r\n";
    const bool empty = body.size() == 0;
    body.fillAt += empty ? 0 : size.size();
    body.text = (empty ? std::string() : size + body.text + "\r\n") + "0\r\n\r\n";
}

/// Adds what delimits the body; tells whether the connection must end with it.
bool frame(Answer& answer, Body& body, Framing framing)
{
    const auto length = [&answer](std::uint64_t size) {
        answer.headers.emplace_back("Content-Length", std::to_string(size));
    };
    switch (framing) {
    case Framing::Length:
        length(body.size());
        return false;
    case Framing::ShortLength:
        length(body.size() - std::min<std::uint64_t>(body.size(), 1));
        return true;
    case Framing::LongLength:
        length(body.size() + 1);
        return true;
    case Framing::Chunked:
        answer.headers.emplace_back("Transfer-Encoding", "chunked");
        chunk(body, hexadecimal(body.size()));
        return false;
    case Framing::BadChunks:
        answer.headers.emplace_back("Transfer-Encoding", "chunked");
        chunk(body, "no-number");
        return true;
    case Framing::UntilClose:
        break;
    }
    return true;
}

std::string httpDate()
{
    return QLocale::c()
        .toString(QDateTime::currentDateTimeUtc(), u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s)
        .toStdString();
}

void override(std::vector<std::pair<std::string, std::string>>& headers, const Behaviour& behaviour)
{
    for (const auto& [name, value] : behaviour.headers) {
        std::erase_if(headers,
                      [&name = name](const auto& header) { return equalIgnoringCase(header.first, name); });
        if (value)
            headers.emplace_back(name, *value);
    }
}

std::string head(const Answer& answer)
{
    auto text =
        "HTTP/1.1 " + std::to_string(answer.status) + ' ' + std::string(reasonPhrase(answer.status)) + "\r\n";
    for (const auto& [name, value] : answer.headers)
        text.append(name).append(": ").append(value).append("\r\n");
    return text + "\r\n";
}

/// The status that a raw reply begins with, 0 when it begins with something else.
int statusOf(std::string_view raw)
{
    constexpr std::string_view version = "HTTP/1.1 ";
    int status = 0;
    if (raw.size() > version.size() && raw.starts_with("HTTP/1."))
        std::from_chars(raw.data() + version.size(), raw.data() + raw.size(), status);
    return status;
}

void applyCut(Exchange& exchange, const Behaviour& behaviour)
{
    auto cut = behaviour.cut;
    if (behaviour.silent)
        cut = Cut{Cut::Place::Offset, 0, Ending::Stall};
    if (!cut)
        return;
    if (cut->place == Cut::Place::Head)
        exchange.limit = exchange.wire.headSize();
    if (cut->place == Cut::Place::Offset)
        exchange.limit = std::min(exchange.limit, cut->offset);
    exchange.ending = cut->ending;
    exchange.outcome = cut->ending == Ending::Stall   ? Outcome::Stalled
                       : cut->ending == Ending::Reset ? Outcome::Reset
                                                      : Outcome::Closed;
}

bool hasNoBody(const Answer& answer, const Request& request)
{
    return request.verb == "HEAD" || answer.status == 204 || answer.status == 304;
}

Wire wireOf(Answer answer, const Behaviour& behaviour, const Request& request, Ending& ending)
{
    auto body = shapedBody(std::move(answer.body), behaviour);
    answer.headers.insert(answer.headers.begin(), {{"Server", "marksim"}, {"Date", httpDate()}});
    encode(answer, body, behaviour.encoding);
    const bool ends = frame(answer, body, behaviour.framing) || !request.keepAlive;
    ending = ends ? Ending::Close : Ending::KeepOpen;
    answer.headers.emplace_back("Connection", ends ? "close" : "keep-alive");
    override(answer.headers, behaviour);
    if (hasNoBody(answer, request))
        body = {};
    return {head(answer), std::move(body)};
}

}  // namespace

Answer fixedAnswer(const Behaviour& behaviour)
{
    const int status = behaviour.status.value_or(200);
    const auto reason = reasonPhrase(status);
    auto answer =
        Answer::refusal(status, QString::fromLatin1(reason.data(), static_cast<qsizetype>(reason.size())));
    if (behaviour.body)
        answer.body = *behaviour.body;
    return answer;
}

Exchange planExchange(Answer answer, const Behaviour& behaviour, const Request& request)
{
    Exchange exchange;
    exchange.status = answer.status;
    exchange.delay = drawDelay(behaviour);
    exchange.drip = behaviour.drip;
    if (behaviour.raw) {
        exchange.wire = Wire(*behaviour.raw, {});
        exchange.status = statusOf(*behaviour.raw);
        exchange.ending = Ending::Close;
    } else {
        exchange.wire = wireOf(std::move(answer), behaviour, request, exchange.ending);
    }
    exchange.limit = exchange.wire.size();
    applyCut(exchange, behaviour);
    if (exchange.limit == 0)
        exchange.status = 0;
    return exchange;
}

}  // namespace marksim
