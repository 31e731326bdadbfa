#pragma once

#include <QObject>
#include <QStringList>
#include <QtPlugin>

#include <orvex/basicplugin.h>

class MarkingCode;

/// A marking service that asks nobody: it refuses the goods that the shop itself has put on its stop list.
///
/// Settings: [StopList] gtins = the goods, 14 digits each, separated by commas.
class StopList : public QObject, public BasicPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "CrptService")
    Q_INTERFACES(BasicPlugin)

public:
    /// Idle when the list is empty.
    bool init() override;

private:
    EContext::Result check(const control::Action& action) const;
    [[nodiscard]] bool isStopped(const MarkingCode& code) const;

    QStringList m_gtins;
};
