#pragma once

#include <utility>

#include <QMetaType>
#include <QString>

#include <utils/export.h>

namespace tr {

/// A message: an identifier that a host may translate by, and its Russian text. An empty Tr (no identifier
/// and no text) stands for "no message" and withdraws an earlier one where a message can be withdrawn.
class ORVEX_EXPORT Tr
{
public:
    Tr() = default;
    Tr(QString id, QString russian)
        : m_id(std::move(id))
        , m_russian(std::move(russian))
    {
    }

    [[nodiscard]] const QString& id() const { return m_id; }
    /// The Russian text.
    [[nodiscard]] const QString& ru() const { return m_russian; }
    [[nodiscard]] bool isEmpty() const { return m_id.isEmpty() && m_russian.isEmpty(); }

    friend bool operator==(const Tr&, const Tr&) = default;

private:
    QString m_id;
    QString m_russian;
};

}  // namespace tr

Q_DECLARE_METATYPE(tr::Tr)
