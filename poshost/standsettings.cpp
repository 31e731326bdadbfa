#include "poshost/standsettings.h"

#include <algorithm>
#include <array>

namespace poshost {

namespace {

void addMarkingSection(Config& config)
{
    static constexpr std::array patterns = {"MarkedGoods*", "DraftBeer*", "Motp*", "Moot*"};
    const bool present = std::any_of(patterns.begin(), patterns.end(), [&](const char* pattern) {
        return !config.sections(QLatin1String(pattern)).isEmpty();
    });
    if (!present) {
        config.setValue(QStringLiteral("MarkedGoods:markverifycrptservice"), QStringLiteral("crpt"));
    }
}

void replaceModules(Config& config, const StandInfo& stand)
{
    for (const QString& section : config.sections(QStringLiteral("LMCHZ*"))) {
        config.setValue(section + QLatin1String(":enable"), QStringLiteral("false"));
    }
    for (qsizetype i = 0; i < stand.modules.size(); ++i) {
        const QString section = QStringLiteral("LMCHZ%1:").arg(i + 1);
        const StandModule& module = stand.modules[i];
        config.setValue(section + QLatin1String("enable"), QStringLiteral("true"));
        config.setValue(section + QLatin1String("url"), module.url);
        config.setValue(section + QLatin1String("user"), module.user);
        config.setValue(section + QLatin1String("password"), module.password);
        config.setValue(section + QLatin1String("token"), module.token);
        config.setValue(section + QLatin1String("maintain"), QStringLiteral("true"));
    }
}

}  // namespace

void pointAtStand(Config& config, const StandInfo& stand)
{
    addMarkingSection(config);
    config.setValue(QStringLiteral("Host:hosts"), stand.operators.join(u','));
    config.setValue(QStringLiteral("Host:keys"), stand.keys.join(u','));
    config.setValue(QStringLiteral("Host:apiKey"), stand.keys.value(0));
    config.setValue(QStringLiteral("Network:caFile"), stand.caFile);
    config.setValue(QStringLiteral("Network:proxy"), {});
    replaceModules(config, stand);
}

}  // namespace poshost
