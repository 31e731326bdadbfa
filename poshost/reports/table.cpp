#include "poshost/reports/table.h"

#include <algorithm>

#include <QStringList>

#include "poshost/reports/statustext.h"
#include "poshost/till/output.h"

namespace poshost {

namespace {

using Result = CheckMarkingCodesResult;

constexpr qsizetype maxPadding = 100;  // a longer code pushes its own remarks aside, not everybody's
constexpr qsizetype verdictWidth = 10;
constexpr qsizetype unverifiedWidth = 16;
constexpr qsizetype minCode = 24;

/// One line before it is laid out.
struct Row
{
    Verdict verdict;
    QString code;
    QString remarks;
};

QString verdictText(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Passed:
        return QStringLiteral("✓ прошёл");
    case Verdict::Failed:
        return QStringLiteral("✗ ОТКАЗ");
    case Verdict::Unverified:
        return QStringLiteral("! БЕЗ ПРОВЕРКИ");
    case Verdict::Missing:
        break;
    }
    return QStringLiteral("? нет");
}

QString colourOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Passed:
        return QStringLiteral("\x1b[32m");
    case Verdict::Failed:
        return QStringLiteral("\x1b[1;31m");
    case Verdict::Unverified:
    case Verdict::Missing:
        break;
    }
    return QStringLiteral("\x1b[33m");
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
        parts.append(QStringLiteral("код ошибки %1").arg(failed.errorCode));
    }
    return parts.isEmpty() ? QStringLiteral("причина не названа") : parts.join(QLatin1String("; "));
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
            remarks.append(QStringLiteral("вердикта нет"));
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
    const bool isWide = std::any_of(rows.begin(), rows.end(),
                                    [](const Row& row) { return row.verdict == Verdict::Unverified; });
    return isWide ? unverifiedWidth : verdictWidth;
}

qsizetype codeWidth(const QList<Row>& rows, const Style& style)
{
    qsizetype longest = 0;
    qsizetype longestRemark = 0;
    for (const Row& row : rows) {
        longest = std::max(longest, row.code.size());
        longestRemark = std::max(longestRemark, row.remarks.size());
    }
    if (style.width == 0) {
        return std::min(longest, maxPadding);
    }
    const qsizetype left = style.width - verdictWidthOf(rows) - 2 - longestRemark;
    return std::min(longest, std::max({left, qsizetype(style.width / 3), minCode}));
}

QString table(const QList<Row>& rows, const Style& style)
{
    const qsizetype width = codeWidth(rows, style);
    const qsizetype wide = verdictWidthOf(rows);
    QString text;
    for (const Row& row : rows) {
        const QString code = style.width == 0 ? row.code : shortened(row.code, width);
        const QString verdict = verdictText(row.verdict).leftJustified(wide);
        text += inColour(verdict, colourOf(row.verdict), style);
        text += row.remarks.isEmpty() ? code : code.leftJustified(width) + QLatin1String("  ") + row.remarks;
        text += u'\n';
    }
    return text;
}

QString sums(const QList<Row>& rows)
{
    const auto count = [&](Verdict verdict) {
        return std::count_if(rows.begin(), rows.end(),
                             [verdict](const Row& row) { return row.verdict == verdict; });
    };
    QStringList parts = {QStringLiteral("прошли %1").arg(count(Verdict::Passed)),
                         QStringLiteral("отказано %1").arg(count(Verdict::Failed))};
    if (const auto unverified = count(Verdict::Unverified); unverified > 0) {
        parts.append(QStringLiteral("без проверки %1").arg(unverified));
    }
    if (const auto missing = count(Verdict::Missing); missing > 0) {
        parts.append(QStringLiteral("без вердикта %1").arg(missing));
    }
    return QStringLiteral("Кодов %1: %2").arg(QString::number(rows.size()), parts.join(QLatin1String(", ")));
}

QString origin(const Verification& verification)
{
    if (verification.source() == Source::Offline) {
        return QStringLiteral("локальный модуль (offline)");
    }
    QStringList parts = {verification.source() == Source::Online ? QStringLiteral("онлайн-проверка (online)")
                                                                 : QStringLiteral("нет")};
    const Result& result = verification.result;
    if (result.status() != 0) {
        parts.append(QStringLiteral("HTTP %1").arg(result.status()));
    }
    if (!result.url().isEmpty()) {
        parts.append(shownAddress(result.url()));
    }
    if (const QString words = whyNoVerdict(result.errorKind(), result.status()); !words.isEmpty()) {
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
            text += QStringLiteral("Сообщение кассиру: %1\n").arg(oneLine(notice));
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
                         ? QStringLiteral("годен до %1")
                               .arg(date->toLocalTime().toString(QStringLiteral("dd.MM.yyyy HH:mm")))
                         : QStringLiteral("срок годности не указан"));
    }
    if (const auto weight = result.productWeights.constFind(code);
        weight != result.productWeights.constEnd()) {
        parts.append(QStringLiteral("вес %1").arg(*weight));
    }
    if (const auto mrp = result.mrps.constFind(code); mrp != result.mrps.constEnd()) {
        parts.append(QStringLiteral("МРЦ %1 (группа %2)").arg(mrp->mrp).arg(mrp->groupId));
    }
    return parts.join(QLatin1String(", "));
}

QString toTable(const Verification& verification, const Style& style)
{
    const QList<Row> rows = makeRows(verification);
    return (verification.stand ? standHead() : QString()) + table(rows, style) + u'\n' + sums(rows) +
           QStringLiteral(", за %1 мс\n").arg(verification.elapsed.count()) +
           QStringLiteral("Источник: %1\n").arg(origin(verification)) + notices(verification.notifications);
}

}  // namespace poshost
