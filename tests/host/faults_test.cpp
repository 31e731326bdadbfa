// What the client makes of each fault of a server, over real sockets. What comes of a sale then follows from
// the class of the reply: tests/result, tests/crpt, tests/model and tests/lmchz.
#include <atomic>

#include <dlfcn.h>
#include <netdb.h>

#include "tests/doubles/printers.h"
#include "tests/doubles/settings.h"
#include "tests/support/marksim.h"
#include <network/restclient.h>

namespace {

using namespace std::chrono_literals;

const QByteArray usual = R"({"code":0,"description":"ok"})";

/// Ways in which the server behaves, each of them an exchange of its own.
struct Behaviours : std::vector<QJsonObject>
{
    using vector::vector;
    Behaviours(const char* one)
        : vector{QJsonDocument::fromJson(one).object()}
    {
    }
    Behaviours(const QJsonObject& one)
        : vector{one}
    {
    }
};

struct Fault
{
    const char* name;
    /// The status if one came, how the exchange ended if the reply is not complete, "read" if it held the
    /// object.
    const char* seen;
    Behaviours behaviours;
    std::chrono::milliseconds limit{};  // zero for one that suits what is seen
};

/// All bytes of a reply, then the end of the connection.
QJsonObject raw(const QByteArray& whole)
{
    return {{"rawBase64", QString(whole.toBase64())}};
}

/// A head, in which %1 stands for the length of the body.
QByteArray framed(const QByteArray& head, const QByteArray& body = usual)
{
    return "HTTP/1.1 " + QByteArray(head).replace("%1", QByteArray::number(body.size())) + "\r\n\r\n" + body;
}

/// The usual reply, ended after each byte of its status line, or of what follows but the last.
Behaviours cutEverywhere(bool isBehindStatus, const char* ending)
{
    const QByteArray whole = framed("200 OK\r\nContent-Length: %1");
    const qsizetype line = whole.indexOf('\n') + 1;
    Behaviours behaviours;
    for (qsizetype size = isBehindStatus ? line : 0; size < (isBehindStatus ? whole.size() : line); ++size) {
        behaviours.push_back(raw(whole));
        behaviours.back()["cut"] = QJsonObject{{"after", size}, {"by", ending}};
    }
    return behaviours;
}

QString seenIn(const http::Response& response)
{
    QStringList seen;
    if (response.status() != 0) {
        seen << QString::number(response.status());
    }
    if (response.isTimeout()) {
        seen << "time-out";
    } else if (response.isNetworkError()) {
        seen << "error " + QString::number(int(response.networkError()));
    }
    if (response.responseObject()["code"] == 0) {
        seen << "read";
    }
    return seen.join(", ");
}

/// A stand whose only site shows the faults.
class FaultySite : public testing::Test
{
protected:
    explicit FaultySite(const std::string& arguments = {})
        : stand(MarkSim::startApart(arguments))
    {
        settings.set("Network:caFile", stand.ready()["caFile"].toString());
    }

    void expectSeen(const std::vector<Fault>& faults) const
    {
        for (const Fault& fault : faults) {
            for (const QJsonObject& behaviour : fault.behaviours) {
                stand.behave("site-1", behaviour);
                const bool isLate = QByteArray(fault.seen).contains("time-out");
                RestClient client;
                client.setTimeout(fault.limit > 0ms ? fault.limit : isLate ? 20ms : 20s);
                const http::Response response =
                    client.get(QUrl(stand.url("site-1") + "/api/v4/true-api/cdn/health/check"), {},
                               {{"X-API-KEY", stand.key()}});
                EXPECT_EQ(seenIn(response), QString(fault.seen))
                    << fault.name << toJson(behaviour).left(300).data();
                EXPECT_LE(response.body().size(), 16 << 20);
            }
        }
    }

