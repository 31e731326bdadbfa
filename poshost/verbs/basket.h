#pragma once

#include <QList>
#include <QSet>
#include <QString>

#include <utils/markingcode.h>

namespace poshost {

/// What a receipt holds: the goods whose codes were accepted, and the codes that stand refused. A good is
/// known by the identifying part of its code, however much of the code was scanned.
class Basket
{
public:
    struct Item
    {
        MarkingCode code;
        QString remark;  ///< what the check has said about it; may be empty
    };

    [[nodiscard]] bool holds(const MarkingCode& code) const { return m_held.contains(code.cis()); }

    void accept(const MarkingCode& code, const QString& remark, bool isUnverified)
    {
        m_hasUnverified |= isUnverified;
        m_items.append({code, remark});
        m_held.insert(code.cis());
        m_refused.remove(code.cis());
    }
    /// Until the code is accepted at a later scan.
    void refuse(const MarkingCode& code) { m_refused.insert(code.cis()); }

    /// In the order in which they were accepted.
    [[nodiscard]] const QList<Item>& items() const { return m_items; }
    /// Something was accepted without a verdict.
    [[nodiscard]] bool hasUnverified() const { return m_hasUnverified; }
    [[nodiscard]] qsizetype refused() const { return m_refused.size(); }

private:
    QList<Item> m_items;
    QSet<QString> m_held;
    QSet<QString> m_refused;
    bool m_hasUnverified = false;
};

}  // namespace poshost
