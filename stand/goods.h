#pragma once

#include "codeparts.h"

#include <QDateTime>
#include <QHash>
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

    /// Dates in `source` may be relative to now ("+30d", "-12h"); they are resolved here. Throws InputError.
    [[nodiscard]] static Good fromJson(const QJsonValue& source, const QString& where);
    [[nodiscard]] QJsonObject toJson() const;
};

/// The data set. Codes are told apart by their text without a leading FNC1.
class Goods
{
public:
    /// The set that is packed into the program.
    [[nodiscard]] static Goods builtIn();
    /// A document {"goods": [...]}. `where` names it in messages. Throws InputError.
    [[nodiscard]] static Goods fromJson(const QByteArray& bytes, const QString& where);

    /// Null when the code is not listed. The pointer holds until the next change.
    [[nodiscard]] const Good* byCode(const QString& code) const;
    /// As byCode, but the identifying part alone is enough.
    [[nodiscard]] const Good* byCis(const QString& cis) const;

    void put(Good good);
    bool remove(const QString& code);

    [[nodiscard]] const QMap<QString, Good>& all() const { return goods_; }

private:
    QMap<QString, Good> goods_;
    QHash<QString, QString> textByCis_;
};

}  // namespace marksim
