#include <utils/markingcode.h>

#include <algorithm>
#include <array>

#include <QByteArray>
#include <QRegularExpression>

namespace {

constexpr QChar GroupSeparator(0x1D);

bool isSevenBitText(const QString& text)
{
    return std::all_of(text.cbegin(), text.cend(),
                       [](QChar c) { return c == GroupSeparator || (c >= u' ' && c <= u'~'); });
}

bool mayBeBase64(const QString& text)
{
    return text.size() >= 4 && text.size() % 4 == 0 && !text.front().isDigit();
}

/// The text that `text` encodes in strict Base64, or a null string when it encodes none.
QString fromBase64(const QString& text)
{
    if (!mayBeBase64(text)) {
        return {};
    }
    const QByteArray latin = text.toLatin1();
    const auto result = QByteArray::fromBase64Encoding(latin, QByteArray::AbortOnBase64DecodingErrors);
    const QByteArray decoded = result ? *result : QByteArray();
    QString plain = QString::fromLatin1(decoded);
    // Encoding it again tells whether padding and the unused bits were as the encoding has them.
    if (decoded.isEmpty() || !isSevenBitText(plain) || decoded.toBase64() != latin) {
        return {};
    }
    return plain;
}

QString withoutLeadingFnc1(const QString& text)
{
    static const std::array symbologies = {QStringLiteral("]d2"), QStringLiteral("]C1"),
                                           QStringLiteral("]Q3")};
    qsizetype start = 0;
    while (start < text.size()) {
        const QStringView rest = QStringView(text).mid(start);
        if (rest.front() == GroupSeparator) {
            ++start;
        } else if (rest.front() == u']' &&
                   std::any_of(symbologies.begin(), symbologies.end(),
                               [&](const QString& s) { return rest.startsWith(s); })) {
            start += 3;
        } else {
            break;
        }
    }
    return start == 0 ? text : text.mid(start);
}

bool areDigits(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

/// Length of the serial at the start of `rest`, which has no GS.
qsizetype serialLength(const QString& rest)
{
    // A text as long as a whole serial of some product group may be just that, whatever it ends in.
    static constexpr std::array<qsizetype, 3> wholeSerials = {6, 7, 20};
    static const QRegularExpression tail(
        QStringLiteral("^.+?(?<tail>91.{4}92(?:.{88}|.{44})|8005[0-9]{6}(?:93.{4})?|93.{4})$"));
    if (std::find(wholeSerials.begin(), wholeSerials.end(), rest.size()) != wholeSerials.end()) {
        return rest.size();
    }
    const auto match = tail.match(rest);
    return match.hasMatch() ? match.capturedStart(QStringLiteral("tail")) : rest.size();
}

/// The character that the unit at `i` stands in, both of its units being there; otherwise the unit itself.
char32_t characterAt(const QString& text, qsizetype i)
{
    const QChar c = text[i];
    if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
        return QChar::surrogateToUcs4(c, text[i + 1]);
    }
    if (c.isLowSurrogate() && i > 0 && text[i - 1].isHighSurrogate()) {
        return QChar::surrogateToUcs4(text[i - 1], c);
    }
    return c.unicode();
}

bool mustBeEscaped(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Surrogate:
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_NotAssigned:
    case QChar::Other_PrivateUse:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

}  // namespace

MarkingCode::MarkingCode(const QString& text)
{
    const QString decoded = fromBase64(text);
    m_text = withoutLeadingFnc1(decoded.isNull() ? text : decoded);
}

MarkingCode MarkingCode::ofText(const QString& text)
{
    if (text.isEmpty() || !isSevenBitText(text)) {
        return MarkingCode(QString::fromLatin1(text.toUtf8().toBase64()));
    }
    MarkingCode code;
    code.m_text = withoutLeadingFnc1(text);
    return code;
}

QString MarkingCode::toReadable() const
{
    QString readable;
    readable.reserve(m_text.size() + 8);
    for (qsizetype i = 0; i < m_text.size(); ++i) {
        if (m_text[i] == GroupSeparator) {
            readable += QStringLiteral("<GS>");
        } else if (mustBeEscaped(characterAt(m_text, i))) {
            readable += QStringLiteral("\\u%1").arg(uint(m_text[i].unicode()), 4, 16, QChar(u'0'));
        } else {
            readable += m_text[i];
        }
    }
    return readable;
}

MarkingCode MarkingCode::identity() const
{
    // Not always made anew: a text that looks like Base64 would be decoded a second time.
    const QString part = cis();
    return part == m_text ? *this : MarkingCode(part);
}

QString MarkingCode::cis() const
{
    constexpr qsizetype gtinEnd = 16;      // AI 01 and 14 digits
    constexpr qsizetype serialStart = 18;  // and AI 21
    constexpr qsizetype packLength = 29;
    constexpr qsizetype packCisLength = 21;

    const QStringView text(m_text);
    if (text.size() > serialStart && text.startsWith(u"01") && areDigits(text.sliced(2, 14)) &&
        text.sliced(gtinEnd, 2) == u"21") {
        const qsizetype gs = m_text.indexOf(GroupSeparator, serialStart);
        return m_text.left(gs >= 0 ? gs : serialStart + serialLength(m_text.sliced(serialStart)));
    }
    if (text.size() == packLength && areDigits(text.first(14))) {
        return m_text.left(packCisLength);
    }
    return m_text;
}
