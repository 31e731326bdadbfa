#include "httpclient.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// A file of this content that lives as long as the object.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& content)
    {
        QFile file(QString::fromStdString(path()));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray::fromStdString(content));
    }
    [[nodiscard]] std::string path() const { return folder_.filePath(u"file.json"_s).toStdString(); }

private:
    QTemporaryDir folder_;
};

/// Exactly one line, with `reason` in it, on standard error; status 2; nothing on standard output.
void expectRefusal(const std::vector<std::string>& arguments, const std::string& reason)
{
    StandProcess stand(arguments);
    EXPECT_EQ(stand.exitStatus(), 2) << reason;
    EXPECT_TRUE(stand.ready().isEmpty());
    EXPECT_EQ(stand.restOfOutput(), "");
    const auto said = stand.errors();
    EXPECT_TRUE(said.starts_with("marksim: ")) << said;
    EXPECT_EQ(said.find('\n'), said.size() - 1) << said;
    EXPECT_NE(said.find(reason), std::string::npos) << "said: " << said << "not: " << reason;
}

QStringList schemaKeys(const QStringList& path)
{
    QFile file(QStringLiteral(SCHEMA_FILE));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    auto node = toObject(file.readAll().toStdString());
    for (const auto& step : path)
        node = node[step].toObject();
    auto keys = node["properties"_L1].toObject().keys();
    keys.sort();
    return keys;
}

/// The keys that the program names when it is given one that it does not know.
QStringList keysNamedIn(const std::string& message)
{
    auto keys = QString::fromStdString(message).section(u"known keys: "_s, 1).trimmed().split(u", "_s);
    keys.sort();
    return keys;
}

}  // namespace

TEST(Scenario, AWrongFileIsRefusedInOneLine)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "line 1: this is not JSON"},
        {"{\n\"sites\": 2,\n}", "line 3: this is not JSON"},
        {"[]", ": must be an object"},
        {R"({"site": 2})", "unknown key \"site\"; known keys: description, "},
        {R"({"sites": "2"})", ".sites: must be a whole number from 0 to 100"},
        {R"({"operators": 0})", ".operators: must be a whole number from 1 to 100"},
        {R"({"keys": "k"})", ".keys: must be an array"},
        {R"({"goods": [{"code": ""}]})", ".goods[0].code: must be the text of a marking code"},
        {R"({"servers": {"shop-1": {}}})", "\"shop-1\" is no server"},
        {R"({"servers": {"site-4": {}}})", ".servers.site-4: there is no such server"},
        {R"({"servers": {"site-1": {"state": "ready"}}})", ".servers.site-1: unknown key \"state\""},
        {R"({"servers": {"sites": {"port": 1}}})",
         ".servers.sites: unknown key \"port\"; known keys: behaviours"},
        {R"({"servers": {"site-1": {"behaviours": [{"status": 1}]}}})",
         ".servers.site-1.behaviours[0].status: must be a whole number"},
        {R"({"servers": {"module-1": {"state": "idle"}}})", "\"idle\" is not one of not_configured, "},
        {R"({"servers": {"site-1": {"prefix": "shop/"}}})", ".prefix: must be a path such as \"/shop\""},
    };
    for (const auto& [content, reason] : cases) {
        const TemporaryFile file(content);
        expectRefusal({"--scenario", file.path()}, file.path());
        expectRefusal({"--scenario", file.path()}, reason);
    }
    expectRefusal({"--scenario", "/nowhere/file.json"}, "/nowhere/file.json: cannot be read");
}

TEST(CommandLine, WrongInputIsRefusedInOneLine)
{
    const StandProcess other;
    const auto port = other.admin().substr(other.admin().rfind(':') + 1);
    const TemporaryFile scenario(R"({"servers": {"site-2": {"port": )" + port + "}}}");
    const TemporaryFile goods(R"({"goods": [{"code": "x", "price": 1}]})");
    expectRefusal({"--sights", "3"}, "--sights");
    expectRefusal({"--sites", "many"}, "--sites");
    expectRefusal({"--sites", "101"}, "--sites");
    expectRefusal({"--bind", "localhost"}, "\"localhost\" is not an IP address");
    expectRefusal({"--admin-port", "65536"}, "--admin-port");
    expectRefusal({"--log-level", "loud"}, "--log-level");
    expectRefusal({"--goods", "/nowhere"}, "/nowhere: cannot be read");
    expectRefusal({"--goods", goods.path()}, ".goods[0]: unknown key \"price\"");
    expectRefusal({"--admin-port", port}, "admin port: port " + port + " on 127.0.0.1 cannot be had");
    expectRefusal({"--tls", "--scenario", scenario.path()}, "site-2: port " + port);
    expectRefusal({"--bind", "203.0.113.1"}, "operator-1: port 0 on 203.0.113.1 cannot be had");
}

