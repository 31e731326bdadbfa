#include "doctor/settingscheck.h"

#include <algorithm>

#include <QFileInfo>
#include <QRegularExpression>

#include "doctor/address.h"
#include "doctor/knownkeys.h"

namespace doctor {

namespace {

/// What somebody who mistyped a name of that length may have meant.
int likely(const QString& name)
{
    return std::max(1, int(name.size()) / 3);
}

bool isKnown(const QString& section)
{
    const auto keys = knownKeys();
    return std::any_of(keys.begin(), keys.end(), [&](const KnownKey& key) { return key.isIn(section); });
}

/// A key of another section must fit much better than the section's own.
int strangeness(const KnownKey& key, const QString& section, const QString& name)
{
    constexpr int elsewhere = 3;
    return distance(name, QLatin1String(key.name)) + (key.isIn(section) ? 0 : elsewhere);
}

const KnownKey& nearest(const QString& section, const QString& name)
{
    const auto keys = knownKeys();
    return *std::min_element(keys.begin(), keys.end(), [&](const KnownKey& one, const KnownKey& other) {
        return strangeness(one, section, name) < strangeness(other, section, name);
    });
}

/// Of which the nearest known name may have been meant; nothing when none is near.
const KnownKey* meantSection(const QString& section)
{
    static const QRegularExpression number(QStringLiteral("[0-9]+$"));
    const QString stem = QString(section).remove(number);
    const auto keys = knownKeys();
    const auto meant = std::min_element(keys.begin(), keys.end(), [&](const auto& one, const auto& other) {
        return distance(stem, one.sectionStem()) < distance(stem, other.sectionStem());
    });
    return distance(stem, meant->sectionStem()) <= likely(stem) ? &*meant : nullptr;
}

/// No password of an address.
QString shownValue(const QString& value)
{
    const qsizetype at = value.lastIndexOf(u'@');
    return at < 0 ? value : u'…' + value.sliced(at);
}

bool isSwitch(const QString& value)
{
    static const QRegularExpression words(QStringLiteral("^(true|yes|on|1|false|no|off|0)$"),
                                          QRegularExpression::CaseInsensitiveOption);
    return words.match(value).hasMatch();
}

bool isWritable(const QString& file)
{
    const QFileInfo info(file);
    return info.exists() ? info.isFile() && info.isWritable() : QFileInfo(info.absolutePath()).isWritable();
}

bool isAmong(const KnownKey& key, const QString& value)
{
    // The plug-in compares letter by letter, this host does not.
    return key.words().contains(value, key.isOfHost() ? Qt::CaseInsensitive : Qt::CaseSensitive);
}

QString faultOfNumber(const KnownKey& key, const QString& value)
{
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    if (!isNumber) {
        return QStringLiteral("не целое число");
    }
    if (number < key.least) {
        return QStringLiteral("меньше %1").arg(key.least);
    }
    return number > key.most ? QStringLiteral("больше %1").arg(key.most) : QString();
}

bool areAskable(const QStringList& addresses)
{
    return std::all_of(addresses.begin(), addresses.end(), [](const QString& text) {
        return text.trimmed().isEmpty() || isAskable(addressOf(text.trimmed()));
    });
}

/// What is wrong with a value, in Russian; empty when nothing is.
QString faultOf(const KnownKey& key, const QString& value)
{
    const auto unless = [](bool good, const QString& fault) { return good ? QString() : fault; };
    switch (key.type) {
    case KeyType::Text:
    case KeyType::TextList:
        return {};
    case KeyType::Switch:
        return unless(isSwitch(value), QStringLiteral("не true и не false"));
    case KeyType::Number:
        return faultOfNumber(key, value);
    case KeyType::Choice:
        return unless(isAmong(key, value),
                      QStringLiteral("не из слов: %1").arg(key.words().join(QLatin1String(", "))));
    case KeyType::Url:
        return unless(isAskable(QUrl(value, QUrl::StrictMode)),
                      QStringLiteral("не адрес, начинающийся с http:// или https://"));
    case KeyType::Proxy:
        return unless(!addressOf(value).host().isEmpty(), QStringLiteral("не адрес"));
    case KeyType::AddressList:
        return unless(areAskable(value.split(u',')), QStringLiteral("не все адреса http или https"));
    case KeyType::InputFile:
        return unless(QFileInfo(value).isFile() && QFileInfo(value).isReadable(),
                      QStringLiteral("нет такого файла, или его нельзя прочитать"));
    case KeyType::OutputFile:
        return unless(isWritable(value), QStringLiteral("такой файл нельзя записать"));
    }
    return {};
}

QString adviceFor(const KnownKey& key)
{
    const QLatin1String fallback(key.fallback);
    return fallback.isEmpty()
               ? QStringLiteral("исправьте значение или уберите строку")
               : QStringLiteral("исправьте значение или уберите строку: без неё действует %1").arg(fallback);
}

class SettingsCheck
{
public:
    SettingsCheck(const Config& config, Report& report)
        : m_config(config)
        , m_report(report)
    {
    }

