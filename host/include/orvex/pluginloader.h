#pragma once

#include <memory>

#include <QJsonObject>
#include <QString>

#include <utils/export.h>

class BasicPlugin;
class QObject;
class QPluginLoader;

/// Loads one plug-in library. Its metadata is looked at before any code of it runs.
///
/// unload() destroys the plug-in object and takes the library out of the process, so everything that came
/// from it (actions, events and tasks with values of its types, pointers to it) must be gone before. Threads:
/// the host's main thread.
class ORVEX_EXPORT PluginLoader
{
public:
    explicit PluginLoader(const QString& file);
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;
    /// Unloads.
    ~PluginLoader();

    /// Loads the plug-in whose metadata name the interface `interfaceId` and do not say {"enabled": false}.
    /// False with a text in `error` otherwise: what is wrong with which file. init() is not called.
    [[nodiscard]] bool load(const QString& interfaceId, QString* error);
    bool unload();

    /// Null before load().
    [[nodiscard]] BasicPlugin* plugin() const { return m_plugin; }
    [[nodiscard]] QObject* object() const;
    /// The plug-in's metadata as Qt gives them: "IID", "className", "MetaData".
    [[nodiscard]] QJsonObject metaData() const;

private:
    QString m_file;
    std::unique_ptr<QPluginLoader> m_loader;
    BasicPlugin* m_plugin = nullptr;
};
