#include "poshost/settings/knownkeys.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <stdexcept>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include "poshost/language.h"

namespace poshost {

namespace {

const QStringList ownSections = {QStringLiteral("Host"), QStringLiteral("Network"), QStringLiteral("Log")};

/// One entry for each section, with all members: those that the file leaves out are null.
QJsonArray readEntries()
{
    QFile file(QStringLiteral(":/settings/keys.json"));
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("the list of keys is not in this program");
    }
    QJsonArray entries;
    for (const auto& value : QJsonDocument::fromJson(file.readAll()).array()) {
        QJsonObject entry = value.toObject();
        for (const char* member :
             {"default", "least", "most", "instead", "insteadEn", "outside", "outsideEn"}) {
            entry.insert(QLatin1String(member), entry.value(QLatin1String(member)).toVariant().toJsonValue());
        }
        entry.insert(QStringLiteral("choices"), entry.value(QStringLiteral("choices")).toArray());
        const QStringList sections = entry[QStringLiteral("section")].toVariant().toStringList();
        for (const QString& section : sections) {
            entry.insert(QStringLiteral("section"), section);
            entry.insert(QStringLiteral("readBy"), ownSections.contains(section) ? QStringLiteral("poshost")
                                                                                 : QStringLiteral("plugin"));
            entries.append(entry);
        }
    }
    return entries;
}

const QJsonArray& keyEntries()
{
    static const QJsonArray entries = readEntries();
    return entries;
}

/// A member that is Russian, or its English twin.
QString saidBy(const QJsonValue& entry, const QString& member)
{
    return entry[poshost::language() == poshost::Language::English ? member + QLatin1String("En") : member]
        .toString();
}

KnownKey keyOf(const QJsonValue& entry)
{
    KnownKey key;
    key.section = entry[QLatin1String("section")].toString();
    key.name = entry[QLatin1String("key")].toString();
    key.type = entry[QLatin1String("type")].toString();
    key.fallback = entry[QLatin1String("default")].toString();
    key.instead = saidBy(entry, QStringLiteral("instead"));
    const QString outside = saidBy(entry, QStringLiteral("outside"));
    key.outside = outside.isEmpty() ? key.instead : outside;
    key.min = entry[QLatin1String("least")].toInt(key.min);
    key.max = entry[QLatin1String("most")].toInt(key.max);
    key.choices = entry[QLatin1String("choices")].toVariant().toStringList();
    return key;
}

struct TypeName
{
    const char* type;
    Text words;
};
constexpr std::array typeNames = {
    TypeName{"text", {u"text", u"текст"}},
    TypeName{"texts", {u"texts", u"тексты"}},
    TypeName{"switch", {u"yes or no", u"да или нет"}},
    TypeName{"number", {u"number", u"число"}},
    TypeName{"url", {u"address", u"адрес"}},
    TypeName{"address", {u"address", u"адрес"}},
    TypeName{"addresses", {u"addresses", u"адреса"}},
    TypeName{"file", {u"file", u"файл"}},
};

QString typeOf(const QJsonValue& entry)
{
    const QString type = entry[QLatin1String("type")].toString();
    const auto* row = std::find_if(typeNames.begin(), typeNames.end(),
                                   [&](const TypeName& name) { return type == QLatin1String(name.type); });
    const QStringList choices = entry[QLatin1String("choices")].toVariant().toStringList();
    return row != typeNames.end() ? said(row->words) : u'`' + choices.join(QLatin1String("`, `")) + u'`';
}

}  // namespace

bool KnownKey::isIn(const QString& sectionName) const
{
    return section.endsWith(u'*') ? sectionName.startsWith(sectionStem()) : sectionName == section;
}

QString KnownKey::sectionStem() const
{
    return section.endsWith(u'*') ? section.chopped(1) : section;
}

bool KnownKey::isOfHost() const
{
    return ownSections.contains(section);
}

const QList<KnownKey>& knownKeys()
{
    static const QList<KnownKey> keys = [] {
        QList<KnownKey> read;
        std::transform(keyEntries().begin(), keyEntries().end(), std::back_inserter(read), keyOf);
        return read;
    }();
    return keys;
}

const KnownKey* knownKey(const QString& section, const QString& name)
{
    const auto key = std::find_if(knownKeys().begin(), knownKeys().end(), [&](const KnownKey& known) {
        return known.isIn(section) && known.name == name;
    });
    return key != knownKeys().end() ? &*key : nullptr;
}

QString keysAsMarkdown()
{
    static constexpr Text head = {
        u"| section | key | type | default | meaning |\n|---|---|---|---|---|\n",
        u"| секция | ключ | тип | по умолчанию | значение |\n|---|---|---|---|---|\n"};
    QString text = said(head);
    for (const auto& entry : keyEntries()) {
        const QString fallback = entry[QLatin1String("default")].toString();
        text += QStringLiteral("| `%1` | `%2` | %3 | %4 | %5 |\n")
                    .arg(entry[QLatin1String("section")].toString(), entry[QLatin1String("key")].toString(),
                         typeOf(entry), fallback.isEmpty() ? QString() : QStringLiteral("`%1`").arg(fallback),
                         saidBy(entry, QStringLiteral("meaning")));
    }
    return text;
}

QString keysAsJson()
{
    const QJsonObject object{{QStringLiteral("keys"), keyEntries()}};
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + u'\n';
}

int editDistance(const QString& one, const QString& other)
{
    const QString a = one.toLower();
    const QString b = other.toLower();
    QList<int> row(b.size() + 1);  // distances of the beginnings of b to the beginning of a so far
    std::iota(row.begin(), row.end(), 0);
    for (const QChar letter : a) {
        int diagonal = row[0]++;
        for (qsizetype i = 0; i < b.size(); ++i) {
            const int changed = diagonal + (letter == b[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({changed, diagonal + 1, row[i] + 1});
        }
    }
    return row.last();
}

}  // namespace poshost