    void run()
    {
        for (const QString& section : m_config.sections()) {
            if (isKnown(section)) {
                checkSection(section);
            } else {
                judgeStranger(section);
            }
        }
        if (!m_strangers.isEmpty()) {
            m_report.add(Level::Note, Area::Settings, "foreign-section",
                         u'[' + m_strangers.join(QLatin1String("], [")) + u']',
                         QStringLiteral("таких секций не читают ни плагин, ни poshost"));
        }
    }

private:
    void checkSection(const QString& section)
    {
        const qsizetype before = m_report.findings.size();
        const QStringList keys = m_config.keys(section);
        for (const QString& name : keys) {
            const QString subject = QStringLiteral("[%1] %2").arg(section, name);
            if (const KnownKey* key = knownKey(section, name)) {
                checkValue(*key, subject, m_config.getString(section + u':' + name));
            } else {
                judgeStranger(section, name, subject);
            }
        }
        noteMarkingSection(section);
        if (m_report.findings.size() == before) {
            m_report.add(Level::Good, Area::Settings, "section", u'[' + section + u']',
                         keys.isEmpty() ? QStringLiteral("ключей нет, действуют значения по умолчанию")
                                        : QStringLiteral("ключей %1, все читаются").arg(keys.size()));
        }
    }

    void checkValue(const KnownKey& key, const QString& subject, const QString& value)
    {
        // Nothing means the default, but for a switch that is there to be off.
        const bool countsWhenEmpty = key.type == KeyType::Switch && *key.fallback == '\0';
        const QString fault = value.isEmpty() && !countsWhenEmpty ? QString() : faultOf(key, value);
        if (fault.isEmpty()) {
            return;
        }
        bool isNumber = false;
        Q_UNUSED(value.toInt(&isNumber));
        const char16_t* instead = isNumber ? key.outside : key.instead;
        m_report.add(
            Level::Bad, Area::Settings, "wrong-value", subject,
            QStringLiteral("«%1»: %2; %3").arg(shownValue(value), fault, QString::fromUtf16(instead)),
            adviceFor(key));
    }

    void judgeStranger(const QString& section, const QString& name, const QString& subject)
    {
        const KnownKey& meant = nearest(section, name);
        const bool isNear = strangeness(meant, section, name) <= likely(name);
        if (knownKey(section, QStringLiteral("markverifycrptservice")) != nullptr && !isNear) {
            return;  // these sections are the host's own, with keys of its own
        }
        const QString where =
            meant.isIn(section)
                ? QString::fromLatin1(meant.name)
                : QStringLiteral("[%1] %2").arg(QLatin1String(meant.section), QLatin1String(meant.name));
        m_report.add(Level::Bad, Area::Settings, "unknown-key", subject,
                     QStringLiteral("такого ключа никто не читает; ближайший известный: %1").arg(where),
                     QStringLiteral("исправьте имя (регистр букв важен) или уберите строку"));
    }

    void judgeStranger(const QString& section)
    {
        const KnownKey* meant = meantSection(section);
        if (meant == nullptr) {
            m_strangers.append(section);
            return;
        }
        m_report.add(Level::Bad, Area::Settings, "unknown-section", u'[' + section + u']',
                     QStringLiteral("такой секции никто не читает; ближайшая известная: [%1]")
                         .arg(QLatin1String(meant->section)),
                     QStringLiteral("исправьте имя (регистр букв важен) или уберите секцию"));
    }

    void noteMarkingSection(const QString& section)
    {
        const QString name = QStringLiteral("markverifycrptservice");
        if (const KnownKey* key = knownKey(section, name)) {
            m_report.markingSections.append(
                {section, m_config.getString(section + u':' + name, QLatin1String(key->fallback))});
        }
    }

    const Config& m_config;
    Report& m_report;
    QStringList m_strangers;
};

}  // namespace

void checkSettings(const Config& config, Report& report)
{
    SettingsCheck(config, report).run();
}

}  // namespace doctor
