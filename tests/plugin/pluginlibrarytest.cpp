#include <QFile>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "tests/doubles/printers.h"
#include <orvex/pluginloader.h>

using testing::HasSubstr;

namespace {

TEST(PluginLibrary, SaysWhatItIs)
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
    const std::pair<const char*, void*> casts[] = {{"ActivityListener", object},
                                                   {"BasicPlugin", plugin},
                                                   {"su.orvex.AbstractPlugin", plugin},
                                                   {"Other", nullptr}};
    for (const auto& [name, target] : casts) {
        EXPECT_EQ(object->qt_metacast(name), target) << name;
    }
}

TEST(PluginLibrary, IsRefusedWhenItIsNotOne)
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

TEST(PluginLibrary, ExportsWhatTheHostUsesAndNothingElse)
{
    QProcess nm;
    nm.start(NM, {"--dynamic", "--defined-only", "--demangle", "--format=posix", CRPTSERVICE_LIBRARY});
    ASSERT_TRUE(nm.waitForFinished()) << nm.errorString().toStdString();
    const QStringList lines = QString::fromUtf8(nm.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    const QString allowed = "^((vtable|typeinfo|typeinfo name) for )?"
                            "(CrptService|CheckMarkingCodesRe(ply|sult))( |::)";
    const QRegularExpression entry("^qt_plugin_(instance|query_metadata_v2) "), classes(allowed);
    for (const QString& line : lines) {
        EXPECT_TRUE(line.contains(entry) || line.contains(classes)) << line.toStdString();
    }
    for (const char* name :
         {"CheckMarkingCodesResult::operator+=(", "CheckMarkingCodesResult::ignore(",
          "CheckMarkingCodesResult::CheckMarkingCodesResult(CheckMarkingCodesReply const&)",
          "CheckMarkingCodesResult::hasError(", "CheckMarkingCodesResult::isSuccess(",
          "typeinfo for CheckMarkingCodesResult", "CrptService::CrptService()"}) {
        EXPECT_EQ(lines.filter(QRegularExpression('^' + QRegularExpression::escape(name))).isEmpty(), false)
            << name;
    }
}

}  // namespace
