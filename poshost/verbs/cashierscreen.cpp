#include "poshost/verbs/cashierscreen.h"

#include <algorithm>
#include <array>

#include "poshost/language.h"
#include "poshost/terminal/output.h"

namespace poshost {

namespace {

constexpr int maxBar = 60;

struct Look
{
    char16_t bar;
    const char* sign;
    const char* colour;
};

/// By Mark.
constexpr std::array<Look, 3> looks = {{
    {u'=', "✓", "\x1b[1;30;42m"},
    {u'#', "✗", "\x1b[1;37;41m"},
    {u'-', "!", "\x1b[1;30;43m"},
}};

struct Word
{
    CashierCommand command;
    const char* english;
    const char* russian;
    Text help;
};

constexpr std::array words = {
    Word{CashierCommand::Refund,
         "refund",
         "возврат",
         {u"take goods back; once more: sell again", u"принимать возврат; ещё раз — снова продавать"}},
    Word{CashierCommand::Basket,
         "basket",
         "чек",
         {u"show what has been scanned", u"показать, что уже отсканировано"}},
    Word{CashierCommand::Help, "help", "помощь", {u"show this help", u"показать эту подсказку"}},
    Word{CashierCommand::Quit, "quit", "выход", {u"end the work", u"закончить"}},
};

}  // namespace

QString banner(Mark mark, const QString& title, const QStringList& lines, const Style& style)
{
    const Look& look = looks.at(size_t(mark));
    const qsizetype width = style.width > 0 ? std::min(style.width, maxBar) : maxBar;
    const QString bar(width, QChar(look.bar));
    const QString head = QStringLiteral("  %1 %2").arg(QString::fromUtf8(look.sign), title);
    QString text = QStringLiteral("\n");
    for (const QString& row : QStringList{bar} + fitted(head, int(width)).split(u'\n') + QStringList{bar}) {
        text += style.colours
                    ? QString::fromUtf8(look.colour) + row.leftJustified(width) + QLatin1String("\x1b[0m\n")
                    : row + u'\n';
    }
    for (const QString& line : lines) {
        text += QStringLiteral("  %1\n").arg(line);
    }
    return text;
}

QString basketSum(const Basket& basket, Deal deal)
{
    return said(deal == Deal::Sale ? Text{u"In the basket: %1", u"В чеке: %1"}
                                   : Text{u"To take back: %1", u"К возврату: %1"})
        .arg(basket.items().size());
}

QString basketList(const Basket& basket, Deal deal)
{
    QString text = basketSum(basket, deal) + u'\n';
    qsizetype number = 0;
    for (const Basket::Item& item : basket.items()) {
        const QString remark = item.remark.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(item.remark);
        text += QStringLiteral("%1. %2%3\n").arg(QString::number(++number), item.code.toReadable(), remark);
    }
    return text;
}

std::optional<CashierCommand> commandOf(const QString& text)
{
    const QString wanted = text.trimmed().toLower();
    const auto* word = std::find_if(words.begin(), words.end(), [&](const Word& candidate) {
        return wanted == QLatin1String(candidate.english) || wanted == QString::fromUtf8(candidate.russian);
    });
    return word == words.end() ? std::nullopt : std::optional(word->command);
}

QString commandHelp()
{
    QString text = said({u"Scan codes or type:\n", u"Сканируйте коды или наберите:\n"});
    for (const Word& word : words) {
        text += said({u"  %2, %1 — %3\n", u"  %1, %2 — %3\n"})
                    .arg(QString::fromUtf8(word.russian), QString::fromUtf8(word.english), said(word.help));
    }
    return text;
}

}  // namespace poshost
