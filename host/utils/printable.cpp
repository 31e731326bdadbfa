#include <utils/printable.h>

namespace utils {

namespace {

bool isPrintable(char32_t character)
{
    return QChar::isPrint(character) && character != QChar::LineSeparator &&
           character != QChar::ParagraphSeparator;
}

}  // namespace

QString printable(QStringView text)
{
    constexpr QChar groupSeparator(0x1D);
    QString result;
    result.reserve(text.size());
    while (!text.isEmpty()) {
        const bool isPair = text.size() > 1 && text[0].isHighSurrogate() && text[1].isLowSurrogate();
        const QStringView units = text.first(isPair ? 2 : 1);
        text = text.sliced(units.size());
        if (units[0] == groupSeparator) {
            result += QLatin1String("<GS>");
        } else if (isPrintable(isPair ? QChar::surrogateToUcs4(units[0], units[1]) : units[0].unicode())) {
            result += units;
        } else {
            for (const QChar unit : units) {
                result += QStringLiteral("\\u%1").arg(uint(unit.unicode()), 4, 16, QChar(u'0'));
            }
        }
    }
    return result;
}

}  // namespace utils
