#include <QTemporaryFile>
#include <tuple>

#include "tests/stand/standtest.h"

namespace {

/// A file of this content that lives as long as the object.
class TextFile : public QTemporaryFile
{
public:
    explicit TextFile(const QByteArray& content)
    {
        EXPECT_TRUE(open() && write(content) == content.size() && flush());
    }
};

/// Exactly one line, with this in it, on standard error; status 2; nothing on standard output.
void expectRefusal(const QStringList& arguments, const QString& reason, const char* redirection = "")
{
    const QString command = QString("exec \"$0\" \"$@\" ") + redirection;
    const ProcessOutcome outcome =
        runProcess("/bin/bash", QStringList{"-c", command, MARKSIM_PATH} + arguments);
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_TRUE(outcome.errors.startsWith("marksim: ")) << outcome.errors.data();
    EXPECT_EQ(outcome.errors.indexOf('\n'), outcome.errors.size() - 1) << outcome.errors.data();
    EXPECT_TRUE(outcome.errors.contains(reason.toUtf8())) << outcome.errors.data() << reason.toStdString();
}

}  // namespace

TEST(Scenario, AWrongFileIsRefusedInOneLine)
{
    const std::pair<const char*, const char*> cases[] = {
        {"{\n\"sites\": 2,\n}", ": line 3: this is not JSON"},
        {R"({"site": 2})", ": unknown key \"site\"; known keys: $schema, description, "},
        {R"({"sites": "2"})", ".sites: must be a whole number from 0 to 100"},
        {R"({"goods": [{"code": ""}]})", ".goods[0].code: must be the text of a marking code"},
        {R"({"servers": {"site-4": {}}})", ".servers.site-4: there is no such server"},
        {R"({"servers": {"site-1": {"behaviours": [{"status": 1}]}}})",
         ".servers.site-1.behaviours[0].status: must"},
        {R"({"servers": {"site-1": {"prefix": "shop/"}}})", ".servers.site-1.prefix: must be a path"},
    };
    for (const auto& [content, reason] : cases) {
        const TextFile file(content);
        expectRefusal({"--scenario", file.fileName()}, file.fileName() + reason);
    }
}

TEST(CommandLine, WrongInputIsRefusedInOneLine)
{
    const MarkSim other;
    const QString port = other.ready()["admin"].toString().section(':', -1);
    const TextFile scenario(R"({"servers": {"site-2": {"port": )" + port.toUtf8() + "}}}");
    const TextFile goods(R"({"goods": [{"code": "x", "price": 1}]})");
    const std::pair<QStringList, QString> cases[] = {
        {{"--sights", "3"}, "--sights"},
        {{"--bind", "localhost"}, "\"localhost\" is not an IP address"},
        {{"--public-address", "http://stand"}, "\"http://stand\" is not a host name or an address"},
        {{"--public-address", "0.0.0.0"}, "\"0.0.0.0\" is not a host name or an address"},
        {{"--goods", goods.fileName()}, ".goods[0]: unknown key \"price\""},
        {{"--admin-port", port}, "admin port: port " + port + " on 127.0.0.1 cannot be had"},
        {{"--tls", "--scenario", scenario.fileName()}, "site-2: port " + port},
    };
    for (const auto& [arguments, reason] : cases)
        expectRefusal(arguments, reason);
    for (const char* output : {">/dev/full", ">&-"})
        expectRefusal({}, "standard output: the ready line cannot be written", output);
}

TEST(Scenario, SetsUpServersKeysGoodsAndModules)
{
    const TextFile file(R"({
        "operators": 2, "sites": 2, "modules": 2, "keys": ["k1", "k2"],
        "goods": [{"code": "X-1", "online": {"sold": true}}],
        "servers": {
            "operator-1": {"lists": ["site-2", "http://127.0.0.1:1", ""], "keys": ["only-here"]},
            "site-2": {"prefix": "/shop", "behaviours": {"status": 500, "times": 1}},
            "sites": {"behaviours": [{"method": "health", "status": 502}]},
            "module-2": {"user": "u", "password": "p", "state": "sync_error"}}})");
    const MarkSim stand({"--scenario", file.fileName(), "--sites", "3"});
    const StandClient client(stand);
    EXPECT_EQ(stand.ready()["sites"].toArray().size(), 3) << "the command line comes first";
    EXPECT_TRUE(stand.url("site-2").endsWith("/shop"));
    EXPECT_EQ(client.health("site-2").status, 500);
    EXPECT_EQ(client.health("site-2").status, 502);
    EXPECT_EQ(client.entry("X-1")["sold"], true);

    const auto ask = [&](const QString& server, const char* path, const QString& header) {
        return client.send("GET", stand.url(server) + path, {}, {header}).json();
    };
    const char* const list = "/api/v4/true-api/cdn/info";
    const QJsonArray hosts = ask("operator-1", list, "X-API-KEY: only-here")["hosts"].toArray();
    EXPECT_EQ(hosts[0]["host"], stand.url("site-2"));
    EXPECT_EQ(hosts[1]["host"], "http://127.0.0.1:1");
    EXPECT_TRUE(ask("operator-1", list, "X-API-KEY: k1")["hosts"].isUndefined());
    EXPECT_EQ(ask("operator-2", list, "X-API-KEY: k2")["hosts"].toArray().size(), 3);
    EXPECT_EQ(ask("module-2", "/api/v2/status", "Authorization: Basic dTpw")["status"], "sync_error");
    EXPECT_EQ(stand.module(2)["token"], "k2");
}

TEST(Scenario, IsTakenByTheNameOfAShippedOne)
{
    const MarkSim stand({"--scenario", "blackout"});
    EXPECT_EQ(stand.admin("GET", "/state")["scenario"], "blackout");
    EXPECT_EQ(StandClient(stand).health().result, CURLE_COULDNT_CONNECT);
    stand.admin("POST", "/reset");
    EXPECT_EQ(stand.admin("GET", "/state")["scenario"], "blackout");
    expectRefusal({"--scenario", "blackot"},
                  "blackot: there is no such file, and no such scenario is shipped; those are bad-token");
}
