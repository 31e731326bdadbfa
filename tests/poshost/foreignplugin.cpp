#include <QObject>
#include <QtPlugin>

/// A plug-in of somebody else's.
class ForeignPlugin : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "SomebodyElse")
};

#include "foreignplugin.moc"