TEST(CommandLine, HelpAndVersionAreGivenOnStandardOutput)
{
    StandProcess version({"--version"});
    EXPECT_EQ(version.exitStatus(), 0);
    StandProcess help({"--help"});
    EXPECT_EQ(help.exitStatus(), 0);
    EXPECT_NE(help.restOfOutput().find("--die-with-parent"), std::string::npos);
}

TEST(Scenario, SetsUpServersKeysGoodsAndModules)
{
    const TemporaryFile file(R"({
        "description": "two operators, one of which lists a site under its address and one that is dead",
        "operators": 2, "sites": 2, "modules": 2, "keys": ["k1", "k2"],
        "goods": [{"code": "X-1", "online": {"sold": true}}],
        "servers": {
            "operator-1": {"lists": ["site-2", "http://127.0.0.1:1", ""], "keys": ["only-here"]},
            "site-2": {"prefix": "/shop", "behaviours": {"status": 500, "method": "check", "times": 1}},
            "module-2": {"user": "u", "password": "p", "state": "sync_error", "readyAfterMs": 5,
                         "goods": [{"code": "X-1", "offline": {"isBlocked": true}}]}}})");
    const StandProcess stand({"--scenario", file.path(), "--sites", "3"});
    StandClient client(stand);
    EXPECT_EQ(stand.ready()["sites"_L1].toArray().size(), 3) << "the command line comes first";
    const auto info = "/api/v4/true-api/cdn/info";
    EXPECT_EQ(client.get(stand.url("operator-1") + info, client.keyHeader()).status, 401);
    const auto hosts =
        client.get(stand.url("operator-1") + info, {"X-API-KEY: only-here"}).object()["hosts"_L1];
    EXPECT_EQ(hosts[0]["host"_L1].toString().toStdString(), stand.url("site-2"));
    EXPECT_TRUE(stand.url("site-2").ends_with("/shop"));
    EXPECT_EQ(hosts[1]["host"_L1].toString(), u"http://127.0.0.1:1"_s);
    EXPECT_EQ(hosts[2]["host"_L1].toString(), u""_s);
    EXPECT_EQ(client.check({}, "site-2").status, 500);
    EXPECT_TRUE(client.check({u"X-1"_s}, "site-2").object()["codes"_L1][0]["sold"_L1].toBool());
    const auto module = client.admin("GET", "/modules/module-2").object();
    EXPECT_EQ(module, (QJsonObject{{"state"_L1, u"sync_error"_s},
                                   {"readyAfterMs"_L1, 5},
                                   {"user"_L1, u"u"_s},
                                   {"password"_L1, u"p"_s},
                                   {"token"_L1, u"k2"_s},
                                   {"greyList"_L1, QJsonValue()}}));
    EXPECT_EQ(client.admin("PUT", "/modules/module-2", R"({"state": "ready"})").status, 200);
    const auto reply = client.send("POST", stand.url("module-2") + "/api/v2/cis/outCheck",
                                   R"({"cis_list":[{"cis":"X-1"}]})", {"Authorization: Basic dTpw"});
    EXPECT_TRUE(reply.object()["results"_L1][0]["codes"_L1][0]["isBlocked"_L1].toBool()) << reply.body;
}

/// The published schema and the program must know the same keys.
TEST(Schema, NamesTheKeysThatTheProgramKnows)
{
    const StandProcess stand;
    StandClient client(stand);
    const auto known = [&client](const std::string& path, const std::string& body) {
        return keysNamedIn(client.admin("PUT", path, body).object()["error"_L1].toString().toStdString());
    };
    const QString definitions = u"$defs"_s;
    EXPECT_EQ(schemaKeys({}), known("/scenario", R"({"?": 1})"));
    EXPECT_EQ(schemaKeys({definitions, u"behaviour"_s}), known("/behaviours/all", R"({"?": 1})"));
    EXPECT_EQ(schemaKeys({definitions, u"cut"_s}),
              known("/behaviours/all", R"({"cut": {"after": 1, "?": 1}})"));
    EXPECT_EQ(schemaKeys({definitions, u"drip"_s}), known("/behaviours/all", R"({"drip": {"?": 1}})"));
    EXPECT_EQ(schemaKeys({definitions, u"answers"_s}), known("/behaviours/all", R"({"answers": {"?": 1}})"));
    EXPECT_EQ(schemaKeys({definitions, u"good"_s}), known("/goods/x", R"({"?": 1})"));
    for (const auto* kind : {"operator", "site", "module"}) {
        const auto body = std::string(R"({"servers": {")") + kind + R"(-1": {"?": 1}}})";
        EXPECT_EQ(schemaKeys({definitions, QString::fromLatin1(kind)}), known("/scenario", body)) << kind;
    }
    EXPECT_EQ(schemaKeys({definitions, u"group"_s}), known("/scenario", R"({"servers": {"all": {"?": 1}}})"));
}
