#include "stand/goods/codeparts.h"

#include <QRegularExpression>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

/// True when the last digit of `gtin` is the GS1 check digit of the others.
bool hasRightCheckDigit(const QString& gtin)
{
    int sum = 0;
    for (qsizetype i = 0; i < gtin.size(); ++i) {
        sum += gtin.at(i).digitValue() * (i % 2 == 0 ? 3 : 1);
    }
    return sum % 10 == 0;
}

}  // namespace

CodeParts readCode(const QString& code)
{
    static const QRegularExpression fnc1(u"^(\\]d2|\\]C1|\\]Q3|\\x1d)"_s);
    // 01 GTIN 21 serial, the serial ending at GS or at the end of the text.
    static const QRegularExpression gs1(u"^(?=.{19})(01([0-9]{14})21([^\\x1d]*))"_s,
                                        QRegularExpression::DotMatchesEverythingOption);
    // GTIN, serial, price, check code: all of fixed length.
    static const QRegularExpression tobaccoPack(u"^(([0-9]{14})(.{7})).{8}\\z"_s,
                                                QRegularExpression::DotMatchesEverythingOption);
    // Country, producer's number and the number of the mark, as in RU-401301-AAA0277031.
    static const QRegularExpression fur(u"^..-.{6}-.{10}\\z"_s,
                                        QRegularExpression::DotMatchesEverythingOption);
    CodeParts parts;
    parts.text = code;
    parts.text.remove(fnc1);
    parts.cis = parts.text;
    parts.valid = fur.match(parts.text).hasMatch();
    for (const auto& form : {gs1, tobaccoPack}) {
        if (const auto match = form.match(parts.text); match.hasMatch()) {
            parts.cis = match.captured(1);
            parts.gtin = match.captured(2);
            parts.valid = hasRightCheckDigit(parts.gtin) && !match.captured(3).isEmpty();
            return parts;
        }
    }
    return parts;
}

}  // namespace marksim
