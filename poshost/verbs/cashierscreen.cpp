#include "poshost/verbs/cashierscreen.h"

#include <algorithm>
#include <array>

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
    const char* help;
};

constexpr std::array words = {
    Word{CashierCommand::Refund, "refund", "возврат", "принимать возврат; ещё раз — снова продавать"},
    Word{CashierCommand::Basket, "basket", "чек", "показать, что уже отсканировано"},
    Word{CashierCommand::Help, "help", "помощь", "показать эту подсказку"},
    Word{CashierCommand::Quit, "quit", "выход", "закончить"},
};

}  // namespace

QString banner(Mark mark, const QString& title, const QStringList& lines, const Style& style)
{
    const Look& look = looks.at(size_t(mark));
    const qsizetype width = style.width > 0 ? std::min(style.width, maxBar) : maxBar;
    const QString bar(width, QChar(look.bar));
    const QString head =
        QStringLiteral("  %1 %2").arg(QString::fromUtf8(look.sign), title).leftJustified(width);
    QString text = QStringLiteral("\n");
    for (const QString& row : {bar, head, bar}) {
        text += style.colours ? QString::fromUtf8(look.colour) + row + QLatin1String("\x1b[0m\n")
                              : (row == head ? head.trimmed().prepend(QLatin1String("  ")) : row) + u'\n';
    }
    for (const QString& line : lines) {
        text += QStringLiteral("  %1\n").arg(line);
    }
    return text;
}

QString basketSum(const Basket& basket, Deal deal)
{
    return (deal == Deal::Sale ? QStringLiteral("В чеке: %1") : QStringLiteral("К возврату: %1"))
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
    QString text = QStringLiteral("Сканируйте коды или наберите:\n");
    for (const Word& word : words) {
        text += QStringLiteral("  %1, %2 — %3\n")
                    .arg(QString::fromUtf8(word.russian), QString::fromUtf8(word.english),
                         QString::fromUtf8(word.help));
    }
    return text;
}

}  // namespace poshost
