#include "poshost/language.h"

#include <algorithm>
#include <cstring>

#include <QByteArray>

namespace poshost {

namespace {

struct Choice
{
    Language language = Language::Russian;
    bool isAsked = false;
};

Choice& choice()
{
    static Choice choice;
    return choice;
}

}  // namespace

Language language()
{
    return choice().language;
}

void setLanguage(Language language)
{
    choice() = {language, false};
}

void askForLanguage(Language language)
{
    choice() = {language, true};
}

Language languageOfEnvironment()
{
    QByteArray locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = locale.isEmpty() ? qgetenv(name) : locale;
    }
    // Territory, encoding and modifier follow: "ru_RU.UTF-8".
    const auto* end = std::find_if(locale.cbegin(), locale.cend(),
                                   [](char letter) { return std::strchr("_.@", letter) != nullptr; });
    const QByteArray named = QByteArray(locale.constData(), end - locale.cbegin()).toLower();
    const bool isRussian = named.isEmpty() || named == "c" || named == "posix" || named == "ru";
    return isRussian ? Language::Russian : Language::English;
}

QString said(const Text& text)
{
    const bool isEnglish = language() == Language::English && (choice().isAsked || !text.isPromised);
    return QString::fromUtf16(isEnglish ? text.english : text.russian);
}

}  // namespace poshost
