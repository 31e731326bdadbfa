#include <algorithm>

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "contracts/initverifyservice.h"
#include "contracts/verify.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/scriptedclient.h"
#include "tests/doubles/settings.h"
#include <gmock/gmock.h>
#include <orvex/actiondispatcher.h>
#include <orvex/activitynotifier.h>
#include <orvex/basicplugin.h>
#include <orvex/pluginloader.h>

using testing::HasSubstr;

namespace {

/// Whether the library's code is in the process. A sanitizer that names a place in it maps the file, too, to
/// read it, and keeps that.
bool isLoaded()
{
    QFile maps("/proc/self/maps");
    EXPECT_TRUE(maps.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = maps.readAll().split('\n');
    return std::any_of(lines.begin(), lines.end(), [](const QByteArray& line) {
        return line.contains(" r-x") && line.contains("libcrptservice");
    });
}

class PluginLibrary : public testing::Test
{
protected:
    /// Loads the library and checks one code with it.
    void checkACode()
    {
        PluginLoader loader(CRPTSERVICE_LIBRARY);
        QString error;
        ASSERT_TRUE(loader.load("CrptService", &error)) << error.toStdString();
        ASSERT_TRUE(loader.plugin()->init());

        const events::marking::InitVerifyService init{Event(256)};
        init.setService("crpt");
        init.setHosts({"op"});
        init.setKeys({"key"});
        Singleton<ActivityNotifier>::instance()->sendEvent(init.event());
        const control::Action action(control::EActionType::VerifyMarking);
        const control::args::marking::Verify arguments(action, "crpt");
        arguments.setMarkingCodes({MarkingCode("A")});
        EXPECT_THAT(Singleton<ActionDispatcher>::instance()->perform(action),
                    testing::ElementsAre(EContext::Done));
        EXPECT_EQ(arguments.verifyResult().passedCodes, arguments.markingCodes());
        EXPECT_TRUE(isLoaded());
        loader.plugin()->deinit();
    }

    Settings settings{{"Motp:id", "1"}};
    ScriptedClient http;
    LogWatch log;
};

TEST_F(PluginLibrary, WorksIsGoneWhenUnloadedAndWorksAgain)
{
    const auto says = [this](const QString& address, const QJsonObject& body) {
        http.script(address, {[body](const SentRequest&) { return reply(200, body); }});
    };
    const QString base = "/api/v4/true-api";
    says("op" + base + "/cdn/info", {{"hosts", QJsonArray{QJsonObject{{"host", "http://site"}}}}});
    says("site" + base + "/cdn/health/check", {{"code", 0}});
    says("site" + base + "/codes/check", {{"codes", QJsonArray{QJsonObject{{"cis", "A"}}}}});
    for (int round = 0; round < 3; ++round) {
        checkACode();
        EXPECT_FALSE(isLoaded());
    }
}

TEST_F(PluginLibrary, SaysWhatItIs)
{
    PluginLoader loader(CRPTSERVICE_LIBRARY);
    const QJsonObject meta = loader.metaData();
    EXPECT_EQ(meta.value("IID").toString(), "CrptService");
    EXPECT_EQ(meta.value("className").toString(), "CrptService");
    EXPECT_EQ(meta.value("MetaData").toObject(), QJsonObject({{"enabled", true}}));

    QString error;
    ASSERT_TRUE(loader.load("CrptService", &error)) << error.toStdString();
    QObject* const object = loader.object();
    void* const plugin = loader.plugin();
    const std::pair<const char*, void*> casts[] = {
        {"CrptService", object}, {"ActivityListener", object},
        {"BasicPlugin", plugin}, {"su.orvex.AbstractPlugin", plugin},
        {"QObject", object},     {"Other", nullptr},
        {nullptr, nullptr}};
    for (const auto& [name, target] : casts) {
        EXPECT_EQ(object->qt_metacast(name), target) << (name != nullptr ? name : "null");
    }
}

TEST_F(PluginLibrary, IsRefusedWhenItIsNotOne)
{
    const QTemporaryDir folder;
    QFile text(folder.filePath("text.so"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly) && text.write("not a library") > 0);
    text.close();
    const std::pair<QString, const char*> cases[] = {{text.fileName(), "not a plug-in"},
                                                     {PLAIN_LIBRARY, "not a plug-in"},
                                                     {FOREIGN_PLUGIN, "\"AnotherService\""},
                                                     {DISABLED_PLUGIN, "disabled"},
                                                     {folder.filePath("missing.so"), "no such plug-in file"},
                                                     {folder.path(), "no such plug-in file"}};
    for (const auto& [file, reason] : cases) {
        PluginLoader loader(file);
        QString error;
        EXPECT_FALSE(loader.load("CrptService", &error));
        EXPECT_THAT(error.toStdString(), HasSubstr(reason));
        EXPECT_EQ(loader.plugin(), nullptr);
    }
}

TEST_F(PluginLibrary, ExportsWhatTheHostUsesAndNothingElse)
{
    QProcess nm;
    nm.start(NM, {"--dynamic", "--defined-only", "--demangle", "--format=posix", CRPTSERVICE_LIBRARY});
    ASSERT_TRUE(nm.waitForFinished()) << nm.errorString().toStdString();
    const QStringList lines = QString::fromUtf8(nm.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    const QString allowed = "^((vtable|typeinfo|typeinfo name) for )?"
                            "((CrptService|CheckMarkingCodesRe(ply|sult)|control::args::marking::Verify|"
                            "events::marking::InitVerifyService)( |::)|marking::serviceFromText\\()";
    const QRegularExpression entry("^qt_plugin_(instance|query_metadata_v2) "), classes(allowed);
    for (const QString& line : lines) {
        EXPECT_TRUE(line.contains(entry) || line.contains(classes)) << line.toStdString();
    }
    for (const char* name :
         {"qt_plugin_instance", "qt_plugin_query_metadata_v2", "CheckMarkingCodesResult::operator+=(",
          "CheckMarkingCodesResult::ignore(", "CheckMarkingCodesResult::hasError(",
          "CheckMarkingCodesResult::isSuccess(",
          "CheckMarkingCodesResult::CheckMarkingCodesResult(CheckMarkingCodesReply const&)",
          "typeinfo for CheckMarkingCodesResult", "CrptService::CrptService()",
          "control::args::marking::Verify::verifyResult(", "events::marking::InitVerifyService::setHosts("}) {
        EXPECT_EQ(lines.filter(QRegularExpression('^' + QRegularExpression::escape(name))).isEmpty(), false)
            << name;
    }
}

}  // namespace
