#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

namespace {

QString withoutCode(QString text)
{
    static const QRegularExpression fenced("^```.*?^```", QRegularExpression::MultilineOption |
                                                              QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression span("`[^`\n]*`");
    return text.remove(fenced).remove(span);
}

/// The names by which the headings of a file can be linked to: lower case, "-" for blanks, no punctuation.
QStringList anchorsOf(const QString& text)
{
    static const QRegularExpression heading("^#+ +(.+)$", QRegularExpression::MultilineOption);
    static const QRegularExpression punctuation("[^\\w\\- ]", QRegularExpression::UseUnicodePropertiesOption);
    QStringList anchors;
    for (const auto& match : heading.globalMatch(text)) {
        anchors.append(match.captured(1).toLower().remove(punctuation).replace(' ', '-'));
    }
    return anchors;
}

}  // namespace

QStringList checkLinks(const QStringList& markdownFiles)
{
    static const QRegularExpression link(R"(\]\(([^)\s]+)\))");
    static const QRegularExpression elsewhere("^[a-z]+:");
    QStringList faults;
    for (const QString& file : markdownFiles) {
        for (const auto& match : link.globalMatch(withoutCode(readFile(file)))) {
            const QString target = match.captured(1);
            if (elsewhere.match(target).hasMatch()) {
                continue;
            }
            const QString path = target.section('#', 0, 0), anchor = target.section('#', 1);
            const QString linked =
                path.isEmpty() ? file : QDir::cleanPath(QFileInfo(file).path() + '/' + path);
            if (!QFileInfo::exists(linked)) {
                faults.append(file + ": there is no " + linked);
            } else if (!anchor.isEmpty() && !anchorsOf(readFile(linked)).contains(anchor)) {
                faults.append(file + ": " + linked + " has no heading #" + anchor);
            }
        }
    }
    return faults;
}

}  // namespace checkdocs
