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

    [[nodiscard]] bool holds(const MarkingCode& code) const { return m_held.contains(code.identity()); }

    void accept(const MarkingCode& code, const QString& remark)
    {
        m_items.append({code, remark});
        m_held.insert(code.identity());
        m_refused.remove(code.identity());
    }
    /// Until the code is accepted at a later scan.
    void refuse(const MarkingCode& code) { m_refused.insert(code.identity()); }

    /// In the order in which they were accepted.
    [[nodiscard]] const QList<Item>& items() const { return m_items; }
    [[nodiscard]] qsizetype refused() const { return m_refused.size(); }

private:
    QList<Item> m_items;
    QSet<MarkingCode> m_held;
    QSet<MarkingCode> m_refused;
};

}  // namespace poshost
