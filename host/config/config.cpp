#include <config/config.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <utility>

// Texts are UTF-8 throughout: the parts that convert to wide characters, and Debian's library with them, are
// not wanted.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>
#include <fnmatch.h>
#include <locale.h>

#include <QFile>

#include <config/inilines.h>

template class Singleton<Config>;

namespace {

struct Key
{
    QByteArray section;
    QByteArray name;
};

/// Empty when `key` has no colon. A section's name may hold colons, a key's name may not.
std::optional<Key> split(const QString& key)
{
    const qsizetype colon = key.lastIndexOf(u':');
    if (colon < 0) {
        return std::nullopt;
    }
    return Key{key.first(colon).toUtf8(), key.sliced(colon + 1).toUtf8()};
}

QStringList inFileOrder(CSimpleIniCaseA::TNamesDepend names)
{
    names.sort(CSimpleIniCaseA::Entry::LoadOrder());
    QStringList texts;
    for (const auto& name : names) {
        texts.append(QString::fromUtf8(name.pItem));
    }
    return texts;
}

/// fnmatch() in UTF-8 whatever the locale of the process, so that "?" is one character.
bool matches(const QByteArray& pattern, const QByteArray& name)
{
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const locale_t ours = utf8 != nullptr ? uselocale(utf8) : nullptr;
    const bool match = fnmatch(pattern.constData(), name.constData(), FNM_NOESCAPE) == 0;
    if (ours != nullptr) {
        uselocale(ours);
    }
    return match;
}

bool fail(QString* error, const QString& text)
{
    if (error != nullptr) {
        *error = text;
    }
    return false;
}

}  // namespace

struct Config::State
{
    std::shared_mutex mutex;
    /// In place of a fresh reading: SimpleIni adds to what it holds.
    std::unique_ptr<CSimpleIniCaseA> ini = newIni();

    static std::unique_ptr<CSimpleIniCaseA> newIni()
    {
        auto fresh =
            std::make_unique<CSimpleIniCaseA>(/*utf8*/ true, /*multiKey*/ false, /*multiLine*/ false);
        fresh->SetQuotes(false);
        return fresh;
    }

    std::optional<QString> value(const QString& key)
    {
        const auto parts = split(key);
        if (!parts) {
            return std::nullopt;
        }
        const std::shared_lock lock(mutex);
        const char* found = ini->GetValue(parts->section.constData(), parts->name.constData());
        return found == nullptr ? std::nullopt : std::optional(QString::fromUtf8(found));
    }
};

Config::Config()
    : m_state(std::make_unique<State>())
{
}

Config::~Config() = default;

bool Config::load(const QString& file, QString* error)
{
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly)) {
        return fail(error, QStringLiteral("%1: %2").arg(file, source.errorString()));
    }
    QByteArray text = source.readAll();
    if (source.error() != QFile::NoError) {
        return fail(error, QStringLiteral("%1: %2").arg(file, source.errorString()));
    }
    if (text.startsWith("\xEF\xBB\xBF")) {
        text.remove(0, 3);
    }
    if (const QString fault = faultOfIni(text); !fault.isEmpty()) {
        return fail(error, QStringLiteral("%1:%2").arg(file, fault));
    }
    auto fresh = State::newIni();
    if (fresh->LoadData(text.constData(), size_t(text.size())) < 0) {
        return fail(error, QStringLiteral("%1: недостаточно памяти").arg(file));
    }
    const std::unique_lock lock(m_state->mutex);
    m_state->ini.swap(fresh);
    return true;
}

void Config::setValue(const QString& key, const QString& value)
{
    if (const auto parts = split(key)) {
        const std::unique_lock lock(m_state->mutex);
        m_state->ini->SetValue(parts->section.constData(), parts->name.constData(),
                               value.toUtf8().constData());
    }
}

void Config::clear()
{
    auto fresh = State::newIni();
    const std::unique_lock lock(m_state->mutex);
    m_state->ini.swap(fresh);
}

QStringList Config::sections(const QString& wildcard) const
{
    CSimpleIniCaseA::TNamesDepend names;
    const std::shared_lock lock(m_state->mutex);
    m_state->ini->GetAllSections(names);
    QStringList matching = inFileOrder(std::move(names));
    const QByteArray pattern = wildcard.toUtf8();
    matching.removeIf([&](const QString& name) { return !matches(pattern, name.toUtf8()); });
    return matching;
}

QStringList Config::keys(const QString& section) const
{
    CSimpleIniCaseA::TNamesDepend names;
    const std::shared_lock lock(m_state->mutex);
    m_state->ini->GetAllKeys(section.toUtf8().constData(), names);
    return inFileOrder(std::move(names));
}

bool Config::contains(const QString& key) const
{
    return m_state->value(key).has_value();
}

QString Config::getString(const QString& key, const QString& fallback) const
{
    return m_state->value(key).value_or(fallback);
}

int Config::getInt(const QString& key, int fallback) const
{
    bool isNumber = false;
    const int number = m_state->value(key).value_or(QString()).toInt(&isNumber);
    return isNumber ? number : fallback;
}

bool Config::getBool(const QString& key, bool fallback) const
{
    static constexpr std::array trueWords = {u"true", u"yes", u"on", u"1"};
    static constexpr std::array falseWords = {u"false", u"no", u"off", u"0"};
    const QString value = m_state->value(key).value_or(QString());
    const auto isValue = [&](const char16_t* word) {
        return value.compare(QStringView(word), Qt::CaseInsensitive) == 0;
    };
    if (std::any_of(trueWords.begin(), trueWords.end(), isValue)) {
        return true;
    }
    if (std::any_of(falseWords.begin(), falseWords.end(), isValue)) {
        return false;
    }
    return fallback;
}

QStringList Config::getList(const QString& key) const
{
    QStringList parts;
    for (const QString& part : m_state->value(key).value_or(QString()).split(u',')) {
        if (const QString trimmed = part.trimmed(); !trimmed.isEmpty()) {
            parts.append(trimmed);
        }
    }
    return parts;
}
