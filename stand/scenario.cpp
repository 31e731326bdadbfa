#include "scenario.h"

#include "jsonreader.h"

#include <QFile>
#include <QRegularExpression>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

std::vector<std::string> toStrings(const QStringList& list)
{
    std::vector<std::string> strings;
    for (const auto& text : list)
        strings.push_back(text.toStdString());
    return strings;
}

std::vector<Good> readGoods(JsonReader& reader)
{
    std::vector<Good> goods;
    const auto list = reader.array("goods"_L1).value_or(QJsonArray());
    for (qsizetype i = 0; i < list.size(); ++i)
        goods.push_back(Good::fromJson(list[i], u"%1[%2]"_s.arg(reader.at("goods"_L1)).arg(i)));
    return goods;
}

void readAddress(JsonReader& reader, ServerSetup& setup)
{
    setup.port = static_cast<std::uint16_t>(reader.integer("port"_L1, 0, 65535).value_or(0));
    const auto prefix = reader.text("prefix"_L1).value_or(QString());
    if (!prefix.isEmpty() && (!prefix.startsWith(u'/') || prefix.endsWith(u'/')))
        reader.fail("prefix"_L1, u"must be a path such as \"/shop\""_s);
    setup.prefix = prefix.toStdString();
}

void readModule(JsonReader& reader, ServerSetup& setup)
{
    setup.user = reader.text("user"_L1);
    setup.password = reader.text("password"_L1);
    setup.token = reader.text("token"_L1);
    setup.state = reader.choice<ModuleState>("state"_L1, {{"not_configured"_L1, ModuleState::NotConfigured},
                                                          {"initialization"_L1, ModuleState::Initialization},
                                                          {"ready"_L1, ModuleState::Ready},
                                                          {"sync_error"_L1, ModuleState::SyncError}});
    if (const auto wait = reader.integer("readyAfterMs"_L1, 0, longestInitialisationMs))
        setup.readyAfter = std::chrono::milliseconds(*wait);
    setup.goods = readGoods(reader);
}

ServerSetup readServer(const QString& name, const QJsonValue& value, const QString& where)
{
    JsonReader reader(value, where);
    ServerSetup setup;
    if (const auto behaviours = reader.value("behaviours"_L1))
        setup.behaviours = behavioursFromJson(*behaviours, reader.at("behaviours"_L1));
    const bool group = !name.contains(u'-');
    if (!group)
        readAddress(reader, setup);
    if (name.startsWith("module-"_L1))
        readModule(reader, setup);
    else if (const auto keys = group ? std::nullopt : reader.texts("keys"_L1))
        setup.keys = toStrings(*keys);
    if (name.startsWith("operator-"_L1))
        setup.lists = reader.texts("lists"_L1);
    reader.finish();
    return setup;
}

std::optional<int> readCount(JsonReader& reader, QLatin1String key, int least)
{
    const auto count = reader.integer(key, least, mostServers);
    return count ? std::optional(static_cast<int>(*count)) : std::nullopt;
}

void readServers(JsonReader& reader, Scenario& scenario)
{
    static const QRegularExpression name(
        u"^((operator|site|module)-[1-9][0-9]{0,2}|operators|sites|modules|all)$"_s);
    const auto servers = reader.object("servers"_L1).value_or(QJsonObject());
    for (auto server = servers.begin(); server != servers.end(); ++server) {
        if (!name.match(server.key()).hasMatch())
            reader.fail("servers"_L1,
                        u"\"%1\" is no server; they are called operator-1, site-1, module-1 and so on, "
                        "groups of them operators, sites, modules and all"_s.arg(server.key()));
        scenario.servers[server.key().toStdString()] =
            readServer(server.key(), *server, u"%1.%2"_s.arg(reader.at("servers"_L1), server.key()));
    }
}

}  // namespace

Scenario Scenario::fromFile(const std::string& path)
{
    const auto name = QString::fromStdString(path);
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        throw InputError(u"%1: cannot be read (%2)"_s.arg(name, file.errorString()));
    return fromJson(parseJson(file.readAll(), name), name);
}

Scenario Scenario::fromJson(const QJsonValue& value, const QString& where)
{
    JsonReader reader(value, where);
    Scenario scenario;
    (void)reader.text("description"_L1);
    (void)reader.text("$schema"_L1);
    scenario.operators = readCount(reader, "operators"_L1, 1);
    scenario.sites = readCount(reader, "sites"_L1, 0);
    scenario.modules = readCount(reader, "modules"_L1, 0);
    scenario.tls = reader.flag("tls"_L1);
    scenario.keys = toStrings(reader.texts("keys"_L1).value_or(QStringList()));
    scenario.goods = readGoods(reader);
    readServers(reader, scenario);
    reader.finish();
    return scenario;
}

}  // namespace marksim
