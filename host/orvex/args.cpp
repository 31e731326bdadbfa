#include <orvex/args.h>

namespace control::args {

namespace {
const auto PluginName = QStringLiteral("pluginName");
}

Basic::Basic(const Action& action)
    : m_action(action)
{
}

Basic::~Basic() = default;
Core::~Core() = default;
Plugin::~Plugin() = default;

QString Plugin::pluginName() const
{
    return read<QString>(PluginName);
}

void Plugin::setPluginName(const QString& name) const
{
    write(PluginName, name);
}

}  // namespace control::args
