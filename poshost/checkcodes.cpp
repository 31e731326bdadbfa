#include "poshost/checkcodes.h"

#include <algorithm>
#include <cstdio>

#include <QFile>
#include <QRegularExpression>

#include "poshost/failure.h"

namespace poshost {

namespace {

constexpr qint64 longestFile = qint64(256) * 1024 * 1024;

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
                   .arg(where, QString::number(unescaped(bytes).size()), QString::number(longestCode)));
    case CodeFault::Empty:
        refuse(QStringLiteral("%1: the code is empty; give a code or leave it out").arg(where));
    case CodeFault::None:
        break;
    }
    return parsed.code;
}

QByteArray contentOf(const QString& name)
{
    const bool fromInput = name == QLatin1String("-");
    QFile file(name);
    const bool open = fromInput ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    QByteArray content = open ? file.read(longestFile + 1) : QByteArray();
    if (!open || file.error() != QFileDevice::NoError) {
        refuse(QStringLiteral("%1: cannot read the codes: %2; name a readable file with --codes-file")
                   .arg(fromInput ? QStringLiteral("standard input") : name, file.errorString()));
    }
    if (content.size() > longestFile) {
        refuse(QStringLiteral("%1: longer than %2 bytes; check the codes in several runs")
                   .arg(name, QString::number(longestFile)));
    }
    return content;
}

}  // namespace

ParsedCode parseCode(const QByteArray& bytes)
{
    if (!std::all_of(bytes.begin(), bytes.end(), isOfCodes)) {
        return {{}, CodeFault::Characters};
    }
    const QString text = unescaped(bytes);
    if (text.size() > longestCode) {
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
        if (lines[i].contains('\r')) {
            refuse(QStringLiteral("%1: the line holds a carriage return; end lines with a line feed alone")
                       .arg(where));
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
        codes += codesOfLines(contentOf(file), fromInput ? QStringLiteral("standard input") : file);
    }
    return codes;
}

}  // namespace poshost
