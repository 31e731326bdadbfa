#pragma once

#include "contracts/verify.h"
#include "tests/doubles/settings.h"
#include "tests/support/marksim.h"
#include <orvex/pluginloader.h>

/// A host in the test's process: loads the plug-in library as a till does and plays against a marksim.
class Till
{
public:
    /// Loads the plug-in and calls init(), with the stand's local module and requests of a second at most.
    Till(const MarkSim& stand, std::chrono::seconds moduleTimeout);
    ~Till();
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;

    /// Sends the init event.
    static void connectOperator(const QStringList& keys, const QStringList& hosts);
    /// With the stand's hosts and its key.
    void connectOperator() { connectOperator({m_stand.key()}, m_stand.operatorUrls()); }

    /// Performs a verification action with the stand's first key; no value when nobody takes it. Threads:
    /// any.
    std::optional<CheckMarkingCodesResult> verify(const QList<MarkingCode>& codes,
                                                  std::chrono::seconds operationTimeout,
                                                  std::chrono::seconds requestTimeout) const;

    /// Lets the plug-in end its work, before it is unloaded with the object.
    void stop();

private:
    const MarkSim& m_stand;
    Settings m_settings{{"MarkedGoods:markverifycrptservice", "crpt"},
                        {"LMCHZ:enable", "true"},
                        {"LMCHZ:maintain", "true"},
                        {"LMCHZ:enableGreyList", "true"},
                        {"CRPT:getInfoTimeout", "1"},
                        {"CRPT:healthCheckTimeout", "1"}};
    PluginLoader m_loader;
};

/// Codes of the stand's goods.
namespace goods {
inline const MarkingCode milk(QStringLiteral("0104607026010011215rhTuv\u001d93VBOs"));
inline const MarkingCode water(QStringLiteral("0104602114050016215wDq+zuM14qHO\u001d93kmLr"));
inline const MarkingCode expiredKefir(QStringLiteral("0104607026010028215mPG0t\u001d93vTrm"));
}  // namespace goods
