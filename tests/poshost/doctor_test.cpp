#include "tests/poshost/poshostrun.h"

namespace {

/// What is not in order: "id subject", with the addresses of the stand by name.
QStringList troubles(const QJsonObject& report, const MarkSim& stand)
{
    QStringList list;
    for (const QJsonValue finding : report["findings"].toArray()) {
        if (finding["level"].toString() != "bad") {
            continue;
        }
        QString text = finding["id"].toString() + u' ' + finding["subject"].toString();
        for (const char* name : {"operator-1", "site-1", "site-2", "module-1"}) {
            text.replace(stand.url(name), name);
        }
        list.append(text);
        EXPECT_FALSE(finding["text"].toString().isEmpty()) << text.toStdString();
        EXPECT_FALSE(finding["advice"].toString().isEmpty()) << text.toStdString();
    }
    return list;
}

QJsonObject examine(const MarkSim& stand, const QByteArray& settings)
{
    const SettingsFile file(settings);
    const ProcessOutcome run = poshost({"--config", file.path(), "doctor", "--json"});
    const QJsonObject report = onlyObject(run.output);
    EXPECT_EQ(run.exitStatus, report["ok"].toBool() ? 0 : 1) << run.errors.toStdString();
    EXPECT_FALSE(run.output.contains(stand.key().toUtf8())) << "a key is shown in full";
    return report;
}

const char* const refusesKeys = R"({"method": "info", "status": 401})";
const char* const expired = R"({"certificate": "expired"})";
const char* const aheadOfTime = R"({"headers": {"Date": "Fri, 01 Jan 2100 00:00:00 GMT"}})";
const char* const ill = R"({"method": "health", "body": {"code": 5}})";
const char* const refuses = R"({"connect": "refuse"})";
const char* const portal = R"({"text": "<html>Log in</html>", "status": 200})";
const char* const large = R"({"padMegabytes": 17})";
const QString noSite = "no-healthy-site площадки";

struct Fault
{
    const char* server = nullptr;  ///< that behaves differently, and how
    const char* behaviour = nullptr;
    QByteArray replaced;  ///< in settings on which all is well, and what by
    QByteArray by;
    QStringList troubles;
};

}  // namespace

TEST(Doctor, NamesWhatIsWrongAndNothingElse)
{
    const MarkSim stand({"--sites", "2", "--tls"});
    const QByteArray good = settingsFor(stand) +
                            "[Network]\ncaFile = " + stand.ready()["caFile"].toString().toUtf8() +
                            "\n[CRPT]\ngetInfoTimeout = 5\n";
    const QByteArray key = stand.key().toUtf8();
    const QList<Fault> faults = {
        {},
        {{}, {}, "getInfoTimeout", "getInfoTimout", {"unknown-key [CRPT] getInfoTimout"}},
        {{}, {}, "password = admin", "password = other", {"credentials-refused [LMCHZ1] module-1"}},
        {{}, {}, "token = " + key, "token = 00000000-0000", {"module-token-unused [LMCHZ1] token"}},
        {{},
         {},
         "keys = " + key,
         "keys = wrong-key-wrong," + key,
         {"key-refused ключ 1 из 2, …rong на operator-1"}},
        {{}, {}, "hosts = ", "hosts = https://nosuch.invalid,", {"not-resolved https://nosuch.invalid"}},
        {{}, {}, "caFile", ";caFile", {"certificate-untrusted operator-1", noSite}},
        {"operator-1", refuses, {}, {}, {"refused operator-1", noSite}},
        {"operator-1", expired, {}, {}, {"certificate-expired operator-1", noSite}},
        {"operator-1", aheadOfTime, {}, {}, {"clock-skew operator-1"}},
        {"operator-1", portal, {}, {}, {"captive-portal operator-1", noSite}},
        {"operator-1", large, {}, {}, {"reply-too-large operator-1", noSite}},
        {"operator-1", refusesKeys, {}, {}, {"key-refused …0001 на operator-1", noSite}},
        {"site-1", ill, {}, {}, {"site-unhealthy site-1"}},
        {"module-1", refuses, {}, {}, {"refused [LMCHZ1] module-1"}},
    };
    for (const Fault& fault : faults) {
        SCOPED_TRACE(testing::Message() << fault.troubles.join(", ").toStdString());
        const char* server = fault.server != nullptr ? fault.server : "site-1";
        stand.behave(server, fault.behaviour != nullptr ? fault.behaviour : "[]");
        const QByteArray settings =
            fault.replaced.isEmpty() ? good : QByteArray(good).replace(fault.replaced, fault.by);
        QStringList found = troubles(examine(stand, settings), stand);
        found.replaceInStrings(PLUGIN_PATH, "plug-in");
        EXPECT_EQ(found, fault.troubles);
        stand.behave(server, "[]");
    }
}

