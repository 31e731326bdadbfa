#include "poshost/reports/table.h"

#include <algorithm>
#include <array>

#include <QStringList>

#include "poshost/language.h"
#include "poshost/reports/statustext.h"
#include "poshost/terminal/output.h"

namespace poshost {

namespace {

using Result = CheckMarkingCodesResult;

constexpr qsizetype maxPadding = 100;  // a longer code pushes its own remarks aside, not everybody's
constexpr qsizetype minCode = 24;

/// One line before it is laid out.
struct Row
{
    Verdict verdict;
    QString code;
    QString remarks;
};

struct Look
{
    Text text;
    const char16_t* colour;
};

/// By Verdict.
constexpr std::array<Look, 4> looks = {{
    {{u"✓ passed", u"✓ прошёл"}, u"\x1b[32m"},
    {{u"✗ REFUSED", u"✗ ОТКАЗ"}, u"\x1b[1;31m"},
    {{u"? none", u"? нет"}, u"\x1b[33m"},
    {{u"! NO CHECK", u"! БЕЗ ПРОВЕРКИ", true}, u"\x1b[33m"},
}};

const Look& lookOf(Verdict verdict)
{
    return looks.at(size_t(verdict));
}

QString verdictText(Verdict verdict)
{
    return said(lookOf(verdict).text);
}

QString inColour(const QString& text, const QString& colour, const Style& style)
{
    return style.colours ? colour + text + QLatin1String("\x1b[0m") : text;
}

QString reasons(const Result::CodeStatus& failed, Deal deal)
{
    QStringList parts = statusWords(failed, deal);
    if (!failed.message.isEmpty()) {
        parts.append(u'«' + oneLine(failed.message) + u'»');
    }
    if (failed.errorCode != 0) {
        parts.append(said({u"error code %1", u"код ошибки %1"}).arg(failed.errorCode));
    }
    return parts.isEmpty() ? said({u"no reason given", u"причина не названа"})
                           : parts.join(QLatin1String("; "));
}

QList<Row> makeRows(const Verification& verification)
{
    const QList<Verdict> verdicts = verification.verdicts();
    QList<Row> rows;
    for (qsizetype i = 0; i < verification.codes.size(); ++i) {
        const MarkingCode& code = verification.codes[i];
        QStringList remarks;
        if (verdicts[i] == Verdict::Failed) {
            remarks.append(reasons(verification.result.failedCodes.value(code), verification.deal));
        } else if (verdicts[i] == Verdict::Missing) {
            remarks.append(said({u"no verdict", u"вердикта нет"}));
        } else if (verification.forgiven.contains(code)) {
            remarks.append(forgivenWords());
        }
        if (const QString data = sideData(verification.result, code); !data.isEmpty()) {
            remarks.append(data);
        }
        rows.append({verdicts[i], code.toReadable(), remarks.join(QStringLiteral(" · "))});
    }
    return rows;
}

/// Keeps the ends, which tell codes apart.
QString shortened(const QString& text, qsizetype width)
{
    if (text.size() <= width) {
        return text;
    }
    const qsizetype tail = (width - 1) / 3;
    return text.first(width - 1 - tail) + u'…' + text.last(tail);
}

qsizetype verdictWidthOf(const QList<Row>& rows)
{
    constexpr qsizetype gap = 2;
    qsizetype longest = std::max(verdictText(Verdict::Passed).size(), verdictText(Verdict::Failed).size());
    for (const Row& row : rows) {
        longest = std::max(longest, verdictText(row.verdict).size());
    }
    return longest + gap;
}

qsizetype codeWidth(const QList<Row>& rows, const Style& style)
{
    qsizetype longest = 0;
    qsizetype maxRemarkSize = 0;
    for (const Row& row : rows) {
        longest = std::max(longest, row.code.size());
        maxRemarkSize = std::max(maxRemarkSize, row.remarks.size());
    }
    if (style.width == 0) {
        return std::min(longest, maxPadding);
    }
    const qsizetype left = style.width - verdictWidthOf(rows) - 2 - maxRemarkSize;
    return std::min(longest, std::max({left, qsizetype(style.width / 3), minCode}));
}

QString table(const QList<Row>& rows, const Style& style)
{
    const qsizetype width = codeWidth(rows, style);
    const qsizetype wide = verdictWidthOf(rows);
    QString text;
    bool isAnyShortened = false;
    for (const Row& row : rows) {
        const QString code = style.width == 0 ? row.code : shortened(row.code, width);
        isAnyShortened |= code != row.code;
        const QString verdict = verdictText(row.verdict).leftJustified(wide);
        text += inColour(verdict, QString::fromUtf16(lookOf(row.verdict).colour), style);
        text += row.remarks.isEmpty() ? code : code.leftJustified(width) + QLatin1String("  ") + row.remarks;
        text += u'\n';
    }
    if (isAnyShortened) {
        text += said({u"Codes are shortened to the screen; --json and output to a file show them whole\n",
                      u"Коды сокращены по ширине экрана; целиком их покажут --json и вывод в файл\n"});
    }
    return text;
}

QString sums(const QList<Row>& rows)
{
    const auto count = [&](Verdict verdict) {
        return std::count_if(rows.begin(), rows.end(),
                             [verdict](const Row& row) { return row.verdict == verdict; });
    };
    QStringList parts = {said({u"passed %1", u"прошли %1"}).arg(count(Verdict::Passed)),
                         said({u"refused %1", u"отказано %1"}).arg(count(Verdict::Failed))};
    if (const auto unverified = count(Verdict::Unverified); unverified > 0) {
        parts.append(said({u"without a check %1", u"без проверки %1"}).arg(unverified));
    }
    if (const auto missing = count(Verdict::Missing); missing > 0) {
        parts.append(said({u"without a verdict %1", u"без вердикта %1"}).arg(missing));
    }
    return said({u"Codes %1: %2", u"Кодов %1: %2"})
        .arg(QString::number(rows.size()), parts.join(QLatin1String(", ")));
}

QString origin(const Verification& verification)
{
    if (verification.source() == Source::Offline) {
        return said({u"local module (offline)", u"локальный модуль (offline)"});
    }
    QStringList parts = {verification.source() == Source::Online
                             ? said({u"online check (online)", u"онлайн-проверка (online)"})
                             : said({u"none", u"нет"})};
    const Result& result = verification.result;
    if (result.status() != 0) {
        parts.append(QStringLiteral("HTTP %1").arg(result.status()));
    }
    if (!result.url().isEmpty()) {
        parts.append(shownAddress(result.url()));
    }
    if (const QString words = whyNoVerdict(result.errorKind(), result.status(), verification.deal);
        !words.isEmpty()) {
        parts.append(words);
    }
    if (!result.errorText().ru().isEmpty()) {
        parts.append(oneLine(result.errorText().ru()));
    }
    return parts.join(QLatin1String(", "));
}

QString notices(const QList<Notification>& notifications)
{
    QMap<QString, QString> standing;
    for (const Notification& notification : notifications) {
        standing[notification.id] = notification.text;
    }
    QString text;
    for (const QString& notice : std::as_const(standing)) {
        if (!notice.isEmpty()) {
            text += said({u"Notice for the cashier: %1\n", u"Сообщение кассиру: %1\n"}).arg(oneLine(notice));
        }
    }
    return text;
}

}  // namespace

QString sideData(const Result& result, const MarkingCode& code)
{
    QStringList parts;
    if (const auto date = result.expireDates.constFind(code); date != result.expireDates.constEnd()) {
        parts.append(date->isValid()
                         ? said({u"good until %1", u"годен до %1"})
                               .arg(date->toLocalTime().toString(QStringLiteral("dd.MM.yyyy HH:mm")))
                         : said({u"no expiry date given", u"срок годности не указан"}));
    }
    if (const auto weight = result.productWeights.constFind(code);
        weight != result.productWeights.constEnd()) {
        parts.append(said({u"weight %1", u"вес %1"}).arg(*weight));
    }
    if (const auto mrp = result.mrps.constFind(code); mrp != result.mrps.constEnd()) {
        parts.append(said({u"MRP %1 (group %2)", u"МРЦ %1 (группа %2)"}).arg(mrp->mrp).arg(mrp->groupId));
    }
    return parts.join(QLatin1String(", "));
}

QString toTable(const Verification& verification, const Style& style)
{
    const QList<Row> rows = makeRows(verification);
    return standHead(verification.stand) + table(rows, style) + u'\n' + sums(rows) +
           said({u", in %1 ms\n", u", за %1 мс\n"}).arg(verification.elapsed.count()) +
           said({u"Source: %1\n", u"Источник: %1\n"}).arg(origin(verification)) +
           notices(verification.notifications);
}

}  // namespace poshost
