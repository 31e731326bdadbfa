#include "faulttable.h"

#include <QJsonDocument>

using namespace std::chrono_literals;
using Behaviours = std::vector<QJsonObject>;
using Maker = std::function<Behaviours(const QByteArray&)>;
using Text = std::function<QByteArray(const QByteArray&)>;

namespace {

QByteArray same(const QByteArray& body)
{
    return body;
}

Text fixed(const QByteArray& body)
{
    return [=](const QByteArray&) { return body; };
}

/// A behaviour of the stand, whatever the usual body.
Maker behaviour(const char* json)
{
    return [=](const QByteArray&) -> Behaviours { return {QJsonDocument::fromJson(json).object()}; };
}

/// All bytes of a reply, then the end of the connection.
QJsonObject raw(const QByteArray& whole)
{
    return {{"rawBase64", QString(whole.toBase64())}};
}

Maker bytes(const QByteArray& whole)
{
    return [=](const QByteArray&) -> Behaviours { return {raw(whole)}; };
}

/// A head, in which %1 stands for the length, and what becomes of the usual body.
QByteArray filled(const QByteArray& head, const QByteArray& body)
{
    return "HTTP/1.1 " + QByteArray(head).replace("%1", QByteArray::number(body.size())) + "\r\n\r\n" + body;
}

Maker framed(const QByteArray& head, const Text& text = same)
{
    return [=](const QByteArray& usual) -> Behaviours { return {raw(filled(head, text(usual)))}; };
}

const QByteArray ok = "200 OK\r\nContent-Length: %1";

Maker body(const Text& text)
{
    return framed(ok, text);
}

/// The usual reply, ended after each of its bytes: those of its head, or those of its body but the last.
Maker cutEverywhere(bool inBody, const char* ending)
{
    return [=](const QByteArray& usual) {
        const QByteArray whole = filled(ok, usual);
        const qsizetype head = whole.size() - usual.size();
        Behaviours behaviours;
        for (qsizetype size = inBody ? head : 0; size < (inBody ? whole.size() : head); ++size) {
            behaviours.push_back(raw(whole));
            behaviours.back()["cut"] = QJsonObject{{"after", size}, {"by", ending}};
        }
        return behaviours;
    };
}

/// Bodies made of one text, in which %1 stands for each of the values in turn.
Maker bodies(const QByteArray& text, const QByteArrayList& values)
{
    return [=](const QByteArray&) {
        Behaviours behaviours;
        for (const QByteArray& value : values) {
            behaviours.push_back(raw(filled(ok, QByteArray(text).replace("%1", value))));
        }
        return behaviours;
    };
}

QByteArray deflated(const QByteArray& text)
{
    return qCompress(text, 1).mid(4);
}

/// A text in front of the first, or behind the last member of an object.
Text before(const QByteArray& members)
{
    return [=](const QByteArray& usual) { return "{" + members + "," + usual.mid(1); };
}
Text behind(const QByteArray& members)
{
    return [=](const QByteArray& usual) { return usual.chopped(1) + "," + members + "}"; };
}

std::vector<Fault> connecting()
{
    return {
        {"name not found", "error 3", "UUUUU", body(same), "http", "unknown.test"},
        {"name look-up without an answer", "time-out", "UUSUU", body(same), "http", "slow.test"},
        {"connection refused", "error 1", "UUUUU", behaviour(R"({"connect": "refuse"})")},
        {"connection unanswered (full queue)", "time-out", "UUSUU",
         behaviour(R"({"connect": "unanswered"})")},
        {"reset on request", "error 2", "UUUUU", behaviour(R"({"connect": "reset"})")},
        {"closed on request", "error 2", "UUUUU", behaviour(R"({"connect": "close"})")},
        {"silent on request", "time-out", "UUSUU", behaviour(R"({"connect": "silent"})")},
        {"TLS where HTTP is spoken", "error 399", "UUUUU", bytes(QByteArray("\x15\x03\x03\0\2\2\x28", 7))},
    };
}

std::vector<Fault> encryption()
{
    return {
        {"good certificate", "200", "PPPOO", behaviour(R"({"certificate": "good"})"), "https"},
        {"certificate of another host", "error 6", "UUUUU", behaviour(R"({"certificate": "wrong-host"})"),
         "https"},
        {"certificate expired", "error 6", "UUUUU", behaviour(R"({"certificate": "expired"})"), "https"},
        {"certificate self-signed", "error 6", "UUUUU", behaviour(R"({"certificate": "self-signed"})"),
         "https"},
        {"handshake closed", "error 6", "UUUUU", behaviour(R"({"connect": "close"})"), "https"},
        {"handshake reset", "error 6", "UUUUU", behaviour(R"({"connect": "reset"})"), "https"},
        {"handshake without an answer", "time-out", "UUSUU", behaviour(R"({"connect": "silent"})"), "https"},
        {"length too long under TLS", "error 2", "PPUOO", behaviour(R"({"framing": "long-length"})"),
         "https"},
        {"body ended by closing under TLS", "200", "PPPOO", behaviour(R"({"framing": "until-close"})"),
         "https"},
    };
}

std::vector<Fault> timing()
{
    return {
        {"ended at every byte of the head", "error 2", "UUUUU", cutEverywhere(false, "close")},
        {"ended at every byte of the body", "error 2", "UUUUU", cutEverywhere(true, "close")},
        {"reset at every byte of the head", "error 2", "UUUUU", cutEverywhere(false, "reset")},
        {"reset at every byte of the body", "error 2", "UUUUU", cutEverywhere(true, "reset")},
        {"silent from every byte of the head", "time-out", "UUSUU", cutEverywhere(false, "stall")},
        {"silent from every byte of the body", "time-out", "UUSUU", cutEverywhere(true, "stall")},
        {"a byte each millisecond, in time", "200", "PPPOO",
         behaviour(R"({"drip": {"bytes": 1, "everyMs": 1}})")},
        {"a byte each 5 ms in the body, too late", "time-out", "UUSUU",
         behaviour(R"({"drip": {"bytes": 1, "everyMs": 5}, "padMegabytes": 1})"), "http", "127.0.0.1", 500ms},
        {"401, then silence", "time-out", "UUFUU",
         behaviour(R"({"status": 401, "cut": {"after": "head", "by": "stall"}})"), "http", "127.0.0.1",
         500ms},
        {"500, then silence", "time-out", "UUSUU",
         behaviour(R"({"status": 500, "cut": {"after": "head", "by": "stall"}})"), "http", "127.0.0.1",
         500ms},
        {"500, then cut", "error 2", "UUSUU", behaviour(R"({"status": 500, "cut": {"after": "head"}})")},
    };
}

std::vector<Fault> framing()
{
    const QByteArray chunked = "200 OK\r\nTransfer-Encoding: chunked";
    const auto asChunk = [](const char* extension, const char* end) {
        return [=](const QByteArray& usual) {
            return QByteArray::number(usual.size(), 16) + extension + "\r\n" + usual + end;
        };
    };
    const auto in = [](const char* encoding) {
        return QByteArray("200 OK\r\nContent-Length: %1\r\nContent-Encoding: ") + encoding;
    };
    const QByteArray location = "\r\nLocation: /elsewhere\r\nContent-Length: %1";
    const Maker http10 = [](const QByteArray& usual) -> Behaviours {
        return {raw("HTTP/1.0 200 OK\r\n\r\n" + usual)};
    };
    const Text half = [](const QByteArray& text) { return deflated(text).chopped(9); };
    const QByteArray filler = QByteArray("\r\nX-Filler: 0123456789abcdef").repeated(20'000);
    return {
        {"length too short", "200", "UUFUN", behaviour(R"({"framing": "short-length"})")},
        {"length too long", "error 2", "PPUOO", behaviour(R"({"framing": "long-length"})")},
        {"length negative", "error 399", "UUUUU", framed("200 OK\r\nContent-Length: -5")},
        {"length not a number", "error 399", "UUUUU", framed("200 OK\r\nContent-Length: ten")},
        {"no length, ended by closing", "200", "PPPOO", behaviour(R"({"framing": "until-close"})")},
        {"HTTP/1.0 without headers", "200", "PPPOO", http10},
        {"chunks with extension and trailer", "200", "PPPOO",
         framed(chunked, asChunk(";x=y", "\r\n0\r\nX-T: 1\r\n\r\n"))},
        {"chunk size not a number", "error 2", "UUUUU", behaviour(R"({"framing": "bad-chunks"})")},
        {"chunk size out of range", "error 2", "UUUUU", framed(chunked + "\r\n\r\nfffffffffffffffff")},
        {"chunk longer than announced", "error 2", "PPUOO",
         framed(chunked, asChunk("", "junk\r\n0\r\n\r\n"))},
        {"last chunk missing", "error 2", "PPUOO", framed(chunked, asChunk("", "\r\n"))},
        {"deflate", "200", "PPPOO", framed(in("deflate"), deflated)},
        {"deflate cut short", "200", "UUFUN", framed(in("deflate"), half)},
        {"gzip that is none", "error 399", "UUUUU", behaviour(R"({"encoding": "lying-gzip"})")},
        {"unknown encoding", "error 399", "UUUUU", framed(in("rot13"))},
        {"decompression bomb of 100 MiB", "error 5", "UUFUU",
         behaviour(R"({"encoding": "gzip", "padMegabytes": 100})")},
        {"100 MiB of body", "error 5", "UUFUU", behaviour(R"({"padMegabytes": 100})")},
        {"100 MiB of body without a length", "error 5", "UUFUU",
         behaviour(R"({"framing": "until-close", "padMegabytes": 100})")},
        {"15 MiB in a member of the object", "200", "PPPOO", behaviour(R"({"padMegabytes": 15})")},
        {"endless head", "error 5", "UUFUU", bytes("HTTP/1.1 200 OK" + filler)},
        {"endless line in the head", "error 99", "UUUUU",
         bytes("HTTP/1.1 200 OK\r\nX-Flood: " + QByteArray(1 << 20, ' '))},
        {"interim replies first", "200", "PPPOO",
         framed("100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\nHTTP/1.1 200 OK")},
        {"interim reply, then the end", "error 2", "UUUUU", framed("100 Continue", fixed(""))},
        {"endless interim replies", "error 5", "UUFUU",
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

/// Wrong types in an online reply are in the schedules of tests/model, those of a code's fields in
/// tests/result.
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
        {"\"host\" no address", "200", "U----",
         bodies(R"({"hosts": [{"host": "%1"}]})",
                {"http://", ":::", "ftp://127.0.0.1", "\\u0000", "http://%zz"})},
        {"\"status\" of a wrong type", "200", "---U-", bodies(R"({"status": %1})", types)},
        {"\"results\" of a wrong type", "200", "----N", bodies(R"({"results": %1})", types)},
        {"\"results\", \"codes\" of a wrong type", "200", "----N",
         bodies(R"({"results": [{"codes": %1}]})", types)},
    };
}

}  // namespace

std::vector<Faults> allFaults()
{
    return {{"Connection", connecting()}, {"Encryption", encryption()}, {"Timing", timing()},
            {"Framing", framing()},       {"Status", statuses()},       {"Json", json()}};
}
