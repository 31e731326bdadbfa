#include <utils/markingcode.h>

#include <algorithm>
#include <array>

#include <QByteArray>
#include <QRegularExpression>

#include <utils/printable.h>

namespace {

constexpr char groupSeparator = 0x1D;

bool areDigits(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

/// The text that `text` encodes in strict Base64, or an empty text when it encodes none.
QString fromBase64(QStringView text)
{
    if (text.size() % 4 != 0 || text.isEmpty() || areDigits(text.first(2))) {
        return {};
    }
    const QByteArray latin = text.toLatin1();
    const QByteArray decoded = QByteArray::fromBase64(latin);
    // Encoding it again tells whether alphabet, padding and the unused bits were as the encoding has them.
    if (!decoded.isValidUtf8() || decoded.toBase64() != latin) {
        return {};
    }
    const QString plain = QString::fromUtf8(decoded);
    const bool isText = std::all_of(plain.begin(), plain.end(),
                                    [](QChar c) { return c == QLatin1Char(groupSeparator) || c.isPrint(); });
    return isText ? plain : QString();
}

QStringView withoutLeadingFnc1(QStringView text)
{
    static constexpr std::array<QStringView, 4> forms = {u"]d2", u"]C1", u"]Q3", u"\x1D"};
    for (;;) {
        const auto* const form = std::find_if(forms.begin(), forms.end(),
                                              [text](QStringView prefix) { return text.startsWith(prefix); });
        if (form == forms.end()) {
            return text;
        }
        text = text.sliced(form->size());
    }
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

}  // namespace

MarkingCode::MarkingCode(const QString& text)
    : m_text(text)
{
    for (;;) {
        const QStringView plain = withoutLeadingFnc1(m_text);
        const QString decoded = fromBase64(plain);
        if (decoded.isEmpty()) {
            m_text.remove(0, m_text.size() - plain.size());
            return;
        }
        m_text = decoded;
    }
}

QString MarkingCode::toReadable() const
{
    return utils::printable(m_text);
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
        const qsizetype gs = m_text.indexOf(QLatin1Char(groupSeparator), serialStart);
        return m_text.left(gs >= 0 ? gs : serialStart + serialLength(m_text.sliced(serialStart)));
    }
    if (text.size() == packLength && areDigits(text.first(14))) {
        return m_text.left(packCisLength);
    }
    return m_text;
}
