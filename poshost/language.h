#pragma once

#include <QString>

namespace poshost {

enum class Language { English, Russian };

/// A text for people in both languages.
struct Text
{
    const char16_t* english = u"";
    const char16_t* russian = u"";
    /// The documents promise these words whatever the locale is: in Russian, unless English was asked for by
    /// name.
    bool isPromised = false;
};

/// The language of what people are told: Russian until one is set. For the time before any other thread runs.
[[nodiscard]] Language language();
void setLanguage(Language language);
/// The same for a language that was asked for by name.
void askForLanguage(Language language);

/// That of the locale in the environment (LC_ALL, LC_MESSAGES, LANG): Russian for "ru", and where no language
/// is named ("C", "POSIX", nothing); English for every other one.
[[nodiscard]] Language languageOfEnvironment();

/// The text in the language that is set.
[[nodiscard]] QString said(const Text& text);

}  // namespace poshost
