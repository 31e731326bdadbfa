#include "poshost/doctor/examination.h"

#include <algorithm>
#include <array>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include "poshost/language.h"
#include "poshost/settings/knownkeys.h"
#include "poshost/settings/values.h"

namespace poshost {

namespace {

QString faultOfSwitch(const KnownKey&, const QString& value)
{
    static const QRegularExpression words(QStringLiteral("^(true|yes|on|1|false|no|off|0)$"),
                                          QRegularExpression::CaseInsensitiveOption);
    return words.match(value).hasMatch() ? QString()
                                         : said({u"neither true nor false", u"не true и не false"});
}

QString faultOfNumber(const KnownKey& key, const QString& value)
{
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    if (!isNumber) {
        return said({u"no whole number", u"не целое число"});
    }
    if (number < key.min) {
        return said({u"less than %1", u"меньше %1"}).arg(key.min);
    }
    return number > key.max ? said({u"more than %1", u"больше %1"}).arg(key.max) : QString();
}

QString faultOfChoice(const KnownKey& key, const QString& value)
{
    // The plug-in compares letter by letter, this host does not.
    const auto letters = key.isOfHost() ? Qt::CaseInsensitive : Qt::CaseSensitive;
    return key.choices.contains(value, letters) ? QString()
                                                : said({u"none of the words: %1", u"не из слов: %1"})
                                                      .arg(key.choices.join(QLatin1String(", ")));
}

QString faultOfUrl(const KnownKey&, const QString& value)
{
    return isAskable(QUrl(value, QUrl::StrictMode))
               ? QString()
               : said({u"no address that begins with http:// or https://",
                       u"не адрес, начинающийся с http:// или https://"});
}

QString faultOfProxy(const KnownKey&, const QString& value)
{
    return isProxy(value) ? QString() : said({u"no address", u"не адрес"});
}

QString faultOfAddresses(const KnownKey&, const QString& value)
{
    const QStringList texts = value.split(u',');
    const bool areAskable = std::all_of(texts.begin(), texts.end(), [](const QString& text) {
        return text.trimmed().isEmpty() || isAskable(addressOf(text.trimmed()));
    });
    return areAskable ? QString()
                      : said({u"not all addresses are http or https", u"не все адреса http или https"});
}

QString faultOfFile(const KnownKey& key, const QString& value)
{
    const QFileInfo info(value);
    if (key.section == QLatin1String("Log")) {
        const bool isWritable =
            info.exists() ? info.isFile() && info.isWritable() : QFileInfo(info.absolutePath()).isWritable();
        return isWritable ? QString()
                          : said({u"such a file cannot be written", u"такой файл нельзя записать"});
    }
    QFile file(value);
    if (!info.isFile() || !file.open(QIODevice::ReadOnly)) {
        return said(
            {u"there is no such file, or it cannot be read", u"нет такого файла, или его нельзя прочитать"});
    }
    const bool isPem = key.name != QLatin1String("caFile") || holdsCertificates(value);
    return isPem ? QString() : said({u"these are no certificates in PEM", u"это не сертификаты в виде PEM"});
}

struct TypeCheck
{
    const char* type;
    QString (*faultOf)(const KnownKey& key, const QString& value);
};
/// Every text is good for the types that are not here.
constexpr std::array typeChecks = {
    TypeCheck{"switch", faultOfSwitch}, TypeCheck{"number", faultOfNumber},
    TypeCheck{"choice", faultOfChoice}, TypeCheck{"url", faultOfUrl},
    TypeCheck{"address", faultOfProxy}, TypeCheck{"addresses", faultOfAddresses},
    TypeCheck{"file", faultOfFile},
};

/// What is wrong with a value; empty when nothing is.
QString faultOf(const KnownKey& key, const QString& value)
{
    // Nothing means the default, but for a switch that is there to be off.
    const bool countsWhenEmpty = key.type == QLatin1String("switch") && key.fallback.isEmpty();
    const auto* check = std::find_if(typeChecks.begin(), typeChecks.end(), [&](const TypeCheck& known) {
        return key.type == QLatin1String(known.type);
    });
    return check == typeChecks.end() || (value.isEmpty() && !countsWhenEmpty) ? QString()
                                                                              : check->faultOf(key, value);
}

/// How many letters somebody who mistyped a name of that length may have got wrong.
int likelyDistance(const QString& name)
{
    return std::max(1, int(name.size()) / 3);
}

/// A key of another section must fit much better than the section's own.
int distanceTo(const KnownKey& key, const QString& section, const QString& name)
{
    constexpr int elsewhere = 3;
    return editDistance(name, key.name) + (key.isIn(section) ? 0 : elsewhere);
}

const KnownKey& nearestKey(const QString& section, const QString& name)
{
    return *std::min_element(knownKeys().begin(), knownKeys().end(), [&](const auto& one, const auto& other) {
        return distanceTo(one, section, name) < distanceTo(other, section, name);
    });
}

/// A key of the section whose name is nearest; null when none is near.
const KnownKey* nearestSection(const QString& section)
{
    static const QRegularExpression number(QStringLiteral("[0-9]+$"));
    const QString stem = QString(section).remove(number);
    const auto nearest =
        std::min_element(knownKeys().begin(), knownKeys().end(), [&](const auto& one, const auto& other) {
            return editDistance(stem, one.sectionStem()) < editDistance(stem, other.sectionStem());
        });
    return editDistance(stem, nearest->sectionStem()) <= likelyDistance(stem) ? &*nearest : nullptr;
}

void checkValue(const Examined& examined, const KnownKey& key, const QString& section)
{
    const QString value = examined.config.getString(section + u':' + key.name);
    const QString fault = faultOf(key, value);
    if (fault.isEmpty()) {
        return;
    }
    bool isNumber = false;
    Q_UNUSED(value.toInt(&isNumber));
    const QString without =
        key.fallback.isEmpty()
            ? QString()
            : said({u": without it %1 holds", u": без неё действует %1"}).arg(key.fallback);
    // The till may have what this machine has not.
    const bool isElsewhere =
        examined.report.offline && key.type == QLatin1String("file") && !QFileInfo::exists(value);
    examined.add(isElsewhere ? Level::Note : Level::Bad, Area::Settings, "wrong-value", section, key.name,
                 said({u"\"%1\": %2; %3", u"«%1»: %2; %3"})
                     .arg(shownText(value), fault, isNumber ? key.outside : key.instead),
                 said({u"correct the value or take the line out", u"исправьте значение или уберите строку"}) +
                     without);
}

void judgeUnknownKey(const Examined& examined, const QString& section, const QString& name)
{
    const KnownKey& meant = nearestKey(section, name);
    const bool isNear = distanceTo(meant, section, name) <= likelyDistance(name);
    if (knownKey(section, QStringLiteral("markverifycrptservice")) != nullptr && !isNear) {
        return;  // these sections are the host's own, with keys of its own
    }
    const QString where =
        meant.isIn(section) ? meant.name : QStringLiteral("[%1] %2").arg(meant.section, meant.name);
    examined.add(Level::Bad, Area::Settings, "unknown-key", section, name,
                 said({u"nobody reads such a key; the nearest known one: %1",
                       u"такого ключа никто не читает; ближайший известный: %1"})
                     .arg(where),
                 said({u"correct the name (letter case counts) or take the line out",
                       u"исправьте имя (регистр букв важен) или уберите строку"}));
}

void checkSection(const Examined& examined, const QString& section)
{
    const qsizetype before = examined.report.findings.size();
    const QStringList keys = examined.config.keys(section);
    for (const QString& name : keys) {
        if (const KnownKey* key = knownKey(section, name)) {
            checkValue(examined, *key, section);
        } else {
            judgeUnknownKey(examined, section, name);
        }
    }
    if (examined.report.findings.size() == before) {
        examined.add(
            Level::Good, Area::Settings, "section", section, {},
            keys.isEmpty()
                ? said({u"no keys, the defaults hold", u"ключей нет, действуют значения по умолчанию"})
                : said({u"keys %1, all are read", u"ключей %1, все читаются"}).arg(keys.size()));
    }
}

void judgeUnknownSection(const Examined& examined, const QString& section)
{
    const KnownKey* meant = nearestSection(section);
    if (meant == nullptr) {
        examined.add(Level::Note, Area::Settings, "foreign-section", section, {},
                     said({u"neither the plug-in nor poshost reads such a section",
                           u"такой секции не читают ни плагин, ни poshost"}));
        return;
    }
    examined.add(Level::Bad, Area::Settings, "unknown-section", section, {},
                 said({u"nobody reads such a section; the nearest known one: [%1]",
                       u"такой секции никто не читает; ближайшая известная: [%1]"})
                     .arg(meant->section),
                 said({u"correct the name (letter case counts) or take the section out",
                       u"исправьте имя (регистр букв важен) или уберите секцию"}));
}

}  // namespace

void checkNamesAndValues(const Examined& examined)
{
    const QString service = QStringLiteral("markverifycrptservice");
    for (const QString& section : examined.config.sections()) {
        const bool isKnown = std::any_of(knownKeys().begin(), knownKeys().end(),
                                         [&](const KnownKey& key) { return key.isIn(section); });
        if (!isKnown) {
            judgeUnknownSection(examined, section);
            continue;
        }
        checkSection(examined, section);
        if (const KnownKey* key = knownKey(section, service)) {
            examined.report.markingSections.append(
                {section, examined.config.getString(section + u':' + service, key->fallback)});
        }
    }
}

}  // namespace poshost
