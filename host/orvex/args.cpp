#include <orvex/args.h>

namespace control::args {

namespace {
const auto pluginNameKey = QStringLiteral("pluginName");
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
    return read<QString>(pluginNameKey);
}

void Plugin::setPluginName(const QString& name) const
{
    write(pluginNameKey, name);
}

}  // namespace control::args
