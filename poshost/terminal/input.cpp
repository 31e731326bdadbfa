#include "poshost/terminal/input.h"

#include <cstdio>

#include <QFile>

#include "poshost/terminal/fatalerror.h"

namespace poshost {

namespace {

constexpr qint64 maxInput = qint64(256) * 1024 * 1024;
constexpr qint64 partSize = qint64(64) * 1024;

}  // namespace

QByteArray readInput(const QString& name, const QString& option)
{
    const bool fromInput = name == QLatin1String("-");
    const QString shown = fromInput ? QStringLiteral("standard input") : name;
    QFile file(name);
    const bool open = fromInput ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    QByteArray content;
    // A pipe hands over what it holds just now: only an empty part is its end.
    for (QByteArray part = open ? file.read(partSize) : QByteArray();
         !part.isEmpty() && content.size() <= maxInput; part = file.read(partSize)) {
        content += part;
    }
    if (!open || file.error() != QFileDevice::NoError) {
        refuse(QStringLiteral("%1: cannot be read: %2; name a readable file with %3")
                   .arg(shown, file.errorString(), option));
    }
    if (content.size() > maxInput) {
        refuse(QStringLiteral("%1: longer than %2 bytes; check the codes in several runs")
                   .arg(shown, QString::number(maxInput)));
    }
    return withoutByteOrderMark(content);
}

QByteArray withoutByteOrderMark(const QByteArray& bytes)
{
    const QByteArray mark = QByteArrayLiteral("\xef\xbb\xbf");
    return bytes.startsWith(mark) ? bytes.sliced(mark.size()) : bytes;
}

}  // namespace poshost
