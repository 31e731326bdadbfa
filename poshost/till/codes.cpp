#include "poshost/till/codes.h"

#include <algorithm>
#include <cstdio>

#include <QFile>
#include <QRegularExpression>

#include "poshost/till/fatalerror.h"

namespace poshost {

namespace {

constexpr qint64 maxInput = qint64(256) * 1024 * 1024;
constexpr qint64 partSize = qint64(64) * 1024;

/// Marking codes are made of GS and of what can be printed in ASCII.
bool isOfCodes(char character)
{
    return character == '\x1d' || (character >= ' ' && character <= '~');
}

QString unescaped(const QByteArray& bytes)
{
    QString text = QString::fromLatin1(bytes);
    static const QRegularExpression gs(QStringLiteral(R"(\\x1[dD]|\\u001[dD]|<GS>)"));
    return text.replace(gs, QStringLiteral("\x1d"));
}

MarkingCode readCode(const QByteArray& bytes, const QString& where)
{
    const ParsedCode parsed = parseCode(bytes);
    switch (parsed.fault) {
    case CodeFault::Characters:
        refuse(
            QStringLiteral("%1: the code holds characters that no marking code has; give it as it is printed")
                .arg(where));
    case CodeFault::TooLong:
        refuse(QStringLiteral("%1: the code has %2 characters; %3 are allowed")
                   .arg(where, QString::number(unescaped(bytes).size()), QString::number(maxCode)));
    case CodeFault::Empty:
        refuse(QStringLiteral("%1: the code is empty; give a code or leave it out").arg(where));
    case CodeFault::None:
        break;
    }
    return parsed.code;
}

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

ParsedCode parseCode(const QByteArray& bytes)
{
    if (!std::all_of(bytes.begin(), bytes.end(), isOfCodes)) {
        return {{}, CodeFault::Characters};
    }
    const QString text = unescaped(bytes);
    if (text.size() > maxCode) {
        return {{}, CodeFault::TooLong};
    }
    const MarkingCode code(text);
    return {code, code.isEmpty() ? CodeFault::Empty : CodeFault::None};
}

QList<MarkingCode> codesOfLines(const QByteArray& content, const QString& name)
{
    QList<QByteArray> lines = content.split('\n');
    if (lines.back().isEmpty()) {
        lines.removeLast();  // what follows the last line feed
    }
    if (lines.isEmpty()) {
        refuse(QStringLiteral("%1: holds no codes; write one a line").arg(name));
    }
    QList<MarkingCode> codes;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString where = QStringLiteral("%1:%2").arg(name, QString::number(i + 1));
        if (lines[i].endsWith('\r')) {
            lines[i].chop(1);
        }
        if (lines[i].trimmed().isEmpty()) {
            refuse(QStringLiteral("%1: the line is blank; take it out").arg(where));
        }
        codes.append(readCode(lines[i], where));
    }
    return codes;
}

QList<MarkingCode> readCodes(const QList<QByteArray>& typed, const QString& file)
{
    QList<MarkingCode> codes;
    for (qsizetype i = 0; i < typed.size(); ++i) {
        codes.append(readCode(typed[i], QStringLiteral("code %1").arg(i + 1)));
    }
    if (!file.isEmpty()) {
        const bool fromInput = file == QLatin1String("-");
        codes += codesOfLines(readInput(file, QStringLiteral("--codes-file")),
                              fromInput ? QStringLiteral("standard input") : file);
    }
    return codes;
}

}  // namespace poshost
