#pragma once

#include <limits>
#include <span>

#include <QLatin1String>
#include <QString>
#include <QStringList>

namespace doctor {

enum class KeyType {
    Text,
    Switch,  ///< true, yes, on, 1 or false, no, off, 0
    Number,  ///< a whole number
    Choice,  ///< one of a few words
    Url,     ///< in full
    Proxy,   ///< an address as a user writes it
    AddressList,
    TextList,
    InputFile,   ///< must be there
    OutputFile,  ///< will be made
};

/// A key of the settings that the plug-in or this host reads.
struct KnownKey
{
    /// Name of its section, or with "*" at its end the beginning of the names of its sections.
    const char* section;
    const char* name;
    KeyType type;
    const char* fallback;     ///< what a missing key stands for, as text; empty for nothing
    const char16_t* instead;  ///< what is done with a value that makes no sense, in Russian
    const char16_t* meaning;  ///< in Russian
    const char* meaningInEnglish;
    int least = std::numeric_limits<int>::min();  ///< of a number that does what it says
    int most = std::numeric_limits<int>::max();
    const char* choices = "";           ///< separated by blanks
    const char16_t* outside = instead;  ///< what is done with a number that is out of these limits

    [[nodiscard]] bool isIn(const QString& sectionName) const;
    /// "MarkedGoods" of "MarkedGoods*".
    [[nodiscard]] QString sectionStem() const;
    [[nodiscard]] QStringList words() const;
    /// Belongs to this host's own settings, not to those of the plug-in.
    [[nodiscard]] bool isOfHost() const;
};

/// Every key that is read, section by section. The one list of them: what is said of keys elsewhere is held
/// against it.
[[nodiscard]] std::span<const KnownKey> knownKeys();

/// That key of that section; null when nobody reads it.
[[nodiscard]] const KnownKey* knownKey(const QString& section, const QString& name);

/// "text", "switch", ...
[[nodiscard]] QString typeName(KeyType type);

/// How many letters have to be changed, added, left out or swapped with their neighbour to make one of the
/// other, letter case aside.
[[nodiscard]] int distance(const QString& one, const QString& other);

}  // namespace doctor
