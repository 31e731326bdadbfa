#include "faulttable.h"

#include "stand/certificates.h"

using namespace std::chrono_literals;
using marksim::Certificate;
using marksim::Certificates;
using Reply = ScriptedReply;
using Then = ScriptedReply::Then;
using Door = ScriptedReply::Door;
using Replies = std::vector<ScriptedReply>;
using Maker = std::function<Replies(const QByteArray&)>;
using Text = std::function<QByteArray(const QByteArray&)>;

namespace {

Certificates& certificates()
{
    static Certificates made("127.0.0.1");
    return made;
}

Certificates& othersCertificates()
{
    static Certificates made("127.0.0.1");
    return made;
}

QByteArray same(const QByteArray& body)
{
    return body;
}

Text fixed(const QByteArray& body)
{
    return [=](const QByteArray&) { return body; };
}

/// A head, in which %1 stands for the length, and what becomes of the usual body.
Maker framed(const QByteArray& head, const Text& text = same, Then then = Then::Close)
{
    return [=](const QByteArray& usual) -> Replies {
        const QByteArray body = text(usual);
        QByteArray filled = "HTTP/1.1 " + head + "\r\n\r\n";
        filled.replace("%1", QByteArray::number(body.size()));
        return {{filled + body, then}};
    };
}

Maker body(const Text& text)
{
    return framed("200 OK\r\nContent-Length: %1", text);
}

Maker usual()
{
    return body(same);
}

Maker bytes(const QByteArray& whole, Then then = Then::Close, Door door = Door::Open)
{
    return [=](const QByteArray&) -> Replies { return {{whole, then, door}}; };
}

Maker over(boost::asio::ssl::context& tls, const Maker& maker)
{
    return [=, &tls](const QByteArray& usualBody) {
        Replies replies = maker(usualBody);
        for (Reply& reply : replies) {
            reply.tls = &tls;
        }
        return replies;
    };
}

Maker slowly(std::chrono::milliseconds pace, const Maker& maker)
{
    return [=](const QByteArray& usualBody) {
        Replies replies = maker(usualBody);
        replies.front().pace = pace;
        return replies;
    };
}

/// The usual reply, ended after each of its bytes: those of its head, or those of its body but the last.
Maker cutEverywhere(bool inBody, Then then)
{
    return [=](const QByteArray& usualBody) {
        const QByteArray whole = okReply(usualBody).bytes;
        const qsizetype head = whole.size() - usualBody.size();
        Replies replies;
        for (qsizetype size = inBody ? head : 0; size < (inBody ? whole.size() : head); ++size) {
            replies.push_back({whole.left(size), then});
        }
        return replies;
    };
}

/// Bodies made of one text, in which %1 stands for each of the values in turn.
Maker filled(const QByteArray& text, const QByteArrayList& values)
{
    return [=](const QByteArray&) {
        Replies replies;
        for (const QByteArray& value : values) {
            replies.push_back(okReply(QByteArray(text).replace("%1", value)));
        }
        return replies;
    };
}

QByteArray deflated(const QByteArray& text)
{
    return qCompress(text, 1).mid(4);
}

const QByteArray& blanks()
{
    static const QByteArray made(100 << 20, ' ');
    return made;
}

/// A text in front of the first, or behind the last member of an object.
Text before(const QByteArray& members)
{
    return [=](const QByteArray& usualBody) { return "{" + members + "," + usualBody.mid(1); };
}
Text behind(const QByteArray& members)
{
    return [=](const QByteArray& usualBody) { return usualBody.chopped(1) + "," + members + "}"; };
}

std::vector<Fault> connecting()
{
    const Maker reset = bytes("", Then::Reset, Door::FirstBytes);
    return {
        {"name not found", "error 3", "UUUUU", usual(), "http", "unknown.test"},
        {"name look-up without an answer", "time-out", "UUSUU", usual(), "http", "slow.test"},
        {"connection refused", "error 1", "UUUUU", bytes("", Then::Close, Door::Shut)},
        {"connection unanswered (full queue)", "time-out", "UUSUU", bytes("", Then::Close, Door::Full)},
        {"reset on request", "error 2", "UUUUU", reset},
        {"closed on request", "error 2", "UUUUU", bytes("", Then::Close, Door::FirstBytes)},
        {"silent on request", "time-out", "UUSUU", bytes("", Then::Silence, Door::FirstBytes)},
        {"TLS where HTTP is spoken", "error 399", "UUUUU", bytes(QByteArray("\x15\x03\x03\0\2\2\x28", 7))},
    };
}

std::vector<Fault> encryption()
{
    const auto with = [](Certificate certificate) {
        return over(certificates().context(certificate), usual());
    };
    const auto handshake = [](const QByteArray& answer, Then then) {
        return bytes(answer, then, Door::FirstBytes);
    };
    const Maker longLength = framed("200 OK\r\nContent-Length: 999");
    return {
        {"good certificate", "200", "PPPOO", with(Certificate::Good), "https"},
        {"certificate of another host", "error 6", "UUUUU", with(Certificate::WrongHost), "https"},
        {"certificate expired", "error 6", "UUUUU", with(Certificate::Expired), "https"},
        {"certificate self-signed", "error 6", "UUUUU", with(Certificate::SelfSigned), "https"},
        {"certificate of an unknown authority", "error 6", "UUUUU",
         over(othersCertificates().context(Certificate::Good), usual()), "https"},
        {"handshake closed", "error 6", "UUUUU", handshake("", Then::Close), "https"},
        {"handshake reset", "error 6", "UUUUU", handshake("", Then::Reset), "https"},
        {"handshake cut in its first record", "error 6", "UUUUU",
         handshake(QByteArray("\x16\x03\x03\x00\x7a\x02", 6), Then::Close), "https"},
        {"handshake answered in plain HTTP", "error 6", "UUUUU", handshake(okReply().bytes, Then::Close),
         "https"},
        {"handshake without an answer", "time-out", "UUSUU", handshake("", Then::Silence), "https"},
        {"length too long under TLS", "error 2", "PPUOU", over(goodTls(), longLength), "https"},
        {"body ended by closing under TLS", "200", "PPPOO", over(goodTls(), framed("200 OK")), "https"},
    };
}

std::vector<Fault> timing()
{
    const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: 99999\r\n";
    const QByteArray filler(10'000, ' ');
    return {
        {"ended at every byte of the head", "error 2", "UUUUU", cutEverywhere(false, Then::Close)},
        {"ended at every byte of the body", "error 2", "UUUUU", cutEverywhere(true, Then::Close)},
        {"reset at every byte of the head", "error 2", "UUUUU", cutEverywhere(false, Then::Reset)},
        {"reset at every byte of the body", "error 2", "UUUUU", cutEverywhere(true, Then::Reset)},
        {"silent from every byte of the head", "time-out", "UUSUU", cutEverywhere(false, Then::Silence)},
        {"silent from every byte of the body", "time-out", "UUSUU", cutEverywhere(true, Then::Silence)},
        {"a byte each millisecond, in time", "200", "PPPOO", slowly(1ms, usual())},
        {"a byte each 5 ms in the head, too late", "time-out", "UUSUU",
         slowly(5ms, bytes("HTTP/1.1 200 OK\r\nX-Drip: " + filler))},
        {"a byte each 5 ms in the body, too late", "time-out", "UUSUU",
         slowly(5ms, bytes(head + "\r\n" + filler)), "http", "127.0.0.1", 500ms},
        {"401, then silence", "time-out", "UUFUU",
         bytes("HTTP/1.1 401 No\r\nContent-Length: 9\r\n\r\n", Then::Silence), "http", "127.0.0.1", 500ms},
        {"500, then silence", "time-out", "UUSUU",
         bytes("HTTP/1.1 500 No\r\nContent-Length: 9\r\n\r\n", Then::Silence), "http", "127.0.0.1", 500ms},
        {"500, then cut", "error 2", "UUSUU", bytes("HTTP/1.1 500 No\r\nContent-Length: 9\r\n\r\n{")},
    };
}

std::vector<Fault> framing()
{
    const QByteArray chunked = "200 OK\r\nTransfer-Encoding: chunked";
    const auto asChunk = [](const char* extension, const char* end) {
        return [=](const QByteArray& usualBody) {
            return QByteArray::number(usualBody.size(), 16) + extension + "\r\n" + usualBody + end;
        };
    };
    const auto in = [](const char* encoding) {
        return QByteArray("200 OK\r\nContent-Length: %1\r\nContent-Encoding: ") + encoding;
    };
    const QByteArray location = "\r\nLocation: /elsewhere\r\nContent-Length: %1";
    const Maker http10 = [](const QByteArray& text) -> Replies {
        return {{"HTTP/1.0 200 OK\r\n\r\n" + text, Then::Close}};
    };
    const Text half = [](const QByteArray& text) { return deflated(text).chopped(9); };
    const QByteArray filler = QByteArray("\r\nX-Filler: 0123456789abcdef").repeated(20'000);
    const Text flood = [](const QByteArray& usualBody) { return usualBody + blanks(); };
    return {
        {"length too short", "200", "UUFUN", framed("200 OK\r\nContent-Length: 5")},
        {"length too long", "error 2", "PPUOU", framed("200 OK\r\nContent-Length: 500")},
        {"length negative", "error 399", "UUUUU", framed("200 OK\r\nContent-Length: -5")},
        {"length not a number", "error 399", "UUUUU", framed("200 OK\r\nContent-Length: ten")},
        {"no length, ended by closing", "200", "PPPOO", framed("200 OK")},
        {"HTTP/1.0 without headers", "200", "PPPOO", http10},
        {"chunks with extension and trailer", "200", "PPPOO",
         framed(chunked, asChunk(";x=y", "\r\n0\r\nX-T: 1\r\n\r\n"))},
        {"chunk size not a number", "error 2", "UUUUU", framed(chunked + "\r\n\r\nzz")},
        {"chunk size out of range", "error 2", "UUUUU", framed(chunked + "\r\n\r\nfffffffffffffffff")},
        {"chunk longer than announced", "error 2", "PPUOU",
         framed(chunked, asChunk("", "junk\r\n0\r\n\r\n"))},
        {"last chunk missing", "error 2", "PPUOU", framed(chunked, asChunk("", "\r\n"))},
        {"deflate", "200", "PPPOO", framed(in("deflate"), deflated)},
        {"deflate cut short", "200", "UUFUN", framed(in("deflate"), half)},
        {"gzip that is none", "error 399", "UUUUU", framed(in("gzip"))},
        {"deflate that is none", "error 399", "UUUUU",
         framed(in("deflate"), [](const QByteArray& text) { return "\xff" + text; })},
        {"unknown encoding", "error 399", "UUUUU", framed(in("rot13"))},
        {"decompression bomb of 100 MiB", "error 399", "UUUUU",
         framed(in("deflate"), fixed(deflated(blanks())))},
        {"100 MiB of body", "error 399", "PPUOU", framed("200 OK\r\nContent-Length: 999999999", flood)},
        {"100 MiB of body without a length", "error 399", "PPUOU", framed("200 OK", flood)},
        {"15 MiB of blanks before the object", "200", "PPPOO",
         body([](const QByteArray& text) { return QByteArray(15 << 20, ' ') + text; })},
        {"endless head", "error 399", "UUUUU", bytes("HTTP/1.1 200 OK" + filler)},
        {"endless line in the head", "error 99", "UUUUU", bytes("HTTP/1.1 200 OK\r\nX-Flood: " + blanks())},
        {"interim replies first", "200", "PPPOO",
         framed("100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\nHTTP/1.1 200 OK")},
        {"interim reply, then the end", "error 2", "UUUUU", framed("100 Continue", fixed(""))},
        {"endless interim replies", "error 399", "UUUUU",
         bytes(QByteArray("HTTP/1.1 102 Processing\r\n\r\n").repeated(20'000))},
        {"no HTTP", "error 399", "UUUUU", bytes("SSH-2.0-OpenSSH\r\n")},
        {"status not a number", "error 399", "UUUUU", framed("abc OK")},
        {"redirect to another address", "302", "UUFUU", framed("302 Found" + location, fixed(""))},
        {"redirect for good", "308", "UUFUU", framed("308 Permanent" + location, fixed(""))},
    };
}

/// Every class of status, with the usual body and with none.
std::vector<Fault> statuses()
{
    struct Row
    {
        int status;
        const char* usual;
        const char* empty;
    };
    const Row rows[] = {{201, "PPPOU", "UUFUU"}, {203, "PPSOU", "UUSUU"}, {300, "PPPOU", "UUFUU"},
                        {400, "PPPOU", "UUFUU"}, {401, "PPPOU", "UUFUU"}, {402, "PPPOU", "UUFUU"},
                        {403, "PPUOU", "UUUUU"}, {404, "PPUOU", "UUUUU"}, {405, "PPPOU", "UUFUU"},
                        {429, "PPSOU", "UUSUU"}, {499, "PPPOU", "UUFUU"}, {500, "PPSOU", "UUSUU"},
                        {503, "PPSOU", "UUSUU"}, {599, "PPSOU", "UUSUU"}, {600, "PPPOU", "UUFUU"}};
    std::vector<Fault> faults;
    for (const Row& row : rows) {
        const std::string number = std::to_string(row.status);
        const QByteArray head = QByteArray::number(row.status) + " X\r\nContent-Length: %1";
        faults.push_back({number + " with the usual body", number, row.usual, framed(head)});
        faults.push_back({number + " without a body", number, row.empty, framed(head, fixed(""))});
    }
    faults.push_back({"500 with code 5000", "500", "UUSUU",
                      framed("500 X\r\nContent-Length: %1", fixed(R"({"code": 5000})"))});
    faults.push_back({"204", "204", "UUFUU", bytes("HTTP/1.1 204 No Content\r\n\r\n")});
    return faults;
}

std::vector<Fault> json()
{
    const QByteArray wrong = R"("code":7,"codes":[],"hosts":[],"status":"sync_error","results":[])";
    const QByteArray deep = R"("x":)" + QByteArray(100'000, '[') + QByteArray(100'000, ']');
    const QByteArrayList types =
        QByteArray(R"(null|true|7|-1.5|1e300|"text"|""|[]|[[]]|{}|[null, 7, "x", {}])").split('|');
    return {
        {"empty body", "200", "UUFUN", body(fixed(""))},
        {"object cut", "200", "UUFUN", body([](const QByteArray& text) { return text.chopped(1); })},
        {"object in an array", "200", "UUFUN", body([](const QByteArray& text) { return "[" + text + "]"; })},
        {"bytes behind the object", "200", "UUFUN", body([](const QByteArray& text) { return text + "x"; })},
        {"page of HTML", "200", "UUFUN", body(fixed("<html></html>"))},
        {"byte-order mark", "200", "PPPOO",
         body([](const QByteArray& text) { return "\xEF\xBB\xBF" + text; })},
        {"nested 100,000 deep", "200", "UUFUN", body(before(deep))},
        {"invalid UTF-8 in a text", "200", "UUFUN", body(before("\"x\":\"\xff\xfe\""))},
        {"invalid UTF-8 in a key", "200", "UUFUN", body(before("\"\xc0\x80\":1"))},
        {"lone surrogate", "200", "PPPOO", body(before(R"("x":"\ud800")"))},
        {"duplicate keys, the last one right", "200", "PPPOO", body(before(wrong))},
        {"duplicate keys, the last one wrong", "200", "UUFUN", body(behind(wrong))},
        {"\"hosts\" of a wrong type", "200", "U----", filled(R"({"hosts": %1})", types)},
        {"\"host\" of a wrong type", "200", "U----", filled(R"({"hosts": [{"host": %1}]})", types)},
        {"\"host\" no address", "200", "U----",
         filled(R"({"hosts": [{"host": "%1"}]})",
                {"http://", ":::", "ftp://127.0.0.1", "\\u0000", "http://%zz"})},
        {"\"code\" missing or not 0", "200", "-U---", filled("{%1}", {"", R"("code": 1)", R"("code": -1)"})},
        {"\"code\" of a wrong type", "200", "-P---",
         filled(R"({"code": %1})", {"null", "true", "\"7\"", "[]", "{}", "0.5", "1e300", "4294967296"})},
        {"\"code\", \"description\" of a wrong type", "200", "--P--",
         filled(R"({"code": %1, "description": %1, "codes": [{"cis": "RU-0"}]})", types)},
        {"\"reqId\" to \"version\" of a wrong type", "200", "--P--",
         filled(R"({"reqId": %1, "reqTimestamp": %1, "inst": %1, "version": %1, "codes": [{"cis": "RU-0"}]})",
                types)},
        {"\"codes\" of a wrong type", "200", "--F--", filled(R"({"codes": %1})", types)},
        {"\"status\" of a wrong type", "200", "---U-", filled(R"({"status": %1})", types)},
        {"\"status\" of another value", "200", "---U-",
         filled(R"({"status": "%1"})",
                {"", "Ready", "ready ", "initialization", "not_configured", "sync_error"})},
        {"\"results\" of a wrong type", "200", "----N", filled(R"({"results": %1})", types)},
        {"\"results\", \"codes\" of a wrong type", "200", "----N",
         filled(R"({"results": [{"codes": %1}]})", types)},
    };
}

}  // namespace

std::string caFile()
{
    return certificates().caFile();
}

boost::asio::ssl::context& goodTls()
{
    return certificates().context(Certificate::Good);
}

std::vector<Faults> allFaults()
{
    return {{"Connection", connecting()}, {"Encryption", encryption()}, {"Timing", timing()},
            {"Framing", framing()},       {"Status", statuses()},       {"Json", json()}};
}
