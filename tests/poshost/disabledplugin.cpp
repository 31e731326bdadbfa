#include <QObject>
#include <QtPlugin>

/// A plug-in of the right kind that its metadata switch off.
class DisabledPlugin : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "CrptService" FILE "disabledplugin.json")
};

#include "disabledplugin.moc"
