#include <QJsonArray>

#include <gtest/gtest.h>

#include "doctor/knownkeys.h"
#include "tests/poshost/poshostrun.h"
#include "tests/support/printers.h"

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

const char* const RefusesKeys = R"({"method": "info", "status": 401})";
const char* const Expired = R"({"certificate": "expired"})";
const char* const AheadOfTime = R"({"headers": {"Date": "Fri, 01 Jan 2100 00:00:00 GMT"}})";
const char* const Ill = R"({"method": "health", "body": {"code": 5}})";
const char* const Refuses = R"({"connect": "refuse"})";
const QString NoSite = "no-healthy-site площадки";

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
        {{}, {}, "[CRPT]", "[Crpt]", {"unknown-section [Crpt]"}},
        {{}, {}, "getInfoTimeout = 5", "getInfoTimeout = 0", {"wrong-value [CRPT] getInfoTimeout"}},
        {{}, {}, "maintain = true", "maintain = ja", {"wrong-value [LMCHZ1] maintain"}},
        {{},
         {},
         "= crpt",
         "= CRPT",
         {"wrong-value [MarkedGoods] markverifycrptservice", "plugin-idle plug-in"}},
        {{}, {}, "password = admin", "password = other", {"credentials-refused [LMCHZ1] module-1"}},
        {{}, {}, "token = " + key, "token = 00000000-0000", {"module-token-unused [LMCHZ1] module-1"}},
        {{}, {}, "keys = " + key, "keys = wrong-key-wrong," + key, {"key-refused …rong на operator-1"}},
        {{}, {}, "hosts = ", "hosts = https://nosuch.invalid,", {"not-resolved https://nosuch.invalid"}},
        {{}, {}, "caFile", ";caFile", {"certificate-untrusted operator-1", NoSite}},
        {"operator-1", Refuses, {}, {}, {"refused operator-1", NoSite}},
        {"operator-1", Expired, {}, {}, {"certificate-expired operator-1", NoSite}},
        {"operator-1", AheadOfTime, {}, {}, {"clock-skew operator-1"}},
        {"operator-1", RefusesKeys, {}, {}, {"key-refused …0001 на operator-1", NoSite}},
        {"site-1", Ill, {}, {}, {"site-unhealthy site-1"}},
        {"module-1", Refuses, {}, {}, {"refused [LMCHZ1] module-1"}},
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

TEST(Doctor, RefusesWhatItCannotReadAndReportsABrokenFile)
{
    EXPECT_EQ(poshost({"--config", "/nowhere.ini", "doctor"}).exitStatus, 2);
    EXPECT_EQ(poshost({"doctor", "--all"}).exitStatus, 2);
    const SettingsFile broken("[Host]\nhosts\n");
    const ProcessOutcome run = poshost({"--config", broken.path(), "doctor", "--json"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_TRUE(onlyObject(run.output)["findings"][0]["text"].toString().contains(":2: "))
        << run.output.toStdString();
}

TEST(KnownKeys, AreToldApartByTheLettersThatDiffer)
{
    EXPECT_EQ(doctor::distance("Timeout", "tiemout"), 1);
    EXPECT_EQ(doctor::distance("", "abc"), 3);
    EXPECT_EQ(doctor::distance("kitten", "sitting"), 3);
}
