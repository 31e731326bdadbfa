#include "poshost/till/codes.h"

#include <algorithm>

#include <QRegularExpression>

#include "poshost/terminal/fatalerror.h"
#include "poshost/terminal/input.h"

namespace poshost {

namespace {

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
        codes += codesOfLines(readInput(file, QStringLiteral("--codes-file")), inputName(file));
    }
    return codes;
}

}  // namespace poshost
