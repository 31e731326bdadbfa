#pragma once

#include <chrono>
#include <mutex>

#include <QList>
#include <QString>
#include <QStringList>

#include "result/checkmarkingcodesresult.h"
#include "tests/support/marksim.h"
#include "tests/support/printers.h"
#include <log4qt/logmanager.h>
#include <orvex/baseactivitylistener.h>
#include <orvex/pluginloader.h>

/// A host in the test's process: loads the plug-in library as a till does and plays against a marksim.
class Till : public BaseActivityListener
{
public:
    /// A notification as it was sent; an empty `textId` withdraws.
    struct Notice
    {
        QString id;
        QString textId;
        friend bool operator==(const Notice&, const Notice&) = default;
    };

    /// Loads the plug-in and calls init(). `settings` are lines "section:key=value" on top of a configuration
    /// in which [MarkedGoods] uses the service.
    explicit Till(const MarkSim& stand, const QStringList& settings = {});
    ~Till() override;

    [[nodiscard]] bool isWorking() const { return m_working; }

    /// Sends the init event with these hosts and keys; without arguments with the stand's.
    void connectOperator();
    void connectOperator(const QStringList& hosts, const QStringList& keys);

    static void sendEvent(int code);

    /// Performs a verification action with the stand's first key.
    CheckMarkingCodesResult verify(const QList<MarkingCode>& codes,
                                   std::chrono::seconds operationTimeout = std::chrono::seconds(20),
                                   std::chrono::seconds requestTimeout = std::chrono::seconds(2));

    void handleEvent(const Event& event) override;
    [[nodiscard]] QList<Notice> notices() const;
    /// The lines logged so far by the plug-in, "level text" each.
    [[nodiscard]] QStringList log() const;
    [[nodiscard]] bool logged(const QString& line) const { return log().contains(line); }

private:
    const MarkSim& m_stand;
    PluginLoader m_loader;
    bool m_working = false;

    mutable std::mutex m_mutex;
    QList<Notice> m_notices;
    QStringList m_log;
};

/// Codes of the stand's goods.
namespace goods {
inline const MarkingCode Milk(QStringLiteral("0104607026010011215rhTuv\u001d93VBOs"));
inline const MarkingCode Water(QStringLiteral("0104602114050016215wDq+zuM14qHO\u001d93kmLr"));
inline const MarkingCode ExpiredKefir(QStringLiteral("0104607026010028215mPG0t\u001d93vTrm"));
}  // namespace goods

QStringList texts(const QList<MarkingCode>& codes);
