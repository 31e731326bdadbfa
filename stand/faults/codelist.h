#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <functional>

namespace marksim {

/// What a behaviour's "answers" does to the list of codes in the reply of a check. Codes are named in full or
/// by their identifying part; "*" means every code of the request.
class CodeListEdit
{
public:
    /// The value of "answers", validated; empty for a list as it should be.
    explicit CodeListEdit(const QJsonObject& answers = {});

    /// The entries for `codes` in their order with the changes in them; `entryOf` makes the entry of a code.
    [[nodiscard]] QJsonArray entries(const QStringList& codes,
                                     const std::function<QJsonObject(const QString&)>& entryOf) const;
    /// The entries in parts of about the same size, as many as "groups" says: the "results" of a local
    /// module.
    [[nodiscard]] QList<QJsonArray> grouped(const QJsonArray& entries) const;

private:
    QStringList m_omit;
    QStringList m_repeat;      ///< answered twice
    QStringList m_contradict;  ///< answered twice, the second time with the opposite "isBlocked"
    QStringList m_add;         ///< answered though not asked for
    int m_groups;
};

}  // namespace marksim
