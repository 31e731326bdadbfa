#include <config/config.h>

#include <mutex>
#include <shared_mutex>
#include <utility>

#include <fnmatch.h>
#include <locale.h>

#include <QFile>
#include <QHash>
#include <QStringDecoder>

template class Singleton<Config>;

namespace {

constexpr auto byteOrderMark = "\xEF\xBB\xBF";

/// What a file or the host has set, in that order. A key is "<section>:<name>": a section's name may hold
/// colons, that of a setting may not.
struct Settings
{
    void addSection(const QString& section)
    {
        if (!sections.contains(section)) {
            sections.append(section);
        }
    }
    void set(const QString& key, const QString& value)
    {
        if (!values.contains(key)) {
            keys.append(key);
        }
        values.insert(key, value);
    }

    QStringList sections;
    QStringList keys;
    QHash<QString, QString> values;
    QHash<QString, QList<int>> lines;  ///< of the file, by key, and by "<section>:" for the section itself
};

/// Without the blanks around it: others, such as a vertical tab, belong to the text.
QStringView withoutBlanks(QStringView text)
{
    const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (!text.isEmpty() && isBlank(text.front())) {
        text = text.sliced(1);
    }
    while (!text.isEmpty() && isBlank(text.back())) {
        text.chop(1);
    }
    return text;
}

bool isComment(QStringView line)
{
    return line.isEmpty() || line.front() == u';' || line.front() == u'#';
}

/// Each of these adds what a line says; they give what is wrong with it, in Russian, or nothing.
QString addSection(QStringView line, int number, Settings& settings, QString& section)
{
    const qsizetype end = line.indexOf(u']');
    if (end < 0) {
        return QStringLiteral("нет \"]\" в конце имени секции");
    }
    section = withoutBlanks(line.sliced(1, end - 1)).toString();
    if (section.isEmpty()) {
        return QStringLiteral("у секции нет имени");
    }
    if (!isComment(withoutBlanks(line.sliced(end + 1)))) {
        return QStringLiteral("лишний текст после имени секции");
    }
    settings.addSection(section);
    settings.lines[section + u':'].append(number);
    return {};
}

QString addSetting(QStringView line, int number, Settings& settings, const QString& section)
{
    const qsizetype end = line.indexOf(u'=');
    if (end < 0) {
        return QStringLiteral("строка не является ни секцией, ни параметром, ни комментарием");
    }
    const QStringView name = withoutBlanks(line.first(end));
    if (name.isEmpty()) {
        return QStringLiteral("у параметра нет имени");
    }
    if (name.contains(u':')) {  // nobody could ask for it
        return QStringLiteral("двоеточие в имени параметра");
    }
    if (section.isEmpty()) {
        return QStringLiteral("параметр стоит до первой секции");
    }
    const QString key = section + u':' + name.toString();
    settings.set(key, withoutBlanks(line.sliced(end + 1)).toString());
    settings.lines[key].append(number);
    return {};
}

QString addLine(const QByteArray& bytes, int number, Settings& settings, QString& section)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    if (bytes.contains('\0') || decoder.hasError()) {
        return QStringLiteral("текст не в кодировке UTF-8");
    }
    const QStringView line = withoutBlanks(text);
    if (isComment(line)) {
        return {};
    }
    if (bytes.contains(byteOrderMark)) {  // what holds it is not what it looks like
        return QStringLiteral("метка порядка байтов (BOM) не в начале файла");
    }
    return line.front() == u'[' ? addSection(line, number, settings, section)
                                : addSetting(line, number, settings, section);
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

/// Takes in the lines of the file. What is wrong with it, or nothing.
QString read(QFile& file, Settings& settings)
{
    QByteArray text;
    if (file.open(QIODevice::ReadOnly)) {
        text = file.readAll();
    }
    if (file.error() != QFile::NoError) {
        return QStringLiteral(" %1").arg(file.errorString());
    }
    if (text.startsWith(byteOrderMark)) {
        text.remove(0, 3);
    }
    QString section;
    int number = 0;
    for (const QByteArray& line : text.replace("\r\n", "\n").replace('\r', '\n').split('\n')) {
        ++number;
        if (const QString fault = addLine(line, number, settings, section); !fault.isEmpty()) {
            return QStringLiteral("%1: %2").arg(QString::number(number), fault);
        }
    }
    return {};
}

}  // namespace

