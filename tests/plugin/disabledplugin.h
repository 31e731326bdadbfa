#pragma once

#include <QObject>
#include <QtPlugin>

/// A plug-in of this host that is switched off.
class DisabledPlugin : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "CrptService" FILE "disabledplugin.json")
};