    const MarkSim stand;
    Settings settings;
};

class FaultyEncryptedSite : public FaultySite
{
protected:
    FaultyEncryptedSite()
        : FaultySite("--tls")
    {
    }
};

TEST_F(FaultySite, EndsTheConnectionOrTheReply)
{
    expectSeen({
        {"refused", "error 1", R"({"connect": "refuse"})"},
        {"unanswered (full queue)", "time-out", R"({"connect": "unanswered"})"},
        {"reset on request", "error 2", R"({"connect": "reset"})"},
        {"closed on request", "error 2", R"({"connect": "close"})"},
        {"silent on request", "time-out", R"({"connect": "silent"})"},
        {"TLS where HTTP is spoken", "error 399", raw(QByteArray("\x15\x03\x03\0\2\2\x28", 7))},
        {"ended at every byte of the status line", "error 2", cutEverywhere(false, "close")},
        {"ended at every byte behind it", "200, error 2", cutEverywhere(true, "close")},
        {"reset at every byte of the status line", "error 2", cutEverywhere(false, "reset")},
        {"reset at every byte behind it", "200, error 2", cutEverywhere(true, "reset")},
        {"silent from every byte of the status line", "time-out", cutEverywhere(false, "stall")},
        {"silent from every byte behind it", "200, time-out", cutEverywhere(true, "stall")},
        {"a byte each ms, in time", "200, read", R"({"drip": {"bytes": 1, "everyMs": 1}})"},
        {"a byte each 5 ms, too late", "200, time-out",
         R"({"drip": {"bytes": 1, "everyMs": 5}, "padMegabytes": 1})", 500ms},
        {"401, then silence", "401, time-out", R"({"status": 401, "cut": {"after": "head", "by": "stall"}})",
         500ms},
        {"500, then cut", "500, error 2", R"({"status": 500, "cut": {"after": "head"}})"},
    });
}

TEST_F(FaultyEncryptedSite, IsNotTrustedOrBreaksOff)
{
    expectSeen({
        {"good certificate", "200, read", R"({"certificate": "good"})"},
        {"of another host", "error 6", R"({"certificate": "wrong-host"})"},
        {"expired", "error 6", R"({"certificate": "expired"})"},
        {"self-signed", "error 6", R"({"certificate": "self-signed"})"},
        {"handshake closed", "error 6", R"({"connect": "close"})"},
        {"handshake reset", "error 6", R"({"connect": "reset"})"},
        {"handshake without an answer", "time-out", R"({"connect": "silent"})"},
        {"length too long", "200, error 2, read", R"({"framing": "long-length"})"},
        {"body ended by closing", "200, read", R"({"framing": "until-close"})"},
    });
}

QJsonObject deflated(qsizetype missing)
{
    return raw(framed("200 OK\r\nContent-Length: %1\r\nContent-Encoding: deflate",
                      qCompress(usual, 1).mid(4).chopped(missing)));
}

TEST_F(FaultySite, FramesItsBodyBadly)
{
    const QByteArray chunk = "\r\n\r\n" + QByteArray::number(usual.size(), 16);
    const auto chunks = [&](const QByteArray& body) {
        return raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked" + body);
    };
    expectSeen({
        {"length too short", "200", R"({"framing": "short-length"})"},
        {"length too long", "200, error 2, read", R"({"framing": "long-length"})"},
        {"length negative", "200, error 399", raw(framed("200 OK\r\nContent-Length: -5"))},
        {"length not a number", "200, error 399", raw(framed("200 OK\r\nContent-Length: ten"))},
        {"no length, ended by closing", "200, read", R"({"framing": "until-close"})"},
        {"chunks with extension and trailer", "200, read",
         chunks(chunk + ";x=y\r\n" + usual + "\r\n0\r\nX-T: 1\r\n\r\n")},
        {"chunk size not a number", "200, error 2", R"({"framing": "bad-chunks"})"},
        {"chunk size out of range", "200, error 2", chunks("\r\n\r\nfffffffffffffffff\r\n" + usual)},
        {"chunk longer than announced", "200, error 2, read",
         chunks(chunk + "\r\n" + usual + "junk\r\n0\r\n\r\n")},
        {"last chunk missing", "200, error 2, read", chunks(chunk + "\r\n" + usual + "\r\n")},
        {"deflate", "200, read", deflated(0)},
        {"deflate cut short", "200", deflated(9)},
        {"gzip that is none", "200, error 399", R"({"encoding": "lying-gzip"})"},
        {"unknown encoding", "200, error 399", raw(framed("200 OK\r\nContent-Encoding: rot13"))},
        {"bomb of 100 MiB", "200, error 5", R"({"encoding": "gzip", "padMegabytes": 100})"},
        {"100 MiB of body", "200, error 5", R"({"padMegabytes": 100})"},
        {"100 MiB without a length", "200, error 5", R"({"framing": "until-close", "padMegabytes": 100})"},
        {"15 MiB in a member of the object", "200, read", R"({"padMegabytes": 15})"},
    });
}

TEST_F(FaultySite, BeginsItsReplyBadly)
{
    const QByteArray filler = QByteArray("\r\nX-Filler: 0123456789abcdef").repeated(20'000);
    const QByteArray hints = "100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\nHTTP/1.1 200 OK";
    expectSeen({
        {"no HTTP", "error 399", raw("SSH-2.0-OpenSSH\r\n")},
        {"HTTP/1.0 without headers", "200, read", raw("HTTP/1.0 200 OK\r\n\r\n" + usual)},
        {"status not a number", "error 399", raw(framed("abc OK"))},
        {"status beyond all classes", "600, read", raw(framed("600 X\r\nContent-Length: %1"))},
        {"no content", "204", raw("HTTP/1.1 204 No Content\r\n\r\n")},
        {"redirect is not followed", "302",
         raw(framed("302 Found\r\nLocation: /x\r\nContent-Length: 0", ""))},
        {"endless head", "200, error 5", raw("HTTP/1.1 200 OK" + filler)},
        {"endless line", "200, error 99", raw("HTTP/1.1 200 OK\r\nX-Flood: " + QByteArray(1 << 20, ' '))},
        {"interim replies first", "200, read", raw(framed(hints))},
        {"interim reply, then half a head", "200, error 2",
         raw(framed("100 Continue\r\n\r\nHTTP/1.1 200 OK", "").chopped(2))},
        {"interim reply, then the end", "error 2", raw(framed("100 Continue", ""))},
        {"endless interim replies", "error 5",
         raw(QByteArray("HTTP/1.1 102 Processing\r\n\r\n").repeated(20'000))},
    });
}

TEST(Body, IsReadWhenAllOfItIsOneObject)
{
    const QByteArray wrong = R"("code":7)", right = R"("code":0)";
    const std::pair<QByteArray, bool> cases[] = {
        {"", false},
        {"{" + right, false},
        {"[{" + right + "}]", false},
        {"{" + right + "}x", false},
        {"<html></html>", false},
        {"\xEF\xBB\xBF{" + right + "}", true},
        {R"({"x":)" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + "," + right + "}", false},
        {"{\"x\":\"\xff\xfe\"," + right + "}", false},
        {"{\"\xc0\x80\":1," + right + "}", false},
        {R"({"x":"\ud800",)" + right + "}", true},
        {"{" + wrong + "," + right + "}", true},
        {"{" + right + "," + wrong + "}", false}};
    for (const auto& [body, isRead] : cases) {
        http::Response response;
        response.setBody(body);
        EXPECT_EQ(seenIn(response) == "read", isRead) << body.left(100).data();
    }
}

std::atomic<bool> isNameServerSilent = false;

TEST(Name, ThatIsNotFoundIsAnErrorAndALookUpWithoutAnAnswerATimeout)
{
    RestClient client;
    EXPECT_EQ(seenIn(client.get(QUrl("http://unknown.test/"), {}, {})), QString("error 3"));
    isNameServerSilent = true;
    client.setTimeout(20ms);
    EXPECT_EQ(seenIn(client.get(QUrl("http://slow.test/"), {}, {})), QString("time-out"));
    isNameServerSilent = false;
    isNameServerSilent.notify_all();
}

}  // namespace

/// Stands before the C library's function of that name, also for libcurl.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result)
{
    static const auto next = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (qstrcmp(name, "unknown.test") == 0) {
        return EAI_NONAME;
    }
    if (qstrcmp(name, "slow.test") == 0) {
        isNameServerSilent.wait(true);
        return EAI_AGAIN;
    }
    return next(name, service, hints, result);
}
