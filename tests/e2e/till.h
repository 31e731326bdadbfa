#pragma once

#include "contracts/verify.h"
#include "tests/doubles/logwatch.h"
#include "tests/doubles/printers.h"
#include "tests/doubles/settings.h"
#include "tests/support/marksim.h"
#include <orvex/pluginloader.h>

/// A host in the test's process: loads the plug-in library as a till does and plays against a marksim.
class Till
{
public:
    /// Loads the plug-in and calls init(). `settings` are lines "section:key=value" on top of a configuration
    /// in which [MarkedGoods] uses the service.
    explicit Till(const MarkSim& stand, const QStringList& settings = {});
    ~Till();
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;

    /// Sends the init event.
    static void connectOperator(const QStringList& keys, const QStringList& hosts);
    /// With the stand's hosts and its key.
    void connectOperator() { connectOperator({m_stand.key()}, m_stand.operatorUrls()); }

    /// Performs a verification action with the stand's first key; throws when nobody takes it.
    CheckMarkingCodesResult verify(const QList<MarkingCode>& codes);
    /// The same; no value when nobody takes it. Threads: any.
    std::optional<CheckMarkingCodesResult> tryVerify(const QList<MarkingCode>& codes,
                                                     std::chrono::seconds operationTimeout,
                                                     std::chrono::seconds requestTimeout) const;

    /// Lets the plug-in end its work, before it is unloaded with the object.
    void stop();

    /// The lines logged since the last call, "<level> <text>" each. Threads: any.
    QStringList takeLog() { return m_logWatch.take(); }

private:
    const MarkSim& m_stand;
    Settings m_settings{{"MarkedGoods:markverifycrptservice", "crpt"}};
    LogWatch m_logWatch;
    PluginLoader m_loader;
    bool m_stopped = false;
};

/// Settings of the stand's local module.
[[nodiscard]] QStringList moduleSettings(const MarkSim& stand);

/// Codes of the stand's goods.
namespace goods {
inline const MarkingCode Milk(QStringLiteral("0104607026010011215rhTuv\u001d93VBOs"));
inline const MarkingCode Water(QStringLiteral("0104602114050016215wDq+zuM14qHO\u001d93kmLr"));
inline const MarkingCode ExpiredKefir(QStringLiteral("0104607026010028215mPG0t\u001d93vTrm"));
}  // namespace goods
