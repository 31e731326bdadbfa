#include <QSaveFile>

#include "tools/checkdocs/checks.h"

namespace checkdocs {

QStringList checkGenerated(const QString& file, const QString& source, const QString& text, bool write)
{
    const QString begin = "<!-- generated: " + source + " -->\n";
    const QString document = readFile(file);
    const qsizetype from = document.indexOf(begin) + begin.size();
    const qsizetype to = document.indexOf("<!-- end -->", from);
    if (!document.contains(begin) || to < 0) {
        return {file + ": has no place for " + source};
    }
    if (document.sliced(from, to - from) == text) {
        return {};
    }
    if (!write) {
        return {file + ": shows something else than " + source + "; write it with \"./dev docs write\""};
    }
    QSaveFile saved(file);
    const QByteArray bytes = (document.first(from) + text + document.sliced(to)).toUtf8();
    const bool written =
        saved.open(QIODevice::WriteOnly) && saved.write(bytes) == bytes.size() && saved.commit();
    return written ? QStringList() : QStringList{file + ": cannot be written"};
}

}  // namespace checkdocs
