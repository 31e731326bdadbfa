#include "poshost/verbs/cashierwords.h"

#include <algorithm>
#include <array>

#include "poshost/language.h"

namespace poshost {

namespace {

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
        return QStringLiteral("%1: %2").arg(promised({u"NO CHECK", u"БЕЗ ПРОВЕРКИ"}), said(title.unverified));
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

}  // namespace poshost
