#include "poshost/terminal/input.h"

#include <cstdio>

#include <QFile>

#include "poshost/terminal/fatalerror.h"

namespace poshost {

namespace {

constexpr auto standardInput = QLatin1String("-");
constexpr qint64 maxInput = qint64(256) * 1024 * 1024;
constexpr qint64 partSize = qint64(64) * 1024;

}  // namespace

QByteArray readInput(const QString& name, const QString& option)
{
    const QString shown = inputName(name);
    QFile file(name);
    const bool open =
        name == standardInput ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
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
        refuse(QStringLiteral("%1: longer than %2 bytes; name a shorter file with %3")
                   .arg(shown, QString::number(maxInput), option));
    }
    return withoutByteOrderMark(content);
}

QString inputName(const QString& name)
{
    return name == standardInput ? QStringLiteral("standard input") : name;
}

QByteArray withoutByteOrderMark(const QByteArray& bytes)
{
    const QByteArray mark = QByteArrayLiteral("\xef\xbb\xbf");
    return bytes.startsWith(mark) ? bytes.sliced(mark.size()) : bytes;
}

}  // namespace poshost
