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

bool hasCyrillic(const QString& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return character.script() == QChar::Script_Cyrillic; });
}

struct Titles
{
    Text accepted;
    Text unverified;  ///< behind the word that tells so
    Text refused;
    Text repeated;
};

/// By Deal.
constexpr std::array<Titles, 2> titles = {{
    {{u"PASSED: sell it", u"ПРОШЁЛ: можно продавать"},
     {u"sale permitted", u"продажа разрешена"},
     {u"REFUSED: do not sell", u"ОТКАЗ: не продавать"},
     {u"IN THE BASKET: not added twice", u"УЖЕ В ЧЕКЕ: второй раз не добавлен"}},
    {{u"PASSED: take it back", u"ПРОШЁЛ: можно принять возврат"},
     {u"refund permitted", u"возврат разрешён"},
     {u"REFUSED: do not take it back", u"ОТКАЗ: возврат не принимать"},
     {u"ALREADY TAKEN BACK: not added twice", u"УЖЕ В ВОЗВРАТЕ: второй раз не добавлен"}},
}};

}  // namespace

Mark markOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Passed:
        return Mark::Good;
    case Verdict::Unverified:
        return Mark::Attention;
    case Verdict::Failed:
    case Verdict::Missing:
        break;
    }
    return Mark::Bad;
}

QString titleOf(Verdict verdict, Deal deal)
{
    const Titles& title = titles.at(size_t(deal));
    switch (verdict) {
    case Verdict::Passed:
        return said(title.accepted);
    case Verdict::Unverified:
        return QStringLiteral("%1: %2").arg(said({u"NO CHECK", u"БЕЗ ПРОВЕРКИ", true}),
                                            said(title.unverified));
    case Verdict::Failed:
    case Verdict::Missing:
        break;
    }
    return said(title.refused);
}

QString repeatedTitle(Deal deal)
{
    return said(titles.at(size_t(deal)).repeated);
}

QString faultWords(CodeFault fault, const QString& text)
{
    switch (fault) {
    case CodeFault::Characters:
        return hasCyrillic(text)
                   ? said({u"the code has Russian letters: switch the keyboard to the Latin layout",
                           u"в коде русские буквы: переключите раскладку клавиатуры на латинскую"})
                   : said({u"the code has characters that no code has: scan it again",
                           u"в коде посторонние знаки: отсканируйте ещё раз"});
    case CodeFault::TooLong:
        return said({u"the code is too long: scan it again", u"код слишком длинный: отсканируйте ещё раз"});
    case CodeFault::Empty:
    case CodeFault::None:
        break;
    }
    return said({u"the code is empty: scan it again", u"код пуст: отсканируйте ещё раз"});
}

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