TEST(Doctor, TellsOfHostsSitesAndModulesAndChangesNothing)
{
    const MarkSim stand({"--sites", "2", "--tls"},
                        {{"servers", QJsonObject{{"module-1", QJsonObject{{"state", "not_configured"}}}}}});
    stand.behave("site-1", R"({"latencyMs": 300})");
    const QJsonObject report =
        examine(stand, settingsFor(stand) + "enableGreyList = on\n[Network]\ncaFile = " +
                           stand.ready()["caFile"].toString().toUtf8());

    EXPECT_EQ(troubles(report, stand), QStringList());
    EXPECT_TRUE(report["pluginWorks"].toBool());
    EXPECT_EQ(report["pluginVersion"].toString().count(u'.'), 2);
    const QJsonValue host = report["hosts"][0];
    EXPECT_EQ("https://" + host["peer"].toString(), stand.url("operator-1"));
    EXPECT_TRUE(host["tls"].toBool());
    EXPECT_GT(QDateTime::fromString(host["certificateEnd"].toString(), Qt::ISODate),
              QDateTime::currentDateTimeUtc());
    EXPECT_LT(std::abs(host["clockSkewSeconds"].toInt(1000)), 10);
    EXPECT_EQ(host["keys"][0]["key"].toString(), "…0001");
    EXPECT_TRUE(host["keys"][0]["accepted"].toBool());
    for (const QJsonValue site : report["sites"].toArray()) {
        EXPECT_TRUE(site["healthy"].toBool());
        EXPECT_EQ(site["chosen"].toBool(), site["site"].toString() == stand.url("site-2"));
        EXPECT_GE(site["elapsedMs"].toInt(), site["site"].toString() == stand.url("site-1") ? 300 : 0);
    }
    const QJsonValue module = report["modules"][0];
    EXPECT_EQ(module["status"].toString(), "not_configured");
    EXPECT_TRUE(module["greyListWanted"].toBool());
    EXPECT_TRUE(module["credentialsAccepted"].toBool());
    for (const QJsonObject& request : stand.requests()) {
        EXPECT_EQ(request["method"].toString(), "GET") << request["path"].toString().toStdString();
    }
    EXPECT_EQ(stand.requests("module-1").size(), 1);
}

TEST(Doctor, SaysOfAModulesCredentialsOnlyWhatTheModuleSays)
{
    const MarkSim stand;
    const std::pair<const char*, QJsonValue> replies[] = {
        {R"({"status": 404})", {}}, {R"({"status": 500})", {}}, {R"({"status": 401})", false}, {"[]", true}};
    for (const auto& [reply, accepted] : replies) {
        stand.behave("module-1", reply);
        EXPECT_EQ(examine(stand, settingsFor(stand))["modules"][0]["credentialsAccepted"], accepted) << reply;
    }
}

TEST(Doctor, ReportsAFileThatCannotBeRead)
{
    EXPECT_EQ(poshost({"doctor", "--all"}).exitStatus, 2);
    EXPECT_EQ(poshost({"doctor", "till.ini"}).exitStatus, 2) << "a file without --offline";
    const SettingsFile broken("[Host]\nhosts\n");
    for (const auto& [file, id, line] :
         {std::tuple<QString, const char*, int>{"/nowhere.ini", "missing-file", 0},
          {broken.path(), "broken-file", 2}}) {
        for (const QStringList& arguments : {QStringList{"--config", file, "doctor", "--json"},
                                             QStringList{"doctor", "--offline", file, "--json"}}) {
            const ProcessOutcome run = poshost(arguments);
            const bool isForThisTill = !arguments.contains("--offline");
            EXPECT_EQ(run.exitStatus, isForThisTill && file == "/nowhere.ini" ? 2 : 1);
            const QJsonValue finding = onlyObject(run.output)["findings"][0];
            EXPECT_EQ(finding["id"].toString(), id);
            EXPECT_EQ(finding["line"].toInt(), line);
        }
    }
}

namespace {

const QByteArray goodSettings = "[MarkedGoods]\n"
                                "[Host]\n"
                                "hosts = https://operator.shop\n"
                                "keys = key-number-one,key-number-two\n"
                                "[LMCHZ1]\n"
                                "enable = true\n"
                                "token = key-number-one\n";

/// Lines that doctor prints of settings alone, without the file's name.
QStringList offline(const QByteArray& settings, const QStringList& options = {}, int status = 1)
{
    const SettingsFile file(settings);
    QFile::setPermissions(file.path(), QFile::ReadOwner | QFile::WriteOwner);
    const ProcessOutcome run = poshost(QStringList{"doctor", "--offline", file.path()} + options);
    EXPECT_EQ(run.exitStatus, status) << run.errors.toStdString() << run.output.toStdString();
    QStringList lines = QString::fromUtf8(run.output).split('\n', Qt::SkipEmptyParts);
    for (QString& line : lines) {
        EXPECT_TRUE(line.startsWith(file.path() + ':')) << line.toStdString();
        line.remove(0, file.path().size() + 1);
    }
    return lines;
}

}  // namespace

TEST(DoctorOffline, FindsNothingInGoodSettings)
{
    EXPECT_EQ(offline(goodSettings, {"--strict"}, 0), QStringList());
}

