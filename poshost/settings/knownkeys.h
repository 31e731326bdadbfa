#pragma once

#include <limits>

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

namespace poshost {

/// A key of the settings that the plug-in or this host reads: an entry of keys.json.
struct KnownKey
{
    QString
        section;  ///< name of its section, or with "*" at its end the beginning of the names of its sections
    QString name;
    QString type;      ///< text, texts, switch, number, choice, url, address, addresses or file
    QString fallback;  ///< what a missing key stands for, as text; empty for nothing
    QString instead;   ///< what is done with a value that makes no sense
    QString outside;   ///< what is done with a number that is out of its limits
    int min = std::numeric_limits<int>::min();  ///< of a number that does what it says
    int max = std::numeric_limits<int>::max();
    QStringList choices;

    [[nodiscard]] bool isIn(const QString& sectionName) const;
    /// "MarkedGoods" of "MarkedGoods*".
    [[nodiscard]] QString sectionStem() const;
    /// Belongs to this host's own settings, not to those of the plug-in.
    [[nodiscard]] bool isOfHost() const;
};

/// Every key that is read, section by section. The one list of them: the reference in the documents is made
/// from it, and settings are judged by it.
[[nodiscard]] const QList<KnownKey>& knownKeys();

/// That key of that section; null when nobody reads it.
[[nodiscard]] const KnownKey* knownKey(const QString& section, const QString& name);

/// The list as a table in Markdown.
[[nodiscard]] QString keysAsMarkdown();
/// The list as one JSON object on one line.
[[nodiscard]] QString keysAsJson();

/// How many letters have to be changed, added or left out to make one of the other, letter case aside.
[[nodiscard]] int editDistance(const QString& one, const QString& other);

}  // namespace poshost