struct Config::State
{
    QString value(const QString& key, const QString& fallback = {})
    {
        const std::shared_lock lock(mutex);
        return settings.values.value(key, fallback);
    }

    std::shared_mutex mutex;
    Settings settings;
};

Config::Config()
    : m_state(std::make_unique<State>())
{
}

Config::~Config() = default;

bool Config::load(const QString& path, QString* error)
{
    QFile file(path);
    Settings settings;
    if (const QString fault = read(file, settings); !fault.isEmpty()) {
        if (error != nullptr) {
            *error = path + u':' + fault;
        }
        return false;
    }
    const std::unique_lock lock(m_state->mutex);
    m_state->settings = std::move(settings);
    return true;
}

void Config::setValue(const QString& key, const QString& value)
{
    const qsizetype colon = key.lastIndexOf(u':');
    if (colon < 0) {
        return;
    }
    const std::unique_lock lock(m_state->mutex);
    m_state->settings.addSection(key.first(colon));
    // Copies of the characters: literals lie in a plug-in library that may be unloaded.
    m_state->settings.set(QStringView(key).toString(), QStringView(value).toString());
}

void Config::clear()
{
    const std::unique_lock lock(m_state->mutex);
    m_state->settings = {};
}

QStringList Config::sections(const QString& wildcard) const
{
    const QByteArray pattern = wildcard.toUtf8();
    const std::shared_lock lock(m_state->mutex);
    QStringList matching = m_state->settings.sections;
    matching.removeIf([&](const QString& name) { return !matches(pattern, name.toUtf8()); });
    return matching;
}

QStringList Config::keys(const QString& section) const
{
    QStringList names;
    const std::shared_lock lock(m_state->mutex);
    for (const QString& key : m_state->settings.keys) {
        const qsizetype colon = key.lastIndexOf(u':');
        if (key.first(colon) == section) {
            names.append(key.sliced(colon + 1));
        }
    }
    return names;
}

bool Config::contains(const QString& key) const
{
    const std::shared_lock lock(m_state->mutex);
    return m_state->settings.values.contains(key);
}

QList<int> Config::lines(const QString& section, const QString& key) const
{
    const std::shared_lock lock(m_state->mutex);
    return m_state->settings.lines.value(section + u':' + key);
}

QString Config::getString(const QString& key, const QString& fallback) const
{
    return m_state->value(key, fallback);
}

int Config::getInt(const QString& key, int fallback) const
{
    bool isNumber = false;
    const int number = m_state->value(key).toInt(&isNumber);
    return isNumber ? number : fallback;
}

bool Config::getBool(const QString& key, bool fallback) const
{
    // Never destroyed, like the settings.
    static const auto* const words = new QHash<QString, bool>{
        {QStringLiteral("true"), true},   {QStringLiteral("yes"), true}, {QStringLiteral("on"), true},
        {QStringLiteral("1"), true},      {QStringLiteral("no"), false}, {QStringLiteral("off"), false},
        {QStringLiteral("false"), false}, {QStringLiteral("0"), false}};
    return words->value(m_state->value(key).toCaseFolded(), fallback);
}

QStringList Config::getList(const QString& key) const
{
    QStringList parts;
    for (const QString& part : m_state->value(key).split(u',')) {
        if (const QString trimmed = part.trimmed(); !trimmed.isEmpty()) {
            parts.append(trimmed);
        }
    }
    return parts;
}
