#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QRegularExpression>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

namespace {

/// "<section>:<key>" to default.
using Keys = QMap<QString, QString>;

Keys keysOf(const QByteArray& json)
{
    Keys keys;
    for (const auto& value : QJsonDocument::fromJson(json).object().value("keys").toArray()) {
        const QJsonObject key = value.toObject();
        keys.insert(key["section"].toString() + ':' + key["key"].toString(), key["default"].toString());
    }
    return keys;
}

/// Rows "| `section` | `key` | type | default | meaning |" of a list of settings.
Keys keysOfTable(const QString& text)
{
    static const QRegularExpression row(R"(^\| (`[^|]+`) \| `(\w+)` \| [^|]+ \|\s*([^|]*?)\s*\|)",
                                        QRegularExpression::MultilineOption);
    Keys keys;
    for (const auto& match : row.globalMatch(text)) {
        for (const QString& section : match.captured(1).split(", ")) {
            keys.insert(QString(section).remove('`') + ':' + match.captured(2), match.captured(3));
        }
    }
    return keys;
}

QStringList compareTable(const QString& file, const Keys& known, const Keys& table)
{
    QStringList faults;
    for (auto key = known.begin(); key != known.end(); ++key) {
        if (!table.contains(key.key())) {
            faults.append(file + " lacks " + key.key());
            continue;
        }
        // Words stand for defaults that are no text of the file ("standard error"), code for those that are.
        const QString shown = table[key.key()];
        if (shown.startsWith('`') && shown != '`' + key.value() + '`' &&
            !(key.value().isEmpty() && shown.isEmpty())) {
            faults.append(file + ": " + key.key() + " is by default \"" + key.value() + "\", not " + shown);
        }
        if (!key.value().isEmpty() && shown.isEmpty()) {
            faults.append(file + ": " + key.key() + " is by default \"" + key.value() + '"');
        }
    }
    for (auto key = table.begin(); key != table.end(); ++key) {
        if (!known.contains(key.key())) {
            faults.append(file + ": nothing reads " + key.key());
        }
    }
    return faults;
}

/// Every key stands in the sample, set or behind ";", in the section (one of those that its pattern means).
QStringList compareSample(const QString& file, const QString& text, const Keys& known)
{
    static const QRegularExpression line(R"(^;?(\w+) = |^\[(\w+)\])", QRegularExpression::MultilineOption);
    QStringList sample;
    QString section;
    for (const auto& match : line.globalMatch(text)) {
        if (match.hasCaptured(2)) {
            section = match.captured(2);
        } else {
            sample.append(section + ':' + match.captured(1));
        }
    }
    QStringList faults;
    for (const QString& key : sample) {
        const bool isKnown = std::any_of(known.keyBegin(), known.keyEnd(), [&](const QString& pattern) {
            return QRegularExpression::fromWildcard(pattern).match(key).hasMatch();
        });
        if (!isKnown) {
            faults.append(file + ": nothing reads " + key);
        }
    }
    for (const QString& pattern : known.keys()) {
        const auto wildcard = QRegularExpression::fromWildcard(pattern);
        // One section of goods shows the key of all of them.
        const bool shown = pattern.endsWith(":markverifycrptservice") ||
                           std::any_of(sample.begin(), sample.end(),
                                       [&](const QString& key) { return wildcard.match(key).hasMatch(); });
        if (!shown) {
            faults.append(file + " lacks " + pattern);
        }
    }
    return faults;
}

/// What the sources ask the settings for: "<section>:<key>", or ":<key>" of whatever section.
QStringList keysOfSources(const QString& sources)
{
    static const QRegularExpression whole(R"re("(\w*:[A-Za-z]+)")re");
    static const QRegularExpression parts(R"re(\bkey\("(?:(\w+)", ")?(\w+)"\))re");
    QStringList keys;
    for (const auto& match : whole.globalMatch(sources)) {
        keys.append(match.captured(1));
    }
    for (const auto& match : parts.globalMatch(sources)) {
        keys.append(match.captured(1) + ':' + match.captured(2));
    }
    return keys;
}

QStringList compareSources(const QStringList& sources, const Keys& known)
{
    const auto isOf = [](const QString& key, const QString& pattern) {
        return key.startsWith(':') ? pattern.endsWith(key)
                                   : QRegularExpression::fromWildcard(pattern).match(key).hasMatch();
    };
    QStringList faults;
    for (const QString& key : sources) {
        if (std::none_of(known.keyBegin(), known.keyEnd(), [&](const QString& k) { return isOf(key, k); })) {
            faults.append("the code reads " + key + ", which poshost doctor --keys does not name");
        }
    }
    for (const QString& pattern : known.keys()) {
        if (std::none_of(sources.begin(), sources.end(),
                         [&](const QString& k) { return isOf(k, pattern); })) {
            faults.append("poshost doctor --keys names " + pattern + ", which no code reads");
        }
    }
    return faults;
}

/// Where the sources say in place what a missing key stands for, it is what poshost says.
QStringList compareDefaults(const QString& sources, const Keys& known)
{
    static const QRegularExpression read(
        R"re((?:get(?:Int|Bool|String)|chosen)\([^"]*(?:"\w+", )?"(?:\w*:)?(\w+)"\)+,\s*(?:QStringLiteral\("([^"]*)"\)|(-?\d+|true|false))\))re");
    QStringList faults;
    for (const auto& match : read.globalMatch(sources)) {
        const QString fallback = match.captured(match.lastCapturedIndex());
        for (auto key = known.begin(); key != known.end(); ++key) {
            const bool means = key.value() == fallback || (key.value().isEmpty() && fallback == "false");
            if (key.key().endsWith(':' + match.captured(1)) && !means) {
                faults.append("the code takes " + fallback + " for " + key.key() +
                              ", poshost doctor --keys says \"" + key.value() + '"');
            }
        }
    }
    return faults;
}

}  // namespace

QStringList checkSettings(const QString& root, const QByteArray& keysJson)
{
    const Keys known = keysOf(keysJson);
    if (known.isEmpty()) {
        return {"poshost names no keys"};
    }
    const QString sources = sourcesOf(root, {"crpt", "lmchz", "plugin", "host", "poshost"});
    QStringList faults = compareSources(keysOfSources(sources), known) + compareDefaults(sources, known);
    for (const QString file : {"docs/configuration.md", "docs/configuration.ru.md"}) {
        faults += compareTable(file, known, keysOfTable(readFile(root, file)));
    }
    return faults + compareSample("docs/till.ini", readFile(root, "docs/till.ini"), known);
}

}  // namespace checkdocs
