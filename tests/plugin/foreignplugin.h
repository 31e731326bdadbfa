#pragma once

#include <QObject>
#include <QtPlugin>

/// A plug-in of another host.
class ForeignPlugin : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "AnotherService")
};
