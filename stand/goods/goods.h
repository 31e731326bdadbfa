#pragma once

#include "stand/goods/codeparts.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>

namespace marksim {

/// One marked good as the stand knows it.
struct Good
{
    CodeParts parts;
    QString title;        ///< for people, never sent
    QJsonObject online;   ///< members of the operator's entry that differ from those of a good sale
    QJsonObject offline;  ///< the same for a local module's entry

    /// `source` is valid. Dates in it may be relative to now ("+30d", "-12h"); they are resolved here.
    [[nodiscard]] static Good fromJson(const QJsonValue& source);
    [[nodiscard]] QJsonObject toJson() const;
};

/// The data set. Codes are told apart by their text without a leading FNC1.
class Goods
{
public:
    /// Of a file {"goods": [...]}, or the set that is packed into the program when `path` is empty. Throws
    /// InputError.
    [[nodiscard]] static Goods fromFile(const QString& path);

    /// Null when the code is not listed. The pointer holds until the next change.
    [[nodiscard]] const Good* byCode(const QString& code) const;
    /// As byCode, but the identifying part alone is enough.
    [[nodiscard]] const Good* byCis(const QString& cis) const;

    void put(const Good& good);
    /// An array of valid goods.
    void putAll(const QJsonValue& goods);
    bool remove(const QString& code);

    [[nodiscard]] const QMap<QString, Good>& all() const { return m_goods; }

private:
    QMap<QString, Good> m_goods;  ///< by their text
};

}  // namespace marksim