TEST(DoctorOffline, NamesWhatIsWrongWithItsLine)
{
    struct Case
    {
        QByteArray replaced, by;
        const char* line;  ///< begins so, and holds the second text
        const char* text;
    };
    const Case cases[] = {
        {"hosts = https", "hosts = http", "3: [Host] hosts: ", "открытым текстом"},
        {"keys = key-number-one,key-number-two", "",
         "2: [Host] keys: ", "каждый код будет продан без проверки"},
        {"keys = key-number-one,key-number-two", "keys = key-number-one,\"key-number-two\"",
         "4: [Host] keys: ", "в ключе 2 из 2 (…two\") пробел, кавычка"},
        {"[LMCHZ1]", "apiKey = key-number-six\n[LMCHZ1]", "5: [Host] apiKey: ", "ключа …-six"},
        {"[LMCHZ1]", "requestTimeout = 20\n[LMCHZ1]",
         "5: [Host] requestTimeout: ", "20 с, а вся проверка 15 с"},
        {"[LMCHZ1]", "[CRPT]\ngetInfoTimeout = 999999\n[LMCHZ1]", "6: [CRPT] getInfoTimeout: ", "999999"},
        {"enable = true", "enable = true\nmaintain = ja", "7: [LMCHZ1] maintain: ", "ja"},
        {"[LMCHZ1]", "[CRPT]\ngetInfoTimeout = 0\n[LMCHZ1]", "6: [CRPT] getInfoTimeout: ", "0"},
        {"enable = true", "enable = true\nenable = true", "6: [LMCHZ1] enable: ", "строки 6, 7"},
        {"enable = true", "enable = true\nurl = http://127.0.0.1:5995/", "7: [LMCHZ1] url: ", "косая черта"},
        {"enable = true", "enable = true\nurl = ftp://user:secret@h", "7: [LMCHZ1] url: ", "«…@h»"},
        {"[LMCHZ1]", "[LMCHZ0]\nenable=1\ntoken=key-number-one\n[LMCHZ1]",
         "10: [LMCHZ1] token: ", "у другой секции"},
        {"[LMCHZ1]", "[Log]\npattern = %H:%M %%v\n[LMCHZ1]", "6: [Log] pattern: ", "без сообщений"},
        {"[LMCHZ1]", "[Network]\ncaFile = /bin/true\n[LMCHZ1]", "6: [Network] caFile: ", "PEM"},
        {"[MarkedGoods]\n", "[Foo]\n", "1: плагин: ", "бездействует"},
        {"[MarkedGoods]\n", "[MarkedGoods]\nmarkverifycrptservice = CRPT\n", "2: [MarkedGoods] ", "CRPT"},
    };
    for (const Case& wrong : cases) {
        const QStringList lines = offline(QByteArray(goodSettings).replace(wrong.replaced, wrong.by));
        const auto fits = [&](const QString& line) {
            return line.startsWith(wrong.line) && line.contains(wrong.text);
        };
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), fits))
            << wrong.by.toStdString() << " gave " << lines.join('\n').toStdString();
        EXPECT_FALSE(lines.join('\n').contains("number")) << "a key is shown";
    }
}

TEST(DoctorOffline, CountsNotesWhenItIsStrict)
{
    const std::pair<const char*, const char*> notes[] = {
        {"[MarkedGoods]\n", "1: замечание: [MarkedGoods]: строки 1, 8"},
        {"[Goods]\n", "8: замечание: [Goods]: такой секции не читают"},
        {"[Log]\nsecrets = true\n", "9: замечание: [Log] secrets: ключи и пароли пишутся"},
        {"[CRPT]\nupdateInfoInterval = 60\n", "9: замечание: [CRPT] updateInfoInterval: первые 60 с"},
        {"url = http://10.0.0.1:5995\n", "8: замечание: [LMCHZ1] url: пароль и ключ уйдут"},
        {"[Network]\ncaFile = /no/such.pem\n", "9: замечание: [Network] caFile: "},
    };
    for (const auto& [added, line] : notes) {
        EXPECT_TRUE(offline(goodSettings + added, {}, 0).value(0).startsWith(line)) << added;
        EXPECT_EQ(offline(goodSettings + added, {"--strict"}, 1).size(), 1) << added;
    }
}

TEST(DoctorOffline, LooksAtWhoCanReadAndWriteTheFile)
{
    const SettingsFile file(goodSettings);
    const std::pair<QFile::Permissions, const char*> modes[] = {{QFile::ReadOther, "file-readable"},
                                                                {QFile::WriteOther, "file-writable"}};
    for (const auto& [others, id] : modes) {
        QFile::setPermissions(file.path(), QFile::ReadOwner | QFile::WriteOwner | others);
        const QJsonObject report = onlyObject(poshost({"doctor", "--offline", file.path(), "--json"}).output);
        EXPECT_TRUE(QJsonDocument(report).toJson().contains(id)) << id;
        EXPECT_EQ(report["pluginVersion"].toString().count('.'), 2);
    }
}
