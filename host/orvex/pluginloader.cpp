#include <orvex/pluginloader.h>

#include <QFileInfo>
#include <QPluginLoader>

#include <orvex/basicplugin.h>

PluginLoader::PluginLoader(const QString& file)
    // An absolute path: a bare name would be searched for in the library path.
    : m_file(QFileInfo(file).absoluteFilePath())
    , m_loader(std::make_unique<QPluginLoader>(m_file))
{
    m_loader->setLoadHints({});  // the default would keep the library in the process for good
}

PluginLoader::~PluginLoader()
{
    unload();
}

bool PluginLoader::load(const QString& interfaceId, QString* error)
{
    const auto fail = [&](const QString& what) {
        *error = QStringLiteral("%1: %2").arg(m_file, what);
        return false;
    };
    if (const QString file = m_loader->fileName(); file.isEmpty() || !QFileInfo(file).isFile()) {
        return fail(QStringLiteral("no such plug-in file"));
    }
    const QJsonObject meta = m_loader->metaData();
    if (meta.isEmpty()) {
        return fail(QStringLiteral("not a plug-in: %1").arg(m_loader->errorString()));
    }
    if (const QString id = meta.value(QLatin1String("IID")).toString(); id != interfaceId) {
        return fail(QStringLiteral("a plug-in of interface \"%1\", not of \"%2\"").arg(id, interfaceId));
    }
    if (!meta.value(QLatin1String("MetaData")).toObject().value(QLatin1String("enabled")).toBool(true)) {
        return fail(QStringLiteral("the plug-in is disabled in its metadata (\"enabled\": false)"));
    }
    if (!m_loader->load()) {
        return fail(m_loader->errorString());
    }
    m_plugin = qobject_cast<BasicPlugin*>(m_loader->instance());
    return m_plugin != nullptr || fail(QStringLiteral("its object is no plug-in of this host"));
}

bool PluginLoader::unload()
{
    m_plugin = nullptr;
    return !m_loader->isLoaded() || m_loader->unload();
}

QObject* PluginLoader::object() const
{
    return m_plugin != nullptr ? m_loader->instance() : nullptr;
}

QJsonObject PluginLoader::metaData() const
{
    return m_loader->metaData();
}
