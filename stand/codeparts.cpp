#include "codeparts.h"

#include <algorithm>
#include <array>

namespace marksim {
namespace {

using namespace Qt::StringLiterals;

constexpr QChar groupSeparator{0x1d};
constexpr int gtinLength = 14;
constexpr int packSerialLength = 7;
constexpr int packLength = 29;  // GTIN, serial, price, check code: all of fixed length

bool isDigits(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

bool startsWithGtin(QStringView text)
{
    return text.size() >= gtinLength && isDigits(text.left(gtinLength));
}

QString withoutFnc1(const QString& code)
{
    static constexpr std::array prefixes = {"]d2"_L1, "]C1"_L1, "]Q3"_L1, "\x1d"_L1};
    for (const auto prefix : prefixes) {
        if (code.startsWith(prefix))
            return code.mid(prefix.size());
    }
    return code;
}

/// 01 GTIN 21 serial, the serial ending at GS or at the end of the text.
bool readGs1(CodeParts& parts)
{
    constexpr int serialAt = 2 + gtinLength + 2;
    if (parts.text.size() <= serialAt || !parts.text.startsWith("01"_L1) ||
        !startsWithGtin(QStringView(parts.text).mid(2)) || parts.text.mid(2 + gtinLength, 2) != "21"_L1)
        return false;
    const auto end = parts.text.indexOf(groupSeparator, serialAt);
    parts.gtin = parts.text.mid(2, gtinLength);
    parts.cis = end < 0 ? parts.text : parts.text.left(end);
    parts.valid = hasRightCheckDigit(parts.gtin) && end != serialAt;
    return true;
}

bool readTobaccoPack(CodeParts& parts)
{
    if (parts.text.size() != packLength || !startsWithGtin(parts.text))
        return false;
    parts.gtin = parts.text.left(gtinLength);
    parts.cis = parts.text.left(gtinLength + packSerialLength);
    parts.valid = hasRightCheckDigit(parts.gtin);
    return true;
}

/// Fur: country, producer's number and the number of the mark, as in RU-401301-AAA0277031.
bool readFur(CodeParts& parts)
{
    constexpr int length = 20;
    parts.valid = parts.text.size() == length && parts.text.at(2) == u'-' && parts.text.at(9) == u'-';
    return parts.valid;
}

}  // namespace

bool hasRightCheckDigit(const QString& gtin)
{
    int sum = 0;
    for (qsizetype i = 0; i < gtin.size(); ++i)
        sum += gtin.at(i).digitValue() * ((gtin.size() - i) % 2 == 0 ? 3 : 1);
    return !gtin.isEmpty() && sum % 10 == 0;
}

CodeParts readCode(const QString& code)
{
    CodeParts parts;
    parts.text = withoutFnc1(code);
    parts.cis = parts.text;
    if (!readGs1(parts) && !readTobaccoPack(parts))
        readFur(parts);
    return parts;
}

}  // namespace marksim
