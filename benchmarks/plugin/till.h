#pragma once

#include <QList>
#include <QString>

#include "benchmarks/plugin/servers.h"
#include <orvex/pluginloader.h>
#include <utils/markingcode.h>

namespace bench {

/// A host with the plug-in library in it, as a till loads it, its log at the level "error".
class Till
{
public:
    /// Loads the plug-in, calls init() and hands the operator's address over. No request is made yet.
    explicit Till(const Sites& sites);
    ~Till();
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;

    /// A verification action from trigger to result; how many microseconds it took. Throws
    /// std::runtime_error when a code does not pass. Threads: any.
    double check(const QList<MarkingCode>& codes);

private:
    PluginLoader m_loader;
};

}  // namespace bench
