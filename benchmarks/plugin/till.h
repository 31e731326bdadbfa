#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <orvex/pluginloader.h>
#include <utils/markingcode.h>

namespace bench {

/// A host with the plug-in library in it, as a till loads it, its log at the level "error".
class Till
{
public:
    /// Loads the plug-in, calls init() and hands the operator's address over. No request is made yet.
    explicit Till(const QString& operatorUrl);
    ~Till();
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;

    /// A verification action from trigger to result; how many microseconds it took. Throws
    /// std::runtime_error when a code does not pass. Threads: any.
    double check(const QList<MarkingCode>& codes);
    /// Asks the operator's hosts whether they are there, as a connection check does. Threads: any.
    void ping();
    /// An update of the list of sites, in the plug-in's own thread; returns at once.
    void updateSites();

    /// The body that the plug-in sends for these codes.
    [[nodiscard]] static QByteArray bodyOf(const QList<MarkingCode>& codes);

private:
    PluginLoader m_loader;
};

}  // namespace bench
