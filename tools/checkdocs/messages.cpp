#include <QMap>
#include <QRegularExpression>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

namespace {

const QStringList Lists = {"docs/messages.md", "docs/messages.ru.md"};

bool isRussian(const QString& text)
{
    static const QRegularExpression cyrillic("[\\x{0400}-\\x{04FF}]");
    return cyrillic.match(text).hasMatch();
}

/// Russian literals with the level at which they are logged, "" for those that are not logged as they stand.
QMap<QString, QString> literalsOf(const QString& sources)
{
    static const QRegularExpression literal(R"re("((?:[^"\\\n]|\\.)*)")re");
    static const QRegularExpression logged(
        R"re((?:logger|log|Logger)\s*->\s*(debug|info|warn|error)\(\s*QStringLiteral\(\s*"((?:[^"\\\n]|\\.)*)")re");
    QMap<QString, QString> literals;
    for (const auto& match : literal.globalMatch(sources)) {
        if (isRussian(match.captured(1))) {
            literals.insert(match.captured(1).replace("\\\"", "\""), {});
        }
    }
    for (const auto& match : logged.globalMatch(sources)) {
        if (isRussian(match.captured(2))) {
            literals[match.captured(2)] = match.captured(1);
        }
    }
    return literals;
}

QStringList checkList(const QString& list, const QString& text, const QMap<QString, QString>& literals)
{
    static const QRegularExpression quoted("`([^`\n]+)`");
    QStringList faults;
    for (auto message = literals.begin(); message != literals.end(); ++message) {
        const QString level = message.value().isEmpty() ? "" : " | " + message.value() + " |";
        const bool stands = level.isEmpty() ? text.contains(message.key())
                                            : text.contains("| `" + message.key() + '`' + level);
        if (!stands) {
            faults.append(list + " lacks `" + message.key() + '`' + level);
        }
    }
    for (const auto& match : quoted.globalMatch(text)) {
        if (isRussian(match.captured(1)) && !literals.contains(match.captured(1))) {
            faults.append(list + ": nothing writes `" + match.captured(1) + '`');
        }
    }
    return faults;
}

QStringList checkFlags(const QString& root)
{
    static const QRegularExpression flag(R"(^\s+(\w+) = (0x\d{4}),)", QRegularExpression::MultilineOption);
    static const QRegularExpression row(R"(^\| `(\w+)` \| (0x\d{4}) \|)",
                                        QRegularExpression::MultilineOption);
    const auto pairs = [](const QRegularExpression& pattern, const QString& text) {
        QStringList found;
        for (const auto& match : pattern.globalMatch(text)) {
            found.append(match.captured(1) + ' ' + match.captured(2));
        }
        return found;
    };
    const QStringList flags = pairs(flag, readFile(root, "result/checkmarkingcodesresult.h"));
    if (flags.isEmpty() || flags != pairs(row, readFile(root, "docs/host-developers.md"))) {
        return {
            "docs/host-developers.md: the table of flags is not that of result/checkmarkingcodesresult.h"};
    }
    return {};
}

}  // namespace

QStringList checkMessages(const QString& root)
{
    const auto literals = literalsOf(sourcesOf(root, {"crpt", "lmchz", "plugin", "host"}));
    QStringList faults = checkFlags(root);
    for (const QString& list : Lists) {
        faults += checkList(list, readFile(root, list), literals);
    }
    return faults;
}

}  // namespace checkdocs
